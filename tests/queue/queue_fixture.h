// A queue in a directory of its own, and what the tests do with every mail.

#ifndef MORVEX_TESTS_QUEUE_QUEUE_FIXTURE_H
#define MORVEX_TESTS_QUEUE_QUEUE_FIXTURE_H

#include "common/error.h"
#include "common/thread/thread.h"
#include "queue/incoming_stream.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

// The lines that the library logs while this lives, each behind "I ", "W " or "E ". One at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    static std::vector<std::string> lines;
};

// The file system's entries below a directory, sorted, directories with a slash behind the name.
std::vector<std::string> listTree(const std::string& path);

// Upper-case hexadecimal with a fixed width, by the C library.
std::string hex(unsigned value, int width);

class QueueTest : public testing::Test {
protected:
    QueueTest() : root(dir / "queue") {}

    void attach(MailQueue& queue, int entryCount = 1) {
        ASSERT_EQ(0, queue.setDirectory(root.c_str(), entryCount)) << Thread::getErrorMessage();
    }

    // A mail of `queue` up to the end of its data, which is not handed over yet.
    static MailItem* fill(MailQueue& queue, const std::vector<std::string>& rcpts,
                          std::string_view data, IncomingStream*& stream);

    // A mail handed over by `queue`; its id.
    static int submit(MailQueue& queue, const std::vector<std::string>& rcpts = {"a@b"},
                      std::string_view data = "x\r\n",
                      MailQueue::SourceTypes source = MailQueue::SourceLocal);

    std::string statePath(int id) const { return path(id, 'S'); }
    std::string dataPath(int id) const { return path(id, 'D') + ".00"; }
    std::string markerPath(int id) const {
        return root + "/locals/" + hex(static_cast<unsigned>(id), 6);
    }

    support::TempDir dir;
    std::string root;

private:
    std::string path(int id, char family) const;
};

// A state file's bytes.
std::string bytes(std::initializer_list<unsigned> values);
template <class T> std::string raw(T value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// A queue, and mails from state files that a test writes itself.
class StateFileTest : public QueueTest {
protected:
    void SetUp() override { attach(queue); }

    // Loads a state file of these bytes; null where it is refused, with `badFile` as told.
    MailItem* load(const std::string& content, int id = loadId);
    // Loads, drops from memory again, and gives the error of the load, or 0.
    unsigned loadError(const std::string& content);
    unsigned drop(MailItem* item);
    // The mail through its file: saved, dropped and loaded again.
    MailItem* reload(MailItem* item);
    MailItem* submitAndBind(const std::vector<std::string>& rcpts);
    std::string stateOf(MailItem* item) { return support::readFile(statePath(item->getId())); }

    static constexpr int loadId = 0x4242;
    MailQueue queue;
};

#endif
