// The two tokenizers, row by row and against plain models on random texts that arrive in random
// pieces.

#include "common/error.h"
#include "common/stream/memory_stream.h"
#include "common/thread/thread.h"
#include "message/folded_line_tokenizer.h"
#include "message/line_tokenizer.h"
#include "tests/stream/streams.h"
#include "tests/support/random.h"
#include "tests/support/token_model.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using support::below;
using support::plainFolded;
using support::plainLines;
using support::Sink;
using support::Source;
using support::Token;
using support::Tokens;

namespace support {

static void PrintTo(const Token& token, std::ostream* out) {
    *out << testing::PrintToString(token.text) << (token.complete ? "." : "~");
}

} // namespace support

namespace {

// All tokens up to the first empty one at the end of data.
template <class T> Tokens drain(T& tokenizer, const Source& source, int limit, bool terminated) {
    Tokens tokens;
    for (int guard = 0; guard < 1000; ++guard) {
        int size = limit;
        const char* token = static_cast<const char*>(tokenizer.readToken(size));
        if (token == nullptr) {
            ADD_FAILURE() << "no token";
            break;
        }
        if (terminated) {
            EXPECT_EQ(token[size], '\0');
        }
        tokens.push_back(
            {std::string(token, static_cast<std::size_t>(size)), tokenizer.lastTokenCompleted()});
        const bool consumed = tokenizer.canRead() <= 0 &&
                              source.position == static_cast<long long>(source.text.size());
        if (size == 0 && !tokenizer.lastTokenCompleted() && consumed) {
            break;
        }
    }
    return tokens;
}

template <class T>
Tokens tokensOf(const std::string& text, int flags, int limit, bool terminated = false) {
    Source source(text);
    T tokenizer(&source, flags, terminated);
    return drain(tokenizer, source, limit, terminated);
}

} // namespace

TEST(LineTokenizer, LimitsAndEnds) {
    using std::string_literals::operator""s;
    const struct {
        int flags;
        int limit;
        std::string text;
        Tokens tokens;
    } rows[] = {
        {134, 0, "", {{"", false}}},
        {134,
         0,
         "a\r\nb\nc\0d"s,
         {{"a", true}, {"b", true}, {"c", true}, {"d", false}, {"", false}}},
        {134, 0, "a\n", {{"a", true}, {"", false}}},
        {15, 0, "a\r\nb\n\rc\r", {{"a\r\n", true}, {"b\n\r", true}, {"c\r", true}, {"", false}}},
        {134, 5, "abcd\nx\n", {{"abcd", true}, {"x", true}, {"", false}}},
        {134, 4, "abcd\nx\n", {{"abcd", false}, {"", true}, {"x", true}, {"", false}}},
        {134, 4, "abcd\r\nx", {{"abcd", false}, {"", true}, {"x", false}, {"", false}}},
        {134, 3, "abcd\r\n", {{"abc", false}, {"d", true}, {"", false}}},
        {134, 5, "abcd\rx", {{"abcd", false}, {"\rx", false}, {"", false}}},
        {134, 1, "a\r", {{"a", false}, {"\r", false}, {"", false}}},
        {132, 0, "a\nb\r\n", {{"a\nb", true}, {"", false}}},
    };
    for (const auto& row : rows) {
        for (const bool terminated : {false, true}) {
            EXPECT_EQ(tokensOf<LineTokenizer>(row.text, row.flags, row.limit, terminated),
                      row.tokens)
                << testing::PrintToString(row.text) << " flags " << row.flags << " limit "
                << row.limit;
        }
    }
}

TEST(LineTokenizer, RandomTextsInRandomPieces) {
    auto random = support::seededRandom("LineTokenizer.RandomTextsInRandomPieces");
    const int words[] = {134, 132, 15, 143, 134 | 16, 6, 129, 138};
    const std::string alphabet("\r\n\0\r\nabcdefgh", 13);
    for (int round = 0; round < 4000; ++round) {
        const std::string text = support::randomText(random, alphabet, 60);
        const int flags = words[below(random, std::size(words))];
        const int limit = 1 + static_cast<int>(below(random, 20));
        const bool terminated = below(random, 2) == 0;
        Source source(text, [&] { return 1 + static_cast<int>(below(random, 12)); });
        LineTokenizer tokenizer(&source, flags, terminated);
        ASSERT_EQ(drain(tokenizer, source, limit, terminated),
                  plainLines(text, flags, static_cast<std::size_t>(limit)))
            << testing::PrintToString(text) << " flags " << flags << " limit " << limit;
    }
}

// Buffers smaller than a line, at every place of the line end: the pieces give the text back.
TEST(LineTokenizer, PiecesOfLongLinesJoin) {
    for (std::size_t length = 4080; length < 4110; ++length) {
        const std::string text = support::pattern(length) + "\r\n" + support::pattern(9000) + "\n";
        Source source(text);
        LineTokenizer tokenizer(&source, 134, false);
        std::vector<std::string> lines(1);
        for (const Token& token : drain(tokenizer, source, 0, false)) {
            lines.back() += token.text;
            if (token.complete) {
                lines.emplace_back();
            }
        }
        ASSERT_EQ(lines,
                  (std::vector<std::string>{support::pattern(length), support::pattern(9000), ""}));
    }
}

TEST(LineTokenizer, LeavesTheMemoryAsItWas) {
    char block[] = "abcdef\r\nxyz";
    const std::string before = block;
    MemoryStream memory(block, static_cast<long long>(before.size()));
    {
        LineTokenizer tokenizer(&memory, 134, true);
        int size = 3;
        EXPECT_STREQ(static_cast<char*>(tokenizer.readToken(size)), "abc");
        EXPECT_EQ(size, 3);
        EXPECT_EQ(block[3], '\0');
        size = 0;
        EXPECT_STREQ(static_cast<char*>(tokenizer.readToken(size)), "def");
        EXPECT_EQ(tokenizer.lseek(0, Stream::SeekCurrent), 8);
        EXPECT_EQ(before, block);
        tokenizer.lseek(0, Stream::SeekStart);
        size = 4;
        EXPECT_STREQ(static_cast<char*>(tokenizer.readToken(size)), "abcd");
    }
    EXPECT_EQ(before, block);
}

TEST(LineTokenizer, ATimeoutConsumesNothing) {
    int step = 0;
    Source source("ab\r\ncd\r\n", [&] {
        const int steps[] = {3, 0, 0, 100};
        return steps[std::min(step++, 3)];
    });
    LineTokenizer tokenizer(&source, 134, true);
    for (int i = 0; i < 2; ++i) {
        int size = 0;
        EXPECT_STREQ(static_cast<char*>(tokenizer.readToken(size)), "ab\r");
        EXPECT_FALSE(tokenizer.lastTokenCompleted());
        EXPECT_EQ(tokenizer.getInputState(), Stream::StateTimedOut);
    }
    EXPECT_EQ(drain(tokenizer, source, 0, true), (Tokens{{"ab", true}, {"cd", true}, {"", false}}));
}

TEST(LineTokenizer, ReadingGoesOnBehindTheToken) {
    Source source("first\nsecond\nthird");
    LineTokenizer tokenizer(&source, 134, true);
    int size = 0;
    EXPECT_STREQ(static_cast<char*>(tokenizer.readToken(size)), "first");
    char buffer[4];
    EXPECT_EQ(tokenizer.read(buffer, 3), 3);
    EXPECT_EQ(std::string(buffer, 3), "sec");
    size = 0;
    EXPECT_STREQ(static_cast<char*>(tokenizer.readToken(size)), "ond");
    Sink sink;
    long long count = 0;
    EXPECT_EQ(tokenizer.copy(sink, count), 0);
    EXPECT_EQ(sink.text, "third");
    EXPECT_EQ(tokenizer.getInputState(), Stream::StateEnd);
    EXPECT_EQ(tokenizer.doCastInternal(ComposableStream::getCastableClassId()),
              static_cast<ComposableStream*>(&tokenizer));
    EXPECT_EQ(tokenizer.doCastInternal(FoldedLineTokenizer::getCastableClassId()), nullptr);
}

TEST(LineTokenizer, GoesOverToAnotherStream) {
    Source first("a\nrest");
    Source second("b\n");
    LineTokenizer tokenizer(&first, 134, false);
    int size = 0;
    tokenizer.readToken(size);
    EXPECT_EQ(tokenizer.setBaseStream(&second), 0);
    EXPECT_EQ(drain(tokenizer, second, 0, false), (Tokens{{"b", true}, {"", false}}));
}

TEST(FoldedLineTokenizer, FoldsLimitsAndEnds) {
    const struct {
        int flags;
        int limit;
        std::string text;
        Tokens tokens;
    } rows[] = {
        {1686, 0, "", {{"", false}}},
        {1686, 0, "a: b\r\n c\r\nd: e\r\n", {{"a: bc", true}, {"d: e", true}, {"", false}}},
        {0x296, 0, "a: b\r\n c\r\nd: e\r\n", {{"a: b c", true}, {"d: e", true}, {"", false}}},
        {0x96, 0, "a: b\r\n c\r\nd", {{"a: b\r\n c", true}, {"d", false}, {"", false}}},
        {0x16, 0, "a\n b\n", {{"a\n b\n", true}, {"", false}}},
        {1686, 0, "a\n\tb\n  c\n", {{"ab c", true}, {"", false}}},
        {1686, 0, "\r\n x\r\n", {{"", true}, {" x", true}, {"", false}}},
        {1686, 0, "a: b\r\n\r\n x", {{"a: b", true}, {"", true}, {" x", false}, {"", false}}},
        {1686, 0, "a: b\r\n c", {{"a: bc", false}, {"", false}}},
        {1686, 0, "a: b\r\n ", {{"a: b", false}, {"", false}}},
        {1686, 0, "a: b\r\n \r\nc", {{"a: b", true}, {"c", false}, {"", false}}},
        {1686,
         10,
         "12345678\r\nx\r\n",
         {{"12345678", false}, {"", true}, {"x", true}, {"", false}}},
        {1686, 10, "12345678\r\n", {{"12345678", false}, {"", true}, {"", false}}},
        {1686, 9, "12345678\r\n", {{"12345678", false}, {"", true}, {"", false}}},
        {1686, 11, "12345678\r\nx\n", {{"12345678", true}, {"x", true}, {"", false}}},
        {1686, 4, "abcdefgh\n", {{"abcd", false}, {"efgh", false}, {"", true}, {"", false}}},
        {0x69C, 4, "abc\n\rx", {{"abc", false}, {"", true}, {"x", false}, {"", false}}},
        {1686, 6, "ab\n cdef\n", {{"abcd", false}, {"ef", true}, {"", false}}},
    };
    for (const auto& row : rows) {
        for (const bool terminated : {false, true}) {
            EXPECT_EQ(tokensOf<FoldedLineTokenizer>(row.text, row.flags, row.limit, terminated),
                      row.tokens)
                << testing::PrintToString(row.text) << " flags " << row.flags << " limit "
                << row.limit;
        }
    }
}

TEST(FoldedLineTokenizer, RandomTextsInRandomPieces) {
    auto random = support::seededRandom("FoldedLineTokenizer.RandomTextsInRandomPieces");
    const int words[] = {1686, 0x296, 0x96, 0x16, 0x616, 0x694, 0x68A, 0x686, 0x69C};
    const std::string alphabet("\r\n\r\n \t\0abcd", 11);
    for (int round = 0; round < 6000; ++round) {
        const std::string text = support::randomText(random, alphabet, 50);
        const int flags = words[below(random, std::size(words))];
        const int limit = 1 + static_cast<int>(below(random, 30));
        const bool terminated = below(random, 2) == 0;
        Source source(text, [&] { return 1 + static_cast<int>(below(random, 12)); });
        FoldedLineTokenizer tokenizer(&source, flags, terminated);
        ASSERT_EQ(drain(tokenizer, source, limit, terminated),
                  plainFolded(text, flags, static_cast<std::size_t>(limit)))
            << testing::PrintToString(text) << " flags " << flags << " limit " << limit;
    }
}

TEST(FoldedLineTokenizer, RealSizeCountsFoldsAndCutPieces) {
    Source source("a\r\n b\r\n12345678901\r\nx\r\n");
    FoldedLineTokenizer tokenizer(&source, 1686, false);
    const int expected[] = {7, 10, 13, 3, 0};
    for (const int real : expected) {
        int size = 10;
        tokenizer.readToken(size);
        EXPECT_EQ(tokenizer.getRealTokenSize(), real);
    }
}

TEST(FoldedLineTokenizer, ManyFoldsInOneLine) {
    std::string text = "a:";
    std::string joined = text;
    for (int i = 0; i < 60000; ++i) {
        text += "\n x";
        joined += "x";
    }
    Source source(text + "\n\nbody");
    FoldedLineTokenizer tokenizer(&source, 1686, true);
    tokenizer.setBufferSize(262144);
    int size = 262144;
    const char* token = static_cast<const char*>(tokenizer.readToken(size));
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(std::string_view(token, static_cast<std::size_t>(size)), joined);
    size = 0;
    tokenizer.readToken(size);
    EXPECT_EQ(size, 0);
    EXPECT_TRUE(tokenizer.lastTokenCompleted());
    EXPECT_EQ(tokenizer.getInputState(), Stream::StateGood);
}

TEST(FoldedLineTokenizer, ATimeoutConsumesNothing) {
    int step = 0;
    Source source("a:\r\n b\r\nc\r\n", [&] {
        const int steps[] = {4, 0, 2, 0, 100};
        return steps[std::min(step++, 4)];
    });
    FoldedLineTokenizer tokenizer(&source, 1686, false);
    for (const int atHand : {4, 6}) {
        int size = 0;
        EXPECT_NE(tokenizer.readToken(size), nullptr);
        EXPECT_EQ(size, atHand);
        EXPECT_FALSE(tokenizer.lastTokenCompleted());
        EXPECT_EQ(tokenizer.getInputState(), Stream::StateTimedOut);
    }
    EXPECT_EQ(drain(tokenizer, source, 0, false),
              (Tokens{{"a:b", true}, {"c", true}, {"", false}}));
}

TEST(FoldedLineTokenizer, ASmallerLimitAfterATimeoutStartsOver) {
    int step = 0;
    Source source("abcdefgh\n ij\n kl\nmn\n", [&] { return step++ == 1 ? 0 : 14; });
    FoldedLineTokenizer tokenizer(&source, 1686, true);
    int size = 0;
    tokenizer.readToken(size);
    EXPECT_EQ(size, 14);
    EXPECT_EQ(
        drain(tokenizer, source, 6, true),
        (Tokens{{"abcdef", false}, {"ghij", false}, {"kl", true}, {"mn", true}, {"", false}}));
}

TEST(FoldedLineTokenizer, WithoutAStreamAndWithOneLater) {
    FoldedLineTokenizer tokenizer(nullptr, 1686, false);
    int size = 0;
    EXPECT_NE(tokenizer.readToken(size), nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(tokenizer.getInputState(), Stream::StateError);
    Source source("late\n");
    EXPECT_EQ(tokenizer.setBaseStream(&source), 0);
    tokenizer.setFoldingType(FoldedLineTokenizer::KeepFolds);
    EXPECT_EQ(drain(tokenizer, source, 0, false), (Tokens{{"late", true}, {"", false}}));
}
