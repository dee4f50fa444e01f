#include "message/base64.h"
#include "message/qp.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace std::string_view_literals;

const unsigned char* bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// A copy of exactly the text's size, so that a read past the end is seen by the address sanitizer.
struct Exact {
    explicit Exact(std::string_view text)
        : size(text.size()), data(new unsigned char[size > 0 ? size : 1]) {
        std::memcpy(data.get(), text.data(), size);
    }
    std::size_t size;
    std::unique_ptr<unsigned char[]> data;
};

struct Mode {
    int hexSpecials = 0;
    int binary = 0;
    bool header = false;
};

constexpr Mode HEADER{0, 0, true};

std::string qpEncode(std::string_view text, Mode mode = {}, QP* object = nullptr) {
    QP qp;
    Exact in(text);
    unsigned char* out = nullptr;
    unsigned int length = 0;
    if ((object != nullptr ? *object : qp)
            .encode(in.data.get(), static_cast<unsigned int>(in.size), &out, &length,
                    mode.hexSpecials, mode.binary, mode.header) != 0) {
        return "failed";
    }
    const std::unique_ptr<unsigned char[]> guard(out);
    return std::string(reinterpret_cast<char*>(out), length);
}

std::optional<std::string> qpDecode(std::string_view text, int strict = 0, bool header = false) {
    QP qp;
    Exact in(text);
    unsigned char* out = nullptr;
    unsigned int length = 0;
    if (qp.decode(in.data.get(), static_cast<unsigned int>(in.size), &out, &length, strict,
                  header) != 0) {
        EXPECT_EQ(out, nullptr);
        return std::nullopt;
    }
    const std::unique_ptr<unsigned char[]> guard(out);
    EXPECT_EQ(out[length], 0);
    return std::string(reinterpret_cast<char*>(out), length);
}

TEST(QuotedPrintable, EncodesByTheClassOfEachByte) {
    const struct {
        std::string_view text;
        Mode mode;
        std::string_view encoded;
    } rows[] = {
        {"a b", HEADER, "a_b"},
        {"a\tb", HEADER, "a=09b"},
        {"a?b_c=", HEADER, "a=3Fb=5Fc=3D"},
        {"a?b_c=", {}, "a?b_c=3D"},
        {"!$@[~", {}, "!$@[~"},
        {"!$@[~%", {1, 0, false}, "=21=24=40=5B=7E%"},
        {"a \r\nb\t\nc ", {}, "a=20\r\nb=09\r\nc "},
        {"a\rb\n\rc\r\nd", {}, "a\r\nb\r\n\r\nc\r\nd"},
        {"a\r\nb\n", {0, 1, false}, "a=0D=0Ab=0A"},
        {"\0\x7F\x80\xFF"sv, {}, "=00=7F=80=FF"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(qpEncode(row.text, row.mode), row.encoded) << row.text;
    }
    QP qp;
    unsigned char* out = nullptr;
    unsigned int length = 0;
    EXPECT_EQ(qp.encode(nullptr, 1, &out, &length, 0, 0, false), -1);
    EXPECT_EQ(qp.encode(bytes(""), 0, &out, &length, 0, 0, false), -1);
    EXPECT_EQ(qp.encode(bytes("a"), INT_MAX + 1U, &out, &length, 0, 0, false), -1);
}

TEST(QuotedPrintable, ForcesBytesToTheirHexadecimalForm) {
    QP qp;
    qp.forceHexaEncoding("ab");
    qp.forceHexaEncoding(nullptr);
    EXPECT_EQ(qpEncode("abc", {}, &qp), "=61=62c");
    qp.forceHexaEncoding("c");
    EXPECT_EQ(qpEncode("abc", {}, &qp), "ab=63");
}

// The lines of encoded text, cut at its soft breaks.
std::vector<std::string> softLines(std::string_view encoded) {
    std::vector<std::string> lines;
    for (std::size_t start = 0;;) {
        const std::size_t end = encoded.find("=\r\n", start);
        lines.emplace_back(encoded.substr(start, end - start));
        if (end == std::string_view::npos) {
            return lines;
        }
        start = end + 3;
    }
}

TEST(QuotedPrintable, BreaksLinesBetweenCharactersOnly) {
    // With its closing "=" a line has at most 76 characters.
    EXPECT_EQ(softLines(qpEncode(std::string(76, 'a'))),
              (std::vector<std::string>{std::string(75, 'a'), "a"}));
    EXPECT_EQ(softLines(qpEncode(std::string(75, 'a'))).size(), 1U);
    std::string accents;
    for (int i = 0; i < 100; ++i) {
        accents += "\xC3\xA9";
    }
    for (const std::string& line : softLines(qpEncode("x" + accents, HEADER))) {
        EXPECT_LE(line.size(), 66U);
        EXPECT_TRUE(line.empty() || line.find("=A9") != 0) << line;
        EXPECT_EQ(line.substr(line.size() - 3), "=A9");
    }
    QP qp;
    qp.setFixedLineLength(10);
    EXPECT_EQ(qpEncode("abcdefghijklm", {}, &qp), "abcdefghi=\r\njklm");
}

TEST(QuotedPrintable, DecodesAndTellsStrictFromLoose) {
    const std::optional<std::string> fails;
    const struct {
        std::string_view text;
        std::optional<std::string> loose;
        std::optional<std::string> strict;
    } rows[] = {{"", "", ""},
                {"=41", "A", "A"},
                {"=4a=4A", "JJ", fails},
                {"a=\r\nb", "ab", "ab"},
                {"a=\nb", "ab", fails},
                {"a=\rb", "ab", fails},
                {"=G1", "=G1", fails},
                {"=4", "=4", fails},
                {"=", "=", fails},
                {"a=\r", "a", fails},
                {"==41", "==41", fails},
                {"=\x80z", "z", fails},
                {"a\r\nb\nc", "a\r\nb\nc", "a\r\nb\nc"},
                {"a\rb", "ab", fails},
                {"a\tb_c", "a\tb_c", "a\tb_c"},
                {"a\x01\x80z", "az", fails}};
    for (const auto& row : rows) {
        EXPECT_EQ(qpDecode(row.text, 0), row.loose) << row.text;
        EXPECT_EQ(qpDecode(row.text, 1), row.strict) << row.text;
    }
    EXPECT_EQ(qpDecode("a_b=5F", 0, true), "a b_");
}

TEST(QuotedPrintable, DecodesIntoTheCallersBuffer) {
    QP qp;
    unsigned char buffer[4] = {9, 9, 9, 9};
    unsigned char* out = buffer;
    unsigned int length = 2;
    EXPECT_EQ(qp.decode(bytes("abc"), 3, &out, &length, 0, false), -1);
    length = 3; // just room for the text, none for a zero byte
    ASSERT_EQ(qp.decode(bytes("abc"), 3, &out, &length, 0, false), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(buffer), 4), "abc\x09");
    EXPECT_EQ(qp.decode(nullptr, 1, &out, &length, 0, false), -1);
    EXPECT_EQ(qp.decode(nullptr, 0, &out, &length, 0, false), 0);
}

// Any text in any pieces, and round trips, are the fuzz target's.
TEST(QuotedPrintable, DecodesAPieceUpToAnUnfinishedEscape) {
    QP qp;
    unsigned char room[8];
    unsigned char* out = room;
    const std::string_view data = "=41=ZZ=\r\nb\x80_=4";
    const char* in = data.data();
    EXPECT_EQ(qp.decodeEx(out, room + 8, in, data.data() + data.size()), 3);
    EXPECT_EQ(std::string_view(reinterpret_cast<char*>(room), 3), "Ab ");
    EXPECT_EQ(std::string_view(in), "=4");
}

std::string b64Encode(std::string_view text, unsigned char pad = '=', int lineBreaks = 0) {
    std::vector<unsigned char> out(text.size() * 2 + 8);
    int length = static_cast<int>(out.size());
    if (base64encodeBase(bytes(text), static_cast<int>(text.size()), out.data(), &length, pad,
                         lineBreaks) != 0) {
        return "failed";
    }
    EXPECT_EQ(out[static_cast<std::size_t>(length)], 0);
    return std::string(reinterpret_cast<char*>(out.data()), static_cast<std::size_t>(length));
}

std::optional<std::string> b64Decode(std::string_view text, int strict = 0,
                                     unsigned char pad = '=') {
    const Exact in(text);
    // Exactly the room that the call asks for.
    int length = static_cast<int>(text.size() * 3 / 4 + 1);
    const std::unique_ptr<unsigned char[]> out(new unsigned char[static_cast<std::size_t>(length)]);
    if (base64decodeBase(in.data.get(), static_cast<int>(text.size()), out.get(), &length, strict,
                         pad) != 0) {
        EXPECT_TRUE(text.empty() || (length == 0 && out[0] == 0)) << text;
        return std::nullopt;
    }
    EXPECT_EQ(out[static_cast<std::size_t>(length)], 0);
    return std::string(reinterpret_cast<char*>(out.get()), static_cast<std::size_t>(length));
}

TEST(Base64, Encodes) {
    EXPECT_EQ(b64Encode("abc"), "YWJj");
    EXPECT_EQ(b64Encode("ab"), "YWI=");
    EXPECT_EQ(b64Encode("a"), "YQ==");
    EXPECT_EQ(b64Encode("\xFF\xEF\xBE"), "/+++");
    EXPECT_EQ(b64Encode("a", 0), "YQ\0\0"sv);
    const std::string line(57, 'a');
    EXPECT_EQ(b64Encode(line, '=', 1).find('\r'), std::string::npos);
    EXPECT_EQ(b64Encode(line + "a", '=', 1), b64Encode(line) + "\r\nYQ==");
    EXPECT_EQ(b64Encode(line + line, '=', 1), b64Encode(line) + "\r\n" + b64Encode(line));
}

// That the room told is enough and one byte less is not, is the fuzz target's.
TEST(Base64, WritesNothingWithoutRoom) {
    const auto call = [](auto* function, const char* text, int size, int room, int told, int last) {
        unsigned char out[1] = {9};
        EXPECT_EQ(function(bytes(text), size, out, &room, 0), -1);
        EXPECT_EQ(room, told);
        EXPECT_EQ(out[0], last);
    };
    call(base64encode, "a", 1, 0, 5, 9);
    call(base64encode, "a", 1, 1, 5, 0);
    call(base64encode, "a", 0, 7, 0, 9);
    call(base64encode, "a", INT_MAX, 0, 0, 9);
    call(base64decode, "a", 0, 7, 7, 9);
    call(base64decode, "YWJj", 4, 1, 4, 0);
}

TEST(Base64, Decodes) {
    const std::optional<std::string> fails;
    const struct {
        std::string_view text;
        std::optional<std::string> loose;
        std::optional<std::string> strict;
        std::optional<std::string> modified; // loose; not for texts with a pad
    } rows[] = {{"YWJj", "abc", "abc", "abc"},
                {"YQ==", "a", "a", std::nullopt},
                {"YWI=YWJj", "ab", "ab", std::nullopt},
                {"YQ", fails, fails, "a"},
                {"YWI", fails, fails, "ab"},
                {"YWJjYQ", "abc", fails, "abca"},
                {"YW\r\nJ\nj", "abc", "abc", "abc"},
                {"Y*W-Jj", "abc", fails, "abc"},
                {"\r\n", fails, fails, fails},
                {"A===", "", fails, std::nullopt},
                {"YWJj=A==", "abc", fails, std::nullopt},
                {"Y", fails, fails, ""},
                {"", fails, fails, fails}};
    for (const auto& row : rows) {
        EXPECT_EQ(b64Decode(row.text, 0), row.loose) << row.text;
        EXPECT_EQ(b64Decode(row.text, 1), row.strict) << row.text;
        if (row.text.find('=') == std::string_view::npos) {
            EXPECT_EQ(b64Decode(row.text, 0, 0), row.modified) << row.text;
        }
    }
    EXPECT_EQ(b64Decode("YWJj\0\0"sv, 1, 0), fails) << "a NUL byte is not of the alphabet";
    for (int c = 0; c < 256; ++c) {
        const bool inside = std::isalnum(c) != 0 || c == '+' || c == '/' || c == '=';
        EXPECT_EQ(isbase64(static_cast<unsigned char>(c)), inside) << c;
    }
}

TEST(Base64, DecodesRandomTextAsAPlainReferenceDoes) {
    std::mt19937_64 random = support::seededRandom("Base64.DecodesRandomTextAsAPlainReferenceDoes");
    for (int i = 0; i < 5000; ++i) {
        const std::string text = support::randomText(random, "ABYWJjz019+/\r\n*", 60);
        std::string plain;
        unsigned int bits = 0;
        int held = 0;
        for (char c : text) {
            const unsigned char value = base64table[static_cast<unsigned char>(c)];
            if (value == 128) {
                continue;
            }
            bits = bits << 6 | value;
            if (++held == 4) {
                plain += {static_cast<char>(bits >> 16), static_cast<char>(bits >> 8),
                          static_cast<char>(bits)};
                held = 0;
            }
        }
        ASSERT_EQ(b64Decode(text), plain.empty() ? std::nullopt : std::optional(plain)) << text;
    }
}

TEST(Base64, DecodesWholeGroupsOfAPiece) {

    const struct {
        std::string_view text;
        int count;
        std::ptrdiff_t taken;
    } rows[] = {{"YWJjYW", 3, 4}, {"YW*J", 0, 0},     {"=AAA", 0, 0}, {"YWI=x", 2, 4},
                {"YQ==", 1, 3},   {"YWJj\r\n", 3, 6}, {"\nYW", 0, 1}};
    for (const auto& row : rows) {
        unsigned char room[8];
        unsigned char* out = room;
        const char* in = row.text.data();
        EXPECT_EQ(decodeBase64Ex(out, room + 8, in, row.text.data() + row.text.size()), row.count)
            << row.text;
        EXPECT_EQ(in - row.text.data(), row.taken) << row.text;
    }
    unsigned char room[3];
    unsigned char* out = room;
    const char* in = "YWJj";
    EXPECT_EQ(decodeBase64Ex(out, room + 3, in, in + 4), 0) << "less than four bytes of room";
}

} // namespace
