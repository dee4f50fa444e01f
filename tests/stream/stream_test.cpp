// The stream interface and the plain streams: references, copying, text, wrappers, memory.

#include "common/container/crc32.h"
#include "common/error.h"
#include "common/log/log.h"
#include "common/stream/counter_stream.h"
#include "common/stream/crc_stream.h"
#include "common/stream/fd_stream.h"
#include "common/stream/filter_stream.h"
#include "common/stream/memory_stream.h"
#include "common/stream/null_stream.h"
#include "common/stream/stream.h"
#include "common/thread/thread.h"
#include "tests/stream/streams.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <climits>
#include <memory>
#include <string>

using support::Sink;
using support::Source;

namespace {

template <class T> T* as(Stream& stream) {
    return static_cast<T*>(stream.doCastInternal(T::getCastableClassId()));
}

class Watched : public NullStream {
public:
    explicit Watched(int& deaths, bool mayDie = true) : count(deaths), released(mayDie) {}
    ~Watched() override { ++count; }
    bool onRelease() const override { return released; }

private:
    int& count;
    bool released;
};

// Drops every 'x' and doubles every 'd' on the way out, at most eight bytes a call.
class Editor : public FilterStream {
public:
    using FilterStream::FilterStream;
    int filter(const void* input, int size, bool writing, const void** output,
               int* outputSize) override {
        const int taken = std::min(size, 8);
        store.clear();
        for (int i = 0; i < taken; ++i) {
            const char c = static_cast<const char*>(input)[i];
            if (c == '!') {
                return -1;
            }
            if (c != 'x') {
                store.append(writing && c == 'd' ? 2 : 1, c);
            }
        }
        *output = store.data();
        *outputSize = static_cast<int>(store.size());
        return taken;
    }

private:
    std::string store;
};

} // namespace

TEST(StreamRelease, EndsOneReferenceAndSparesTheStack) {
    int deaths = 0;
    Watched onStack(deaths);
    Stream::release(&onStack);
    EXPECT_EQ(onStack.getReferenceCount(), 1);

    auto* shared = new Watched(deaths);
    shared->addReference();
    Stream::release(shared);
    EXPECT_EQ(deaths, 0);
    Stream::release(shared);
    EXPECT_EQ(deaths, 1);

    std::unique_ptr<Watched> kept(new Watched(deaths, false));
    Stream::release(kept.get());
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(kept->getReferenceCount(), 0);
    Stream::release(nullptr);
}

TEST(StreamCopy, CountsWhatTheTargetTook) {
    const std::string data = support::pattern(600000);
    const struct {
        std::size_t size;
        long long asked, count;
    } rows[] = {{0, 0, 0},
                {4, 10, 4},
                {600000, 0, 600000},
                {600000, 300001, 300001},
                {600000, 262144, 262144}};
    for (const auto& row : rows) {
        Source source(data.substr(0, row.size));
        Sink sink;
        long long count = row.asked;
        EXPECT_EQ(source.copy(sink, count), 0);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(sink.text, data.substr(0, static_cast<std::size_t>(row.count)));
    }
}

TEST(StreamCopy, StopsAtAFullTargetAndAtAFailingSource) {
    int taken = 0;
    Source source(support::pattern(1000));
    Sink full([&] { return taken++ == 0 ? 700 : 0; });
    long long count = 0;
    EXPECT_EQ(source.copy(full, count), -1);
    EXPECT_EQ(count, 700);

    int given = 0;
    Source broken(support::pattern(1000), [&] { return given++ < 2 ? 300 : -1; });
    Sink sink;
    count = 0;
    EXPECT_EQ(broken.copy(sink, count), -1);
    EXPECT_EQ(count, 600);
}

TEST(StreamText, LineEndsAndLongTexts) {
    using std::string_literals::operator""s;
    const struct {
        int eolType;
        std::string end;
    } rows[] = {{15, "\r\n"}, {4, "\r\n"}, {11, "\n\r"}, {3, "\n"}, {1, "\r"}, {0, "\0\0"s}};
    for (const auto& row : rows) {
        Sink sink;
        EXPECT_EQ(sink.writeLine(row.eolType, "%d%%", 7), 2 + static_cast<int>(row.end.size()));
        EXPECT_EQ(sink.text, "7%" + row.end);
        EXPECT_EQ(sink.writes, 1);
    }
    for (const int length : {0, 4095, 4096, 4097, 20000}) {
        Sink sink;
        const std::string text = support::pattern(static_cast<std::size_t>(length));
        EXPECT_EQ(sink.writeLine("%s", text.c_str()), length + 2);
        EXPECT_EQ(sink.writeFormat("%s", text.c_str()), length);
        EXPECT_EQ(sink.text, text + "\r\n" + text);
    }
    Sink full([] { return 0; });
    EXPECT_EQ(full.writeLine("x"), -1);
}

TEST(StreamText, ProtocolLogSeesTheTextWithoutItsLineEnd) {
    static std::string logged;
    auto* const before = logProtoOutBuffer;
    logProtoOutBuffer = [](int length, const char* data) {
        logged.assign(data, static_cast<std::size_t>(length));
    };
    Sink sink;
    EXPECT_EQ(sink.writeLineAndLog("EHLO %s", "there"), 12);
    logProtoOutBuffer = before;
    EXPECT_EQ(logged, "EHLO there");
    EXPECT_EQ(sink.text, "EHLO there\r\n");
}

TEST(StreamDefaults, WhatAClassDoesNotSupportIsNotAllowed) {
    FDStream stream(-1);
    CounterStream wrapper(nullptr);
    char byte = 0;
    EXPECT_STREQ(stream.getStreamName(nullptr, 0), "");
    for (int call = 0; call < 2; ++call) {
        Thread::setLastError(0);
        EXPECT_EQ(call == 0 ? stream.truncate(0) : wrapper.read(&byte, 1), -1);
        EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    }
    EXPECT_EQ(wrapper.getOutputState(), Stream::StateError);
}

TEST(StreamCasts, OwnClassAndBasesOnly) {
    NullStream base;
    CRCStream wrapper(&base);
    EXPECT_EQ(as<CRCStream>(wrapper), &wrapper);
    EXPECT_EQ(as<WrapStream>(wrapper), &wrapper);
    EXPECT_EQ(as<CounterStream>(wrapper), nullptr);
    EXPECT_EQ(as<BufferedReader>(wrapper), nullptr);
    MemoryStream memory(nullptr, 0);
    EXPECT_EQ(as<BufferedReader>(memory), static_cast<BufferedReader*>(&memory));
    EXPECT_EQ(as<BufferedWriter>(memory), static_cast<BufferedWriter*>(&memory));
}

TEST(WrapStream, HoldsAReferenceAndFindsItsRoot) {
    auto* first = new NullStream;
    auto* second = new NullStream;
    {
        CounterStream inner(first);
        CRCStream outer(&inner);
        EXPECT_EQ(ComposableStream::getRootStream(&outer), first);
        EXPECT_EQ(ComposableStream::getRootStream(first), first);
        inner.setBaseStream(first);
        EXPECT_EQ(first->getReferenceCount(), 2);
        inner.setBaseStream(second);
        EXPECT_EQ(first->getReferenceCount(), 1);
        inner.setBaseStream(nullptr);
        EXPECT_EQ(ComposableStream::getRootStream(&outer), nullptr);
        inner.setBaseStream(second);
        EXPECT_EQ(second->getReferenceCount(), 2);
    }
    EXPECT_EQ(second->getReferenceCount(), 1);
    Stream::release(first);
    Stream::release(second);
}

TEST(WrapStream, CountsAndChecksumsWhateverWayTheBytesPass) {
    const std::string data = support::pattern(300000);
    Source source(data);
    Sink sink;
    CounterStream counter(&source);
    CRCStream checked(&sink);
    long long count = 0;
    EXPECT_EQ(counter.copy(checked, count), 0);
    EXPECT_EQ(counter.getReceivedCount(true), 300000u);
    EXPECT_EQ(counter.getReceivedCount(false), 0u);
    EXPECT_EQ(checked.writeAll("abc", 3), 3);
    const std::string all = data + "abc";
    EXPECT_EQ(checked.getCRC(), CRC32(reinterpret_cast<const unsigned char*>(all.data()),
                                      static_cast<int>(all.size()), 0, 0xFFFFFFFF));
}

TEST(FilterStream, ReadSkipsBlocksThatVanish) {
    Source source("xxxxxxxxxxxxxxxxaxxbxxxxxxxxxxxxxxxxc", [] { return 16; });
    Editor editor(&source);
    char buffer[64];
    EXPECT_EQ(editor.readAll(buffer, sizeof buffer), 3);
    EXPECT_EQ(std::string(buffer, 3), "abc");
    EXPECT_EQ(editor.getSize(), -1);

    Source bad("ab!");
    Editor failing(&bad);
    EXPECT_EQ(failing.read(buffer, sizeof buffer), -1);
}

TEST(FilterStream, WriteRepeatedAfterAShortBaseSendsNothingTwice) {
    int step = 0;
    Sink sink([&] {
        const int steps[] = {3, 0, 100, 1, 0, 100};
        return steps[std::min(step++, 5)];
    });
    Editor editor(&sink);
    EXPECT_EQ(editor.write("ddxx", 4), 0); // 3 of 4 output bytes arrived
    EXPECT_EQ(editor.write("ddxx", 4), 4);
    EXPECT_EQ(sink.text, "dddd");
    EXPECT_EQ(editor.writeAll("abc", 3), 0);
    EXPECT_EQ(editor.writeAll("abc", 3), 3);
    EXPECT_EQ(sink.text, "ddddabc");
    EXPECT_EQ(editor.write("!", 1), -1);
    EXPECT_EQ(editor.write("", 0), 0);
}

TEST(NullStream, CountsPositionAndSize) {
    NullStream stream;
    std::string buffer(10, 'x');
    EXPECT_EQ(stream.readAll(buffer.data(), 10), 10);
    EXPECT_EQ(buffer, std::string(10, '\0'));
    EXPECT_EQ(stream.writeAll("abc", 3), 3);
    EXPECT_EQ(stream.getSize(), 13);
    EXPECT_EQ(stream.getReceivedCount(true), 10u);
    EXPECT_EQ(stream.getReceivedCount(false), 0u);
    EXPECT_EQ(stream.getSentCount(false), 3u);
    EXPECT_EQ(stream.lseek(-5, Stream::SeekEnd), 8);
    EXPECT_EQ(stream.lseek(-50, Stream::SeekCurrent), 0);
    EXPECT_EQ(stream.lseek(LLONG_MAX, Stream::SeekEnd), LLONG_MAX);
    EXPECT_EQ(stream.lseek(0, static_cast<Stream::Seek>(3)), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    EXPECT_EQ(stream.truncate(-1), -1);
    EXPECT_EQ(stream.truncate(4), 0);
    EXPECT_EQ(stream.getSize(), 4);
    long long count = 1;
    EXPECT_EQ(stream.copy(stream, count), -1);
}

TEST(MemoryStream, OneWindowForBothDirections) {
    char block[10] = {};
    MemoryStream stream(block, sizeof block);
    EXPECT_EQ(stream.write("abcdefghijkl", 12), 10);
    EXPECT_EQ(stream.write("m", 1), 0);
    EXPECT_EQ(stream.getOutputState(), Stream::StateEnd);
    const struct {
        long long offset;
        Stream::Seek origin;
        long long position;
    } rows[] = {{100, Stream::SeekStart, 10},
                {-1, Stream::SeekStart, 0},
                {LLONG_MAX, Stream::SeekEnd, 10},
                {LLONG_MIN, Stream::SeekCurrent, 0},
                {-3, Stream::SeekEnd, 7}};
    for (const auto& row : rows) {
        EXPECT_EQ(stream.lseek(row.offset, row.origin), row.position);
    }
    char buffer[10];
    EXPECT_EQ(stream.read(buffer, 10), 3);
    EXPECT_EQ(std::string(buffer, 3), "hij");
    EXPECT_EQ(stream.read(buffer, 10), 0);
    stream.lseek(4, Stream::SeekStart);
    int size = 99;
    EXPECT_EQ(stream.peek(size), block + 4);
    EXPECT_EQ(size, 6);
    size = -1;
    EXPECT_EQ(stream.poke(size), block + 4);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(stream.write(2), 2);
    EXPECT_EQ(stream.canRead(), 4);
    EXPECT_EQ(stream.mustWrite(), -1);
    EXPECT_EQ(stream.truncate(11), -1);
    EXPECT_EQ(Thread::getLastError(), HE_FBIG);
    EXPECT_EQ(stream.truncate(-1), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    EXPECT_EQ(stream.truncate(5), 0);
    EXPECT_EQ(stream.getSize(), 5);
}

TEST(MemoryStream, CopyIsOneWrite) {
    MemoryStreamEvil stream(new char[6]{'a', 'b', 'c', 'd', 'e', 'f'}, 6);
    Sink sink;
    long long count = 4;
    EXPECT_EQ(stream.copy(sink, count), 0);
    EXPECT_EQ(count, 4);
    EXPECT_EQ(sink.text, "abcd");
    EXPECT_EQ(stream.getInputState(), Stream::StateEnd);
    stream.lseek(1, Stream::SeekStart);
    Sink full([] { return 0; });
    count = 0;
    EXPECT_EQ(stream.copy(full, count), -1);
    EXPECT_EQ(count, 0);
}

TEST(MemoryStream, CopyOfMoreThanAnIntCountsLosesNothing) {
    const std::size_t size = 3UL << 30;
    void* block =
        mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    MemoryStream stream(block, static_cast<long long>(size));
    NullStream target;
    long long count = 0;
    EXPECT_EQ(stream.copy(target, count), 0);
    EXPECT_EQ(count, 3LL << 30);
    EXPECT_EQ(target.getSize(), count);
    munmap(block, size);
}
