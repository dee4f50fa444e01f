// The two tokenizers, row by row.

#include "common/stream/memory_stream.h"
#include "message/folded_line_tokenizer.h"
#include "message/line_tokenizer.h"
#include "tests/stream/streams.h"
#include "tests/support/token_model.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

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

std::string nextToken(TokenizerStream& tokenizer, int size = 0, bool terminated = false) {
    const char* token = static_cast<const char*>(tokenizer.readToken(size));
    if (token == nullptr) {
        ADD_FAILURE() << "no token";
        return "none";
    }
    EXPECT_TRUE(!terminated || token[size] == '\0');
    return std::string(token, static_cast<std::size_t>(size));
}

// All tokens up to the first empty one at the end of data.
Tokens drain(TokenizerStream& tokenizer, const Source& source, int limit, bool terminated) {
    Tokens tokens;
    for (int guard = 0; guard < 1000; ++guard) {
        const std::string token = nextToken(tokenizer, limit, terminated);
        tokens.push_back({token, tokenizer.lastTokenCompleted()});
        if (token.empty() && !tokenizer.lastTokenCompleted() && tokenizer.canRead() <= 0 &&
            source.position == static_cast<long long>(source.text.size())) {
            break;
        }
    }
    return tokens;
}

struct Row {
    int flags;
    int limit;
    std::string text;
    Tokens tokens;
};

template <class T> void expectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        for (const bool terminated : {false, true}) {
            Source source(row.text);
            T tokenizer(&source, row.flags, terminated);
            EXPECT_EQ(drain(tokenizer, source, row.limit, terminated), row.tokens)
                << testing::PrintToString(row.text) << " flags " << row.flags << " limit "
                << row.limit;
        }
    }
}

} // namespace

// Random texts in random pieces are the fuzz targets', by plain models; these rows say what the
// models must say.
TEST(LineTokenizer, LimitsAndEnds) {
    using std::string_literals::operator""s;
    expectRows<LineTokenizer>({
        {134, 0, "", {{"", false}}},
        {134,
         0,
         "a\r\nb\nc\0d"s,
         {{"a", true}, {"b", true}, {"c", true}, {"d", false}, {"", false}}},
        {15, 0, "a\r\nb\n\rc\r", {{"a\r\n", true}, {"b\n\r", true}, {"c\r", true}, {"", false}}},
        {134, 5, "abcd\nx\n", {{"abcd", true}, {"x", true}, {"", false}}},
        {134, 4, "abcd\nx\n", {{"abcd", false}, {"", true}, {"x", true}, {"", false}}},
        {134, 4, "abcd\r\nx", {{"abcd", false}, {"", true}, {"x", false}, {"", false}}},
        {134, 3, "abcd\r\n", {{"abc", false}, {"d", true}, {"", false}}},
        {134, 5, "abcd\rx", {{"abcd", false}, {"\rx", false}, {"", false}}},
        {134, 1, "a\r", {{"a", false}, {"\r", false}, {"", false}}},
        {132, 0, "a\nb\r\n", {{"a\nb", true}, {"", false}}},
    });
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
        EXPECT_EQ(nextToken(tokenizer, 3), "abc");
        EXPECT_EQ(block[3], '\0');
        EXPECT_EQ(nextToken(tokenizer), "def");
        EXPECT_EQ(tokenizer.lseek(0, Stream::SeekCurrent), 8);
        EXPECT_EQ(before, block);
        tokenizer.lseek(0, Stream::SeekStart);
        EXPECT_EQ(nextToken(tokenizer, 4), "abcd");
    }
    EXPECT_EQ(before, block);
}

TEST(LineTokenizer, ATimeoutConsumesNothing) {
    int step = 0;
    Source source("ab\r\ncd\r\n", [&] { return step++ == 0 ? 3 : step <= 3 ? 0 : 100; });
    LineTokenizer tokenizer(&source, 134, true);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(nextToken(tokenizer), "ab\r");
        EXPECT_FALSE(tokenizer.lastTokenCompleted());
        EXPECT_EQ(tokenizer.getInputState(), Stream::StateTimedOut);
    }
    EXPECT_EQ(drain(tokenizer, source, 0, true), (Tokens{{"ab", true}, {"cd", true}, {"", false}}));
}

TEST(LineTokenizer, ReadingGoesOnBehindTheToken) {
    Source source("first\nsecond\nthird");
    LineTokenizer tokenizer(&source, 134, true);
    EXPECT_EQ(nextToken(tokenizer), "first");
    char buffer[4];
    EXPECT_EQ(tokenizer.read(buffer, 3), 3);
    EXPECT_EQ(std::string(buffer, 3), "sec");
    EXPECT_EQ(nextToken(tokenizer), "ond");
    Sink sink;
    long long count = 0;
    EXPECT_EQ(tokenizer.copy(sink, count), 0);
    EXPECT_EQ(sink.text, "third");
    EXPECT_EQ(tokenizer.getInputState(), Stream::StateEnd);
}

TEST(LineTokenizer, GoesOverToAnotherStream) {
    Source first("a\nrest");
    Source second("b\n");
    LineTokenizer tokenizer(&first, 134, false);
    nextToken(tokenizer);
    EXPECT_EQ(tokenizer.setBaseStream(&second), 0);
    EXPECT_EQ(drain(tokenizer, second, 0, false), (Tokens{{"b", true}, {"", false}}));
}

TEST(FoldedLineTokenizer, FoldsLimitsAndEnds) {
    expectRows<FoldedLineTokenizer>({
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
        {1686, 10, "12345678\r\n", {{"12345678", false}, {"", true}, {"", false}}},
        {1686, 9, "12345678\r\n", {{"12345678", false}, {"", true}, {"", false}}},
        {1686, 11, "12345678\r\nx\n", {{"12345678", true}, {"x", true}, {"", false}}},
        {1686, 4, "abcdefgh\n", {{"abcd", false}, {"efgh", false}, {"", true}, {"", false}}},
        {0x69C, 4, "abc\n\rx", {{"abc", false}, {"", true}, {"x", false}, {"", false}}},
        {1686, 6, "ab\n cdef\n", {{"abcd", false}, {"ef", true}, {"", false}}},
    });
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
    EXPECT_EQ(nextToken(tokenizer, 262144), joined);
    EXPECT_EQ(nextToken(tokenizer), "");
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
    for (const std::size_t atHand : {4U, 6U}) {
        EXPECT_EQ(nextToken(tokenizer).size(), atHand);
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
    EXPECT_EQ(nextToken(tokenizer).size(), 14U);
    EXPECT_EQ(
        drain(tokenizer, source, 6, true),
        (Tokens{{"abcdef", false}, {"ghij", false}, {"kl", true}, {"mn", true}, {"", false}}));
}

TEST(FoldedLineTokenizer, WithoutAStreamAndWithOneLater) {
    FoldedLineTokenizer tokenizer(nullptr, 1686, false);
    EXPECT_EQ(nextToken(tokenizer), "");
    EXPECT_EQ(tokenizer.getInputState(), Stream::StateError);
    Source source("late\n");
    EXPECT_EQ(tokenizer.setBaseStream(&source), 0);
    tokenizer.setFoldingType(FoldedLineTokenizer::KeepFolds);
    EXPECT_EQ(drain(tokenizer, source, 0, false), (Tokens{{"late", true}, {"", false}}));
}
