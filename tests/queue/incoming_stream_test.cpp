// The stream of a new message: line ends at its end and inside, header scan and hook, checksum,
// limit, and what it finds in the headers.

#include "common/container/crc32.h"
#include "tests/queue/queue_fixture.h"
#include "tests/support/random.h"
#include "tests/support/size_limit.h"

#include <filesystem>

namespace {

unsigned crcOf(const std::string& text) {
    return CRC32(reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()),
                 0, 0xFFFFFFFF);
}

class Incoming : public testing::Test {
protected:
    Incoming() : name(dir / "data") {}
    ~Incoming() override { drop(); }

    IncomingStream* make() {
        drop();
        std::filesystem::remove(name);
        stream = new IncomingStream(name.c_str());
        EXPECT_EQ(0, stream->create());
        return stream;
    }
    void drop() {
        Stream::release(stream);
        stream = nullptr;
    }
    int put(std::string_view text) {
        return stream->write(text.data(), static_cast<int>(text.size()));
    }
    // A stream that looks for the end of the headers.
    void makeWithScan() {
        make();
        stream->headerState = IncomingStream::ScanLine;
        stream->crlfSeen = false;
    }
    bool putAll(std::string_view text) {
        const int size = static_cast<int>(text.size());
        return stream->writeAll(text.data(), size) == size;
    }
    std::string content() const { return support::readFile(name); }

    support::TempDir dir;
    std::string name;
    IncomingStream* stream = nullptr;
};

TEST_F(Incoming, closesWithALineEnd) {
    struct Row {
        Strings writes;
        std::string stored;
    };
    const Row rows[] = {
        {{}, "\r\n"},
        {{"a"}, "a\r\n"},
        {{"a\n"}, "a\n\r\n"},
        {{"a\r"}, "a\r\n"},
        {{"a\r\n"}, "a\r\n"},
        {{"a\r", "\n"}, "a\r\n"},
        {{"a\r", "", "\n"}, "a\r\n"},
        {{"a\r", "b"}, "a\rb\r\n"},
        {{"a", "\n"}, "a\n\r\n"},
        {{"a\r\n", "\r"}, "a\r\n\r\n"},
        {{"a\r\n\n"}, "a\r\n\n\r\n"},
    };
    for (const Row& row : rows) {
        for (const bool leaveTail : {false, true}) {
            make();
            stream->computeCRC = true;
            std::string raw;
            for (const std::string& text : row.writes) {
                EXPECT_TRUE(putAll(text));
                raw += text;
            }
            EXPECT_EQ(0, stream->close(leaveTail, true));
            EXPECT_EQ(leaveTail ? raw : row.stored, content());
            EXPECT_EQ(crcOf(content()), stream->crc);
            EXPECT_EQ(0x7FFFFFFF - static_cast<int>(content().size()), stream->sizeLeft);
            EXPECT_EQ(-1, put("late"));
            EXPECT_EQ(0, stream->close(false, true)); // nothing is added twice
            EXPECT_EQ(leaveTail ? raw : row.stored, content());
        }
    }
}

// What the rewriting makes of a text: every CRLF, LF CR, CR and LF becomes CRLF, and CR CR LF too.
std::string rewritten(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::string_view taken = text.substr(0, 1);
        for (const std::string_view end : {"\r", "\n", "\n\r", "\r\n", "\r\r\n"}) {
            if (text.starts_with(end)) {
                taken = end;
            }
        }
        result += taken.find_first_of("\r\n") == 0 ? "\r\n" : taken;
        text.remove_prefix(taken.size());
    }
    return result;
}

// What is large does not go to the disk in pieces of the writer's size, whatever waits before it.
TEST_F(Incoming, passesLargePiecesOn) {
    const struct {
        std::size_t waiting, size, onDisk;
    } rows[] = {{0, 4095, 0},         {0, 4096, 4096},
                {1, 4094, 0},         {1, 4095, 4096},
                {1, 8190, 4096},      {1, 8191, 8192},
                {4095, 4096, 4096},   {4095, 4097, 8192},
                {4095, 70000, 74095}, {100, 1 << 20, 100 + (1 << 20)}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(row.waiting) + " + " + std::to_string(row.size));
        std::string text(row.waiting + row.size, '-');
        for (std::size_t i = 0; i < text.size(); ++i) {
            text[i] = static_cast<char>('!' + i % 89);
        }
        make();
        put(text.substr(0, row.waiting));
        EXPECT_EQ(static_cast<int>(row.size), put(text.substr(row.waiting)));
        EXPECT_EQ(static_cast<long long>(row.onDisk), stream->getSize());
        EXPECT_EQ(0, stream->close(true, true));
        EXPECT_EQ(text, content());
    }
}

TEST_F(Incoming, rewritesLineEnds) {
    make()->fixLineEnds = true;
    EXPECT_EQ(2, put("a\nb"));
    EXPECT_EQ(1, put("b"));
    EXPECT_EQ(0, stream->close(false, true));
    EXPECT_EQ("a\r\nb\r\n", content());

    EXPECT_EQ("\r\n", rewritten("\r\r\n"));
    EXPECT_EQ("\r\n\r\nX", rewritten("\r\rX"));
    auto random = support::seededRandom("rewritesLineEnds");
    for (int round = 0; round < 2000; ++round) {
        const std::string text = support::randomText(random, "\r\r\n\nab", 12);
        make();
        stream->fixLineEnds = true;
        stream->computeCRC = true;
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t size = 1 + support::below(random, text.size() - at);
            EXPECT_TRUE(putAll(text.substr(at, size)));
            at += size;
        }
        const bool held = stream->fixState == IncomingStream::FixHeld;
        EXPECT_EQ(0, stream->close(false, false)); // fsync would take most of the time
        // A CR still held back becomes the line end that closing adds.
        std::string expected = rewritten(text);
        if (!held && !expected.ends_with("\r\n")) {
            expected += "\r\n";
        }
        EXPECT_EQ(expected, content()) << testing::PrintToString(text);
        EXPECT_EQ(crcOf(content()), stream->crc);
    }
}

TEST_F(Incoming, stopsAtTheEndOfTheHeaders) {
    struct Row {
        std::string text;
        std::string headers; // what is stored when the scan stops; all of `text` without an end
        bool found;
    };
    const Row rows[] = {
        {"a\n\nbody", "a\n\n", true},
        {"a\r\n\r\nbody", "a\r\n\r\n", true},
        {"a\n\r\nbody", "a\n\r\n", true},
        {"a\r\n\nbody", "a\r\n\nb", true}, // known only by the byte behind
        {"a\r\n\n\rb", "a\r\n\n", true},
        {"a\r\n\n\nb", "a\r\n\n\n", true},
        {"a\r\r\nb\r\n\r\nc", "a\r\r\nb\r\n\r\n", true},
        {"a\rb\r\nc\n\n", "a\rb\r\nc\n\n", true},
        {"a\r\nb\nc\rd\r\n", "a\r\nb\nc\rd\r\n", false},
    };
    for (const Row& row : rows) {
        for (const bool bytewise : {false, true}) {
            makeWithScan();
            std::size_t taken = 0;
            while (taken < row.text.size() && stream->headerState != IncomingStream::HeadersEnd) {
                const int result = put(row.text.substr(taken, bytewise ? 1 : std::string::npos));
                ASSERT_GE(result, 0);
                taken += static_cast<std::size_t>(result);
            }
            EXPECT_EQ(row.headers.size(), taken) << testing::PrintToString(row.text);
            EXPECT_EQ(row.found, stream->headerState == IncomingStream::HeadersEnd);
            EXPECT_EQ(row.found, stream->getHeaderHookStream(false) != nullptr);
        }
    }
}

TEST_F(Incoming, letsAHookChangeTheHeaders) {
    makeWithScan();
    stream->computeCRC = true;
    EXPECT_EQ(-1, stream->finalizeHeaderHookCall());
    EXPECT_EQ(nullptr, stream->getHeaderHookStream(false));
    EXPECT_EQ(5, put("a\r\n\r\nbody"));
    EXPECT_EQ(HE_INVALOP, errorOf(put("body")));
    Stream* hook = stream->getHeaderHookStream(false);
    ASSERT_NE(nullptr, hook);
    EXPECT_EQ(6, hook->writeAll("b\r\n\r\n ", 6)); // from the start
    EXPECT_EQ(0, stream->finalizeHeaderHookCall());
    EXPECT_TRUE(putAll("body"));
    EXPECT_EQ(0, stream->close(false, true));
    EXPECT_EQ("b\r\n\r\n body\r\n", content());
    EXPECT_EQ(crcOf(content()), stream->crc);

    makeWithScan(); // a hook may also come before the end is found; a close in its way is final
    EXPECT_TRUE(putAll("a"));
    EXPECT_NE(nullptr, stream->getHeaderHookStream(true));
    EXPECT_EQ("a", content());
    EXPECT_EQ(-1, stream->close(true, true));
    EXPECT_EQ(-1, stream->close(true, true));
    EXPECT_EQ(0, stream->resetStream());
    EXPECT_EQ("", content());
    EXPECT_TRUE(putAll("new"));
    EXPECT_EQ(0, stream->close(false, true));
    EXPECT_EQ("new\r\n", content());
}

TEST_F(Incoming, dropsWhatGoesBeyondTheLimit) {
    make()->sizeLeft = 3;
    EXPECT_EQ(4, put("abcd")); // the test is made before the write
    EXPECT_EQ(-1, stream->sizeLeft);
    EXPECT_EQ(0, put(""));
    EXPECT_FALSE(stream->isOverflowed()); // all there so far
    EXPECT_EQ(4, put("efgh"));
    EXPECT_TRUE(stream->isOverflowed());
    EXPECT_EQ(0, stream->flush());
    EXPECT_EQ(4, stream->getSize());
    EXPECT_FALSE(stream->nonASCII);
    EXPECT_EQ(0, stream->resetStream());
    EXPECT_FALSE(stream->isOverflowed());
    EXPECT_TRUE(putAll("\x80"));
    EXPECT_TRUE(stream->nonASCII);
}

TEST_F(Incoming, findsTheFactsOfTheHeaders) {
    const std::string longLine(5000, 'x');
    struct Row {
        std::string text;
        int received;
        long long date;
        int headerSize;
    };
    const Row rows[] = {
        {"Received: a\r\nRECEIVED: b\r\nDate: Thu, 01 Jan 1970 00:01:00 "
         "+0000\r\nreceived:\r\n\r\nb",
         3, 60, 78},
        {"date: Thu, 01 Jan 1970 00:01:00 +0000\r\nDate: nonsense\r\n\r\n", 0, 60, 57},
        {"Date: nonsense\r\nno empty line", 0, 0, 29},
        {"", 0, 0, 0},
        {longLine + "received: \r\nReceived: x\r\n\r\nbody", 1, 0, 5027},
        {longLine.substr(0, 4096) + "\r\nReceived: x\r\n\r\nbody", 1, 0, 4113},
    };
    for (const Row& row : rows) {
        make();
        EXPECT_TRUE(putAll(row.text));
        for (int call = 0; call < 2; ++call) {
            stream->parseHeaders();
            EXPECT_EQ(row.received, stream->receivedCount);
            EXPECT_EQ(row.date, stream->headerDate);
            EXPECT_EQ(row.headerSize, stream->headerSize);
        }
        EXPECT_TRUE(putAll("tail")); // at the end, as before
        EXPECT_EQ(0, stream->close(true, true));
        EXPECT_EQ(row.text + "tail", content());
    }
    make();
    EXPECT_EQ(0, stream->close(false, true));
    stream->parseHeaders();
    EXPECT_EQ(HE_INVAL, Thread::getLastError());
    EXPECT_EQ(-1, stream->receivedCount);
}

TEST_F(Incoming, keepsFailingOnceAWriteToTheDiskFailed) {
    make();
    {
        const support::SizeLimit full(10);
        EXPECT_TRUE(putAll("more than ten bytes"));
        EXPECT_EQ(HE_FBIG, errorOf(stream->close(false, true)));
    }
    EXPECT_EQ(HE_INVALOP, errorOf(put("more"))); // and would make the failure forgotten
    EXPECT_EQ(-1, stream->close(false, true));
    drop();
    EXPECT_EQ("more than ", content()); // nor is it tried again at the end
}

} // namespace
