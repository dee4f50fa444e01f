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

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using Strings = std::vector<std::string>;

// The lines that the library logs while this lives, each behind "I ", "W " or "E ". One at a time.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    static Strings lines;
};

// The file system's entries below a directory, sorted, directories with a slash behind the name.
Strings listTree(const std::string& path);

// The error of a call that failed: gave -1, or `failure`, or null.
unsigned errorOf(long long result, long long failure = -1);
unsigned errorOf(const void* result);

// Upper-case hexadecimal with a fixed width, by the C library.
std::string hex(unsigned value, int width);

class QueueTest : public testing::Test {
protected:
    QueueTest() : root(dir / "queue") {}

    void attach(MailQueue& queue, int entryCount = 1) {
        ASSERT_EQ(0, queue.setDirectory(root.c_str(), entryCount)) << Thread::getErrorMessage();
    }

    // A mail of `queue` up to the end of its data, which is not handed over yet.
    static MailItem* fill(MailQueue& queue, const Strings& rcpts, std::string_view data,
                          IncomingStream*& stream);

    // A mail handed over by `queue`; its id.
    static int submit(MailQueue& queue, const Strings& rcpts = {"a@b"},
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

// With one queue, attached.
class AttachedTest : public QueueTest {
protected:
    void SetUp() override { attach(queue); }

    MailItem* bind(int id) {
        bool badFile = false;
        return queue.bindMail(id, 0, false, badFile);
    }
    unsigned drop(MailItem* item);

    MailQueue queue;
};

// A state file's bytes.
std::string bytes(std::initializer_list<unsigned> values);
template <class T> std::string raw(T value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// Mails from state files that a test writes itself.
class StateFileTest : public AttachedTest {
protected:
    // Loads a state file of these bytes; null where it is refused, with `badFile` as told.
    MailItem* load(const std::string& content, int id = loadId);
    // Loads, drops from memory again, and gives the error of the load, or 0.
    unsigned loadError(const std::string& content);
    // The mail through its file: saved, dropped and loaded again.
    MailItem* reload(MailItem* item);
    MailItem* submitAndBind(const Strings& rcpts) { return bind(submit(queue, rcpts)); }
    // A mail to a@x with these strings from index 3 on, and bytes of its file changed.
    MailItem* loadChanged(const Strings& others,
                          std::initializer_list<std::pair<std::size_t, std::string>> changes);
    std::string stateOf(MailItem* item) { return support::readFile(statePath(item->getId())); }

    // A recipient's folders, no more than `capacity`, and slots as "slot=value " in their order, or
    // "broken"; a mail's parameters.
    static Strings mboxes(MailItem* item, int rcpt, int capacity = 16);
    static std::string slots(MailItem* item, int field, int rcpt);
    static Strings params(MailItem* item);

    static constexpr int loadId = 0x4242;
    // Where a file's recipients begin: behind the signature, the block and 16 version records.
    static constexpr std::size_t rcptsAt = 10 + 96 + 16 * 32;
};

#endif
