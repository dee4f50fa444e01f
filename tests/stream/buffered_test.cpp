// Buffered readers, writers and chunks, also against plain models on random calls.

#include "common/error.h"
#include "common/stream/buffered_reader.h"
#include "common/stream/buffered_writer.h"
#include "common/stream/chunker_stream.h"
#include "common/stream/fd_stream.h"
#include "common/stream/memory_stream.h"
#include "common/thread/thread.h"
#include "tests/stream/streams.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

using support::below;
using support::Sink;
using support::Source;

namespace {

int allocation(const BufferedReader& reader) {
    int size = 0;
    reader.getBuffer(size);
    return size;
}

// Takes the size by reference: the call that gives the data also sets it.
std::string take(const void* data, const int& size) {
    return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
}

} // namespace

TEST(BufferedReader, OnePeekIsOneReadAndMayGiveLess) {
    Source source("0123456789", [] { return 4; });
    BufferedReaderImpl reader(&source, 4096);
    int size = 10;
    EXPECT_EQ(take(reader.peek(size), size), "0123");
    EXPECT_EQ(source.reads, 1);
    size = 3;
    reader.peek(size);
    EXPECT_EQ(source.reads, 1);
    size = 10;
    EXPECT_EQ(take(reader.peekAll(size), size), "0123456789");
    EXPECT_EQ(reader.getInputState(), Stream::StateGood);
    size = 6;
    EXPECT_EQ(take(reader.read(size), size), "012345");
    size = 10;
    EXPECT_EQ(take(reader.peek(size), size), "6789");
    EXPECT_EQ(reader.getInputState(), Stream::StateEnd);
    size = -1;
    EXPECT_NE(reader.peek(size), nullptr);
    EXPECT_EQ(size, 0);
    size = 10;
    EXPECT_EQ(take(reader.peekAndReadAll(size), size), "6789");
    EXPECT_EQ(reader.canRead(), 0);
    EXPECT_EQ(reader.write("x", 1), -1);
    EXPECT_EQ(reader.getOutputState(), Stream::StateError);
}

TEST(BufferedReader, GrowsOnDemandUpToItsLargestSize) {
    const std::string data = support::pattern(20000);
    Source source(data, [] { return 1024; });
    BufferedReaderImpl reader(&source, 10000);
    EXPECT_EQ(allocation(reader), 4096);
    EXPECT_EQ(reader.getBufferSize(), 10000);
    for (int have = 1024; have <= 4096; have += 1024) {
        int size = 10000;
        reader.peek(size);
        EXPECT_EQ(size, have);
    }
    EXPECT_EQ(allocation(reader), 4096);
    int size = 20000;
    EXPECT_EQ(take(reader.peekAll(size), size), data.substr(0, 10000));
    EXPECT_EQ(allocation(reader), 10000);
    const int reads = source.reads;
    size = 10001;
    reader.peek(size);
    EXPECT_EQ(size, 10000);
    EXPECT_EQ(source.reads, reads);

    Source small(data);
    BufferedReaderImpl full(&small, 4096);
    size = 4096;
    full.peek(size);
    size = 8192;
    full.peek(size);
    EXPECT_EQ(size, 4096);
    EXPECT_EQ(small.reads, 1);
}

TEST(BufferedReader, ABaseThatAlwaysHasMoreIsReadInLargeBlocks) {
    const std::string data = support::pattern(1000000);
    Source source(data);
    BufferedReaderImpl reader(&source, 262144);
    Sink sink;
    long long count = 0;
    EXPECT_EQ(reader.copy(sink, count), 0);
    EXPECT_EQ(count, 1000000);
    EXPECT_TRUE(sink.text == data);
    EXPECT_GT(source.largestRead, BufferedReaderImpl::ReadAheadSize - 64);
    EXPECT_LT(source.reads, 24);

    Source brief("a short message");
    BufferedReaderImpl modest(&brief, 262144);
    count = 0;
    EXPECT_EQ(modest.copy(sink, count), 0);
    EXPECT_EQ(allocation(modest), BufferedReaderImpl::BlockSize);
}

// Whatever is held back; and what stays in front of it can be gone back to.
TEST(BufferedReader, FillsALargeBlockFromACacheLineOn) {
    const std::string data = support::pattern(4000000);
    Source source(data);
    BufferedReaderImpl reader(&source, 262144);
    long long at = 0;
    for (int held = 0; held < 50; ++held) {
        int size = 262144;
        const char* bytes = static_cast<const char*>(reader.peek(size));
        ASSERT_EQ(data.compare(static_cast<std::size_t>(at), static_cast<std::size_t>(size), bytes,
                               static_cast<std::size_t>(size)),
                  0);
        if (source.largestRead > 16384) {
            EXPECT_EQ(source.lastPlace % 64, 0U) << held;
        }
        size = std::max(0, size - held);
        reader.read(size);
        at += size;
        for (const int back : {1, 63, 4000}) {
            if (at >= back) {
                EXPECT_EQ(reader.lseek(-back, Stream::SeekCurrent), at - back);
                int one = 1;
                EXPECT_EQ(take(reader.read(one), one),
                          data.substr(static_cast<std::size_t>(at - back), 1));
                EXPECT_EQ(reader.lseek(at, Stream::SeekStart), at);
            }
        }
    }
}

TEST(BufferedReader, CopyCountsStopsAndTellsAFailure) {
    Source source(support::pattern(1000), [] { return 300; });
    BufferedReaderImpl reader(&source, 4096);
    Sink sink;
    long long count = 700;
    EXPECT_EQ(reader.copy(sink, count), 0);
    EXPECT_EQ(count, 700);
    EXPECT_EQ(reader.lseek(0, Stream::SeekCurrent), 700);
    Thread::stopRequest = true;
    count = 0;
    EXPECT_EQ(reader.copy(sink, count), -1);
    EXPECT_EQ(Thread::getLastError(), HE_SHUTDOWN);
    count = 100; // a last, smaller block is copied all the same
    EXPECT_EQ(reader.copy(sink, count), 0);
    Thread::stopRequest = false;
    count = 500;
    EXPECT_EQ(reader.copy(sink, count), 0);
    EXPECT_EQ(count, 200);

    int given = 0;
    Source broken("abcdef", [&] { return given++ == 0 ? 3 : -1; });
    BufferedReaderImpl failing(&broken, 4096);
    count = 0;
    EXPECT_EQ(failing.copy(sink, count), -1);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(failing.lseek(0, Stream::SeekCurrent), 3); // to ask for the position hides nothing
    EXPECT_EQ(failing.getInputState(), Stream::StateError);
    EXPECT_EQ(failing.lseek(LLONG_MAX, Stream::SeekCurrent), LLONG_MAX);
}

TEST(BufferedReader, SetBufferSizeRules) {
    Source source(support::pattern(5000));
    BufferedReaderImpl reader(&source, 4096);
    for (const int bad : {0, -4, 6}) {
        EXPECT_EQ(reader.setBufferSize(bad), -1);
        EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    }
    int size = 100;
    reader.peek(size);
    EXPECT_EQ(reader.setBufferSize(96), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    EXPECT_EQ(reader.setBufferSize(8192), 0);
    EXPECT_EQ(allocation(reader), 4096);
    size = 4000;
    reader.read(size);
    EXPECT_EQ(reader.setBufferSize(128), 0);
    EXPECT_EQ(allocation(reader), 128);
    size = 96;
    EXPECT_EQ(take(reader.peek(size), size), source.text.substr(4000, 96));
}

TEST(BufferedReader, GetStreamSharesAReaderWhereItCan) {
    auto* file = new Source(support::pattern(100));
    BufferedReader* reader = BufferedReader::getStream(file, 4096);
    Stream::release(file);
    EXPECT_EQ(BufferedReader::getStream(reader, 65536), reader);
    EXPECT_EQ(reader->getReferenceCount(), 2);
    EXPECT_EQ(reader->getBufferSize(), 4096);
    Stream::release(reader);
    Stream::release(reader);

    char block[8] = "abcdefg";
    MemoryStream memory(block, 7);
    EXPECT_EQ(BufferedReader::getStream(&memory, 4096), &memory);

    BufferedReader* empty = BufferedReader::getStream();
    char byte;
    EXPECT_EQ(empty->read(&byte, 1), -1);
    EXPECT_EQ(empty->getInputState(), Stream::StateError);
    EXPECT_EQ(empty->lseek(0, Stream::SeekStart), -1);
    Stream::release(empty);
}

TEST(BufferedReader, RandomCallsAgreeWithAPlainText) {
    auto random = support::seededRandom("BufferedReader.RandomCallsAgreeWithAPlainText");
    for (int round = 0; round < 60; ++round) {
        const std::string data = support::pattern(below(random, 30000));
        const std::size_t most = round % 2 == 0 ? 3000 : 100000;
        Source source(data, [&] { return 1 + static_cast<int>(below(random, most)); });
        BufferedReaderImpl reader(&source, 4096 << below(random, 4));
        std::vector<char> buffer(10000);
        std::size_t at = 0;
        for (int call = 0; call < 300; ++call) {
            int size = static_cast<int>(below(random, 9000));
            const auto rest = static_cast<int>(std::min<std::size_t>(data.size() - at, 9000));
            switch (below(random, 6)) {
            case 0: {
                const int got = reader.read(buffer.data(), size);
                ASSERT_EQ(got > 0, size > 0 && rest > 0);
                ASSERT_EQ(take(buffer.data(), got), data.substr(at, static_cast<std::size_t>(got)));
                at += static_cast<std::size_t>(got);
                break;
            }
            case 1:
            case 2: {
                const bool consume = below(random, 2) == 0;
                const int wanted = size;
                const void* place = consume ? reader.read(size) : reader.peek(size);
                ASSERT_LE(size, wanted);
                ASSERT_EQ(size > 0, wanted > 0 && rest > 0);
                ASSERT_EQ(take(place, size), data.substr(at, static_cast<std::size_t>(size)));
                at += consume ? static_cast<std::size_t>(size) : 0;
                break;
            }
            case 3: {
                const int wanted = std::min({size, rest, reader.getBufferSize()});
                ASSERT_EQ(take(reader.peekAll(size), size),
                          data.substr(at, static_cast<std::size_t>(wanted)));
                break;
            }
            case 4: {
                const std::size_t target = below(random, data.size() + 1);
                const auto origin = static_cast<Stream::Seek>(below(random, 3));
                const std::size_t from[] = {0, at, data.size()};
                ASSERT_EQ(reader.lseek(static_cast<long long>(target - from[origin]), origin),
                          static_cast<long long>(target));
                at = target;
                break;
            }
            default:
                reader.setBufferSize(4 << below(random, 12));
                break;
            }
        }
    }
}

TEST(BufferedWriter, OnlyLessThanTheRoomStays) {
    Sink sink;
    BufferedWriterImpl writer(&sink, 16);
    EXPECT_EQ(writer.write("0123456789abcdef", 16), 16);
    EXPECT_EQ(sink.text.size(), 16u); // with an empty buffer, straight through
    EXPECT_EQ(writer.write("0123456789", 10), 10);
    EXPECT_EQ(writer.mustWrite(), 10);
    EXPECT_EQ(writer.write("ABCDEF", 6), 6);
    EXPECT_EQ(writer.mustWrite(), 0);
    EXPECT_EQ(sink.text, "0123456789abcdef0123456789ABCDEF");
    EXPECT_EQ(sink.writes, 2);
    int size = 20;
    EXPECT_NE(writer.poke(size), nullptr);
    EXPECT_EQ(size, 16);
    EXPECT_EQ(writer.canWrite(), 16);
    EXPECT_EQ(writer.setBufferSize(6), -1);
    EXPECT_EQ(writer.read(&size, 1), -1);
    EXPECT_EQ(writer.getInputState(), Stream::StateError);
}

TEST(BufferedWriter, WhatTheBaseRefusesStays) {
    int step = 0;
    Sink sink([&] {
        const int steps[] = {0, 3, 0, 100};
        return steps[std::min(step++, 3)];
    });
    {
        BufferedWriterImpl writer(&sink, 8);
        EXPECT_EQ(writer.write("abcd", 4), 4);
        EXPECT_EQ(writer.write("efghijkl", 8), 4); // the base takes nothing, the buffer is full
        EXPECT_EQ(writer.write("ijkl", 4), 3);     // the base takes three
        EXPECT_EQ(writer.flush(), -1);
        EXPECT_EQ(writer.mustWrite(), 8);
        EXPECT_EQ(writer.write("l", 1), 1);
    } // the destructor sends the rest
    EXPECT_EQ(sink.text, "abcdefghijkl");

    BufferedWriterImpl orphan(nullptr, 8);
    EXPECT_EQ(orphan.write(nullptr, 0), 0);
    EXPECT_EQ(orphan.write("abc", 3), 3);
    EXPECT_EQ(orphan.flush(), -1);
    EXPECT_EQ(orphan.resetComposableStream(), 0);
    EXPECT_EQ(orphan.flush(), 0);
}

TEST(BufferedWriter, RandomCallsLoseAndDoubleNothing) {
    auto random = support::seededRandom("BufferedWriter.RandomCallsLoseAndDoubleNothing");
    for (int round = 0; round < 60; ++round) {
        Sink sink([&] { return static_cast<int>(below(random, 300)); });
        BufferedWriterImpl writer(&sink, 4 << below(random, 8));
        const std::string data = support::pattern(20000);
        std::size_t at = 0;
        for (int call = 0; call < 200; ++call) {
            const char* from = data.data() + at;
            int size =
                static_cast<int>(below(random, std::min<std::size_t>(data.size() - at, 400) + 1));
            int taken = 0;
            switch (below(random, 4)) {
            case 0:
            case 1:
                taken = writer.write(from, size);
                break;
            case 2:
                if (void* place = writer.poke(size); place != nullptr) {
                    std::memcpy(place, from, static_cast<std::size_t>(size));
                    taken = writer.write(size);
                    ASSERT_TRUE(taken == size || taken <= 0);
                }
                break;
            default:
                if (below(random, 2) == 0) {
                    writer.flush();
                } else {
                    writer.setBufferSize(4 << below(random, 8));
                }
                break;
            }
            at += taken > 0 ? static_cast<std::size_t>(taken) : 0;
        }
        sink.piece = nullptr;
        ASSERT_EQ(writer.flush(), 0);
        ASSERT_EQ(sink.text, data.substr(0, at));
    }
}

TEST(ChunkerStream, RangesOfABase) {
    const std::string data = support::pattern(100);
    const struct {
        long long start;
        long long size;
        long long chunk;
        Stream::State state;
    } rows[] = {{10, 5, 5, Stream::StateGood},   {10, -1, 90, Stream::StateGood},
                {100, -1, 0, Stream::StateEnd},  {-1, 5, 0, Stream::StateError},
                {10, -2, 0, Stream::StateError}, {0, 0, 0, Stream::StateEnd}};
    for (const auto& row : rows) {
        Source source(data);
        ChunkerStream chunk(&source, row.start, row.size);
        EXPECT_EQ(chunk.getSize(), row.chunk);
        EXPECT_EQ(chunk.getInputState(), row.state);
        char buffer[200];
        const bool bad = row.state == Stream::StateError;
        EXPECT_EQ(chunk.read(buffer, sizeof buffer), bad ? -1 : static_cast<int>(row.chunk));
        if (!bad && row.chunk > 0) {
            EXPECT_EQ(take(buffer, static_cast<int>(row.chunk)),
                      data.substr(static_cast<std::size_t>(row.start),
                                  static_cast<std::size_t>(row.chunk)));
            EXPECT_EQ(chunk.read(buffer, 1), 0);
            EXPECT_EQ(chunk.getInputState(), Stream::StateEnd);
        }
    }
}

TEST(ChunkerStream, SeeksWithinAndStartsAtThePresentPosition) {
    Source source("0123456789");
    source.position = 3;
    ChunkerStream chunk(4, &source);
    char buffer[8];
    EXPECT_EQ(chunk.lseek(-1, Stream::SeekEnd), 3);
    EXPECT_EQ(chunk.read(buffer, 8), 1);
    EXPECT_EQ(buffer[0], '6');
    EXPECT_EQ(chunk.lseek(5, Stream::SeekStart), -1);
    EXPECT_EQ(chunk.lseek(-5, Stream::SeekCurrent), -1);
    EXPECT_EQ(chunk.lseek(0, static_cast<Stream::Seek>(3)), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVAL);
    EXPECT_EQ(chunk.lseek(1, Stream::SeekStart), 1);
    EXPECT_EQ(chunk.read(buffer, 2), 2);
    EXPECT_EQ(take(buffer, 2), "45");
    EXPECT_EQ(chunk.truncate(1), -1);

    // A base that cannot seek is read from where it stands.
    Sink sink;
    ChunkerStream written(3, &sink);
    EXPECT_EQ(written.write("abcdef", 6), 3);
    EXPECT_EQ(written.write("def", 3), 0);
    EXPECT_EQ(sink.text, "abc");
    ChunkerStream unseekable(&sink, 0, 3);
    EXPECT_EQ(unseekable.write("x", 1), -1);
    EXPECT_EQ(unseekable.getOutputState(), Stream::StateError);

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FDStream raw(ends[0]);
    ChunkerStream piped(&raw, 0, 3);
    EXPECT_EQ(piped.read(buffer, 1), -1);
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(ESPIPE));
    EXPECT_EQ(piped.read(buffer, 1), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    ::close(ends[0]);
    ::close(ends[1]);
}
