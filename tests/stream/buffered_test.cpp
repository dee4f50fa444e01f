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
#include <string>

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

std::string peek(BufferedReader& reader, int size) {
    return take(reader.peek(size), size);
}

std::string peekAll(BufferedReader& reader, int size) {
    return take(reader.peekAll(size), size);
}

std::string read(BufferedReader& reader, int size) {
    return take(reader.read(size), size);
}

} // namespace

TEST(BufferedReader, OnePeekIsOneReadAndMayGiveLess) {
    Source source("0123456789", [] { return 4; });
    BufferedReaderImpl reader(&source, 4096);
    EXPECT_EQ(peek(reader, 10), "0123");
    EXPECT_EQ(peek(reader, 3).size(), 3U);
    EXPECT_EQ(source.reads, 1);
    EXPECT_EQ(peekAll(reader, 10), "0123456789");
    EXPECT_EQ(reader.getInputState(), Stream::StateGood);
    EXPECT_EQ(read(reader, 6), "012345");
    EXPECT_EQ(peek(reader, 10), "6789");
    EXPECT_EQ(reader.getInputState(), Stream::StateEnd);
    EXPECT_EQ(peek(reader, -1), "");
    int size = 10;
    EXPECT_EQ(take(reader.peekAndReadAll(size), size), "6789");
    EXPECT_EQ(reader.canRead(), 0);
    EXPECT_EQ(reader.write("x", 1), -1);
    EXPECT_EQ(reader.getOutputState(), Stream::StateError);
}

TEST(BufferedReader, GrowsOnDemandUpToItsLargestSize) {
    const std::string data = support::pattern(20000);
    Source source(data, [] { return 1024; });
    BufferedReaderImpl reader(&source, 10000);
    for (std::size_t have = 1024; have <= 4096; have += 1024) {
        EXPECT_EQ(allocation(reader), 4096);
        EXPECT_EQ(peek(reader, 10000).size(), have);
    }
    EXPECT_EQ(allocation(reader), 4096);
    EXPECT_EQ(peekAll(reader, 20000), data.substr(0, 10000));
    EXPECT_EQ(allocation(reader), 10000);
    const int reads = source.reads;
    EXPECT_EQ(peek(reader, 10001).size(), 10000U);
    EXPECT_EQ(source.reads, reads);
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
    EXPECT_LE(source.largestRead, BufferedReaderImpl::ReadAheadSize);
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
                EXPECT_EQ(read(reader, 1)[0], data[static_cast<std::size_t>(at - back)]);
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
    peek(reader, 100);
    EXPECT_EQ(reader.setBufferSize(96), -1);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    EXPECT_EQ(reader.setBufferSize(8192), 0);
    EXPECT_EQ(allocation(reader), 4096);
    read(reader, 4000);
    EXPECT_EQ(reader.setBufferSize(128), 0);
    EXPECT_EQ(allocation(reader), 128);
    EXPECT_EQ(peek(reader, 96), source.text.substr(4000, 96));
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
        std::size_t at = 0;
        for (int call = 0; call < 300; ++call) {
            const int size = static_cast<int>(below(random, 9000));
            const auto rest = static_cast<int>(std::min<std::size_t>(data.size() - at, 9000));
            const std::size_t kind = below(random, 6);
            if (kind < 3) {
                std::string got(static_cast<std::size_t>(size), '\0');
                if (kind == 0) {
                    const int count = reader.read(got.data(), size);
                    got.resize(static_cast<std::size_t>(std::max(count, 0)));
                } else {
                    got = kind == 1 ? read(reader, size) : peek(reader, size);
                }
                ASSERT_LE(got.size(), static_cast<std::size_t>(size));
                ASSERT_EQ(got.empty(), size == 0 || rest == 0);
                ASSERT_EQ(got, data.substr(at, got.size()));
                at += kind < 2 ? got.size() : 0;
            } else if (kind == 3) {
                const int wanted = std::min({size, rest, reader.getBufferSize()});
                ASSERT_EQ(peekAll(reader, size), data.substr(at, static_cast<std::size_t>(wanted)));
            } else if (kind == 4) {
                const std::size_t target = below(random, data.size() + 1);
                const auto origin = static_cast<Stream::Seek>(below(random, 3));
                const std::size_t from[] = {0, at, data.size()};
                ASSERT_EQ(reader.lseek(static_cast<long long>(target - from[origin]), origin),
                          static_cast<long long>(target));
                at = target;
            } else {
                reader.setBufferSize(4 << below(random, 12));
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
            const std::size_t kind = below(random, 8);
            if (kind < 4) {
                taken = writer.write(from, size);
            } else if (kind < 6) {
                if (void* place = writer.poke(size); place != nullptr) {
                    std::memcpy(place, from, static_cast<std::size_t>(size));
                    taken = writer.write(size);
                    ASSERT_TRUE(taken == size || taken <= 0);
                }
            } else if (kind == 6) {
                writer.flush();
            } else {
                writer.setBufferSize(4 << below(random, 8));
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
        long long start, size;
        int chunk; // -1 for a range that cannot be
    } rows[] = {{10, 5, 5}, {10, -1, 90}, {100, -1, 0}, {0, 0, 0}, {-1, 5, -1}, {10, -2, -1}};
    for (const auto& row : rows) {
        Source source(data);
        ChunkerStream chunk(&source, row.start, row.size);
        EXPECT_EQ(chunk.getSize(), std::max(row.chunk, 0));
        EXPECT_EQ(chunk.getInputState(), row.chunk > 0    ? Stream::StateGood
                                         : row.chunk == 0 ? Stream::StateEnd
                                                          : Stream::StateError);
        char buffer[200];
        EXPECT_EQ(chunk.read(buffer, sizeof buffer), row.chunk);
        if (row.chunk > 0) {
            EXPECT_EQ(take(buffer, row.chunk),
                      data.substr(10, static_cast<std::size_t>(row.chunk)));
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
