#include "tests/queue/queue_fixture.h"

#include "common/container/key.h"
#include "common/container/rb_tree.h"
#include "common/log/log.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <filesystem>

namespace {

template <char kind> [[gnu::format(printf, 1, 2)]] void capture(const char* format, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    LogCapture::lines.push_back(std::string(1, kind) + " " + text);
}

} // namespace

Strings LogCapture::lines;

LogCapture::LogCapture() {
    lines.clear();
    logInfo = capture<'I'>;
    logWarning = capture<'W'>;
    logError = capture<'E'>;
}

LogCapture::~LogCapture() {
    logInfo = debug_logInfo;
    logWarning = debug_logWarning;
    logError = debug_logError;
}

Strings listTree(const std::string& path) {
    Strings found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
        found.push_back(std::filesystem::relative(entry.path(), path).string() +
                        (entry.is_directory() ? "/" : ""));
    }
    std::sort(found.begin(), found.end());
    return found;
}

unsigned errorOf(long long result, long long failure) {
    EXPECT_EQ(failure, result);
    return Thread::getLastError();
}

unsigned errorOf(const void* result) {
    EXPECT_EQ(nullptr, result);
    return Thread::getLastError();
}

std::string hex(unsigned value, int width) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", width, value);
    return text;
}

std::string QueueTest::path(int id, char family) const {
    const unsigned value = static_cast<unsigned>(id);
    return root + "/" + hex(value >> 16, 2) + "/" + family + hex(value & 0xFFFF, 4);
}

MailItem* QueueTest::fill(MailQueue& queue, const Strings& rcpts, std::string_view data,
                          IncomingStream*& stream) {
    MailItem* item = queue.newMail();
    EXPECT_NE(nullptr, item);
    EXPECT_EQ(0, item->setRPath("from@x", "auth@x", nullptr));
    for (const std::string& rcpt : rcpts) {
        item->addRCPT(rcpt.c_str());
    }
    stream = item->endRCPT(&queue);
    EXPECT_NE(nullptr, stream);
    const int size = static_cast<int>(data.size());
    EXPECT_EQ(size, stream->writeAll(data.data(), size));
    return item;
}

int QueueTest::submit(MailQueue& queue, const Strings& rcpts, std::string_view data,
                      MailQueue::SourceTypes source) {
    IncomingStream* stream = nullptr;
    MailItem* item = fill(queue, rcpts, data, stream);
    const int id = item->getId();
    EXPECT_EQ(0, queue.endData(item, source, stream));
    EXPECT_EQ(nullptr, item);
    Stream::release(stream);
    return id;
}

std::string bytes(std::initializer_list<unsigned> values) {
    std::string text;
    for (const unsigned value : values) {
        text += static_cast<char>(value);
    }
    return text;
}

unsigned AttachedTest::drop(MailItem* item) {
    queue.rawUnbindMail(item, true);
    return 0;
}

MailItem* StateFileTest::load(const std::string& content, int id) {
    support::writeFile(statePath(id), content);
    bool badFile = false;
    MailItem* item = queue.bindMail(id, 0, false, badFile);
    EXPECT_EQ(item == nullptr, badFile);
    return item;
}

unsigned StateFileTest::loadError(const std::string& content) {
    Thread::setLastError(0U);
    MailItem* item = load(content);
    return item != nullptr ? drop(item) : Thread::getLastError();
}

MailItem* StateFileTest::reload(MailItem* item) {
    const int id = item->getId();
    EXPECT_EQ(0, item->saveToFile(nullptr));
    drop(item);
    item = bind(id);
    EXPECT_NE(nullptr, item);
    return item;
}

MailItem*
StateFileTest::loadChanged(const Strings& others,
                           std::initializer_list<std::pair<std::size_t, std::string>> changes) {
    MailItem* item = submitAndBind({"a@x"});
    for (const std::string& text : others) {
        item->addString(text.c_str());
    }
    EXPECT_EQ(0, item->saveToFile(nullptr));
    std::string file = stateOf(item);
    drop(item);
    for (const auto& [at, value] : changes) {
        file.replace(at, value.size(), value);
    }
    item = load(file);
    EXPECT_NE(nullptr, item);
    return item;
}

Strings StateFileTest::mboxes(MailItem* item, int rcpt, int capacity) {
    const char* names[16];
    const int count = item->getRCPTMboxes(rcpt, names, capacity);
    return {names, names + std::min(count, capacity)};
}

std::string StateFileTest::slots(MailItem* item, int field, int rcpt) {
    RBTree found;
    if (item->doGetRCPTSlots(field, rcpt, &found) == -1) {
        return "broken";
    }
    std::string text;
    HKey* key = nullptr;
    void* value = nullptr;
    while (found.next(key, value) == 0) {
        text += std::to_string(static_cast<Int32Key*>(key)->getValue()) + "=" +
                static_cast<const char*>(value) + " ";
    }
    return text;
}

Strings StateFileTest::params(MailItem* item) {
    SimpleVector<const char*> list;
    item->listParams(list);
    return {list.data, list.data + list.size};
}
