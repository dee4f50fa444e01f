#include "common/stream/memory_stream.h"
#include "message/base64.h"
#include "message/charset.h"
#include "message/encoded_word.h"
#include "message/icu.h"
#include "message/text_checks.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

std::string encode(const std::string& text) {
    const std::unique_ptr<char[]> encoded(encodeHeader(text.c_str()));
    return encoded.get();
}

// The bytes form; the length told must be that of the text.
std::string decodeBytes(const std::string& text) {
    int length = -1;
    const std::unique_ptr<char[]> decoded(decodeHeader(text.c_str(), length, false));
    EXPECT_EQ(decoded[static_cast<std::size_t>(length)], 0);
    return std::string(decoded.get(), static_cast<std::size_t>(length));
}

std::u16string decodeWide(const std::string& text) {
    int length = -1;
    const std::unique_ptr<char[]> decoded(decodeHeader(text.c_str(), length, true));
    std::u16string units(static_cast<std::size_t>(length) + 1, u'x');
    std::memcpy(units.data(), decoded.get(), units.size() * sizeof(char16_t));
    EXPECT_EQ(units.back(), 0);
    units.pop_back();
    return units;
}

std::string word(const std::string& charset, const std::string& data) {
    std::vector<unsigned char> out(data.size() * 2 + 8);
    int length = static_cast<int>(out.size());
    base64encode(reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size()),
                 out.data(), &length, 0);
    return "=?" + charset + "?B?" + reinterpret_cast<char*>(out.data()) + "?=";
}

TEST(TextChecks, TellUtf8AndAscii) {
    const auto isValid = [](std::string text) {
        return Utils::isValidUTF8(reinterpret_cast<unsigned char*>(text.data()));
    };
    // Overlong forms and surrogates pass, and so do sequences of five and six bytes, but no more.
    for (const char* valid : {"", "plain", "caf\xC3\xA9", "\xE2\x82\xAC", "\xC0\x80\xED\xA0\x80",
                              "\xF8\x80\x80\x80\x80", "\xFD\x80\x80\x80\x80\x80"}) {
        EXPECT_TRUE(isValid(valid)) << valid;
    }
    for (const char* bad : {"\x80", "\xC3", "\xC3x", "\xE2\x82", "\xFE\x80\x80\x80\x80\x80\x80"}) {
        EXPECT_FALSE(isValid(bad)) << bad;
    }
    for (unsigned int size = 0; size < 300; ++size) {
        std::string text(size, 'a');
        EXPECT_TRUE(Utils::isASCII(text.data(), size));
        for (unsigned int at = 0; at < size; ++at) {
            text[at] = '\x80';
            EXPECT_FALSE(Utils::isASCII(text.data(), size));
            EXPECT_TRUE(Utils::isASCII(text.data(), at));
            text[at] = 'a';
        }
    }
}

TEST(EncodedWord, Encodes) {
    EXPECT_EQ(encode(""), "");
    EXPECT_EQ(encode("plain =?text?="), "plain =?text?=");
    EXPECT_EQ(encode("caf\xC3\xA9 a_b"), "=?utf-8?Q?caf=C3=A9_a=5Fb?=");
    EXPECT_EQ(encodeHeader(nullptr), nullptr);
    std::string accents = "x";
    for (int i = 0; i < 200; ++i) {
        accents += "\xC3\xA9";
    }
    std::istringstream words(encode(accents));
    int count = 0;
    for (std::string one; words >> one; ++count) {
        EXPECT_LE(one.size(), 78U);
        EXPECT_TRUE(one.starts_with("=?utf-8?Q?") && one.ends_with("?=")) << one;
        EXPECT_FALSE(one.starts_with("=?utf-8?Q?=A9")) << "a character is split";
    }
    EXPECT_GT(count, 10);
    EXPECT_EQ(decodeBytes(encode(accents)), accents);
}

TEST(EncodedWord, Decodes) {
    const std::string long500(500, 'a');
    const struct {
        std::string text;
        std::string decoded;
    } rows[] = {
        {"", ""},
        {"plain", "plain"},
        {"=?iso-8859-1?Q?caf=E9?=", "caf\xC3\xA9"},
        {"=?ISO-8859-1?q?caf=E9?= x", "caf\xC3\xA9 x"},
        {"=?utf-8?B?w6k=?=", "\xC3\xA9"},
        {"=?x?Q?a?=", "=?x?Q?a?="},
        {"=?utf-8?Q?a?= tail", "a tail"},
        {"head =?utf-8?Q?a?=", "head a"},
        {"=?utf-8?Q?a_b?=", "a b"},
        {"=?utf-8?Q?a?= \t =?utf-8?Q?b?=", "ab"},
        {"=?utf-8?Q?a?=\r\n =?utf-8?Q?b?=", "ab"},
        {"=?utf-8?Q?a?==?utf-8?Q?b?=", "ab"},
        {"=?utf-8?Q?a?= x =?utf-8?Q?b?=", "a x b"},
        {"=?utf-8?Q?a?= = =?utf-8?Q?b?=", "a = b"},
        {"=?utf-8?Q?a?= =?bogus?Q?b?= =?utf-8?Q?c?=", "a =?bogus?Q?b?= c"},
        {"=?utf-8?Q?\?= =?utf-8?Q?b?=", "b"},
        {"=?utf-8?B?\?= =?utf-8?Q?b?=", "=?utf-8?B?\?= b"}, // no data at all is no base64
        {"=?utf-8?Q?a", "=?utf-8?Q?a"},
        {"=?utf-8?Q?a?", "=?utf-8?Q?a?"},
        {"=?utf-8?X?abc?= tail", "=?utf-8?X?abc?= tail"},
        {"=?utf-8?=?utf-8?Q?abc?=", "=?utf-8?abc"},
        {"=?utf-8?Q?ab=?utf-8?Q?abc?=", "=?utf-8?Q?ababc"},
        {"=?utf-8?Q?ab=?= x", "ab= x"},
        {"=?=?=?=?=?=?=?=?=?", "=?=?=?=?=?=?=?=?=?"},
        {"=?utf-8?Q?" + long500 + "?=", long500},
        {"=?utf-8?Q?" + long500 + "a?=", "=?utf-8?Q?" + long500 + "a?="},
        {"=?latin2?Q?" + long500 + "?=", long500},
        {"=?latin2?Q?" + long500 + "a?=", "=?latin2?Q?" + long500 + "a?="},
        {"=?" + std::string(112, 'u') + "?Q?a?= x", "=?" + std::string(112, 'u') + "?Q?a?= x"},
        {"=?" + std::string(5000, 'u') + "?Q?a?= x", "=?" + std::string(5000, 'u') + "?Q?a?= x"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(decodeBytes(row.text), row.decoded) << row.text;
        const std::u16string units = decodeWide(row.text);
        if (Utils::isASCII(row.decoded.data(), static_cast<unsigned>(row.decoded.size()))) {
            EXPECT_EQ(std::string(units.begin(), units.end()), row.decoded) << row.text;
        }
    }
    int length = 0;
    EXPECT_EQ(decodeHeader(nullptr, length, false), nullptr);
    EXPECT_EQ(decodeHeader(nullptr, true), nullptr);
}

TEST(EncodedWord, DecodesToUtf16) {
    EXPECT_EQ(decodeWide("a\xE9 =?utf-8?Q?=F0=9F=98=80=C3=A9?="), u"a\uFFFD \U0001F600\u00E9");
    EXPECT_EQ(decodeWide("=?koi8-r?Q?=D0?="), u"\u043F");
    // 500 units fit, and a pair may not be cut.
    std::string text(499, 'a');
    EXPECT_EQ(decodeWide("=?utf-8?Q?" + text + "=C3=A9?=").size(), 500U);
    EXPECT_EQ(decodeWide("=?utf-8?Q?" + text + "=F0=9F=98=80?=").substr(0, 2), u"=?");
}

TEST(EncodedWord, ReadsCharsetsByTheAliasTable) {
    // The superset reads what GB2312 cannot say.
    EXPECT_EQ(decodeBytes(word("gb2312", "\x81\x30\x81\x30")), "\xC2\x80");
    EXPECT_EQ(decodeBytes(word("x-x-big5", "\xA4\x40")), "\xE4\xB8\x80");
    EXPECT_EQ(decodeBytes(word("Shift_JIS", "\x82\xA0")), "\xE3\x81\x82");
    EXPECT_STREQ(getCharsetAlias("X-X-BIG5"), "Big5");
    EXPECT_STREQ(getCharsetAlias("big5"), "csbig5") << "the first alias of the table";
    EXPECT_STREQ(getCharsetAlias("iso-8859-9"), "csisolatin5");
    EXPECT_STREQ(getCharsetAlias("x-cp1255"), "windows-1255");
    EXPECT_EQ(getCharsetAlias("nonsense"), nullptr);
    UErrorCode err = U_ZERO_ERROR;
    EXPECT_EQ(mvx_ucnv_open("nonsense", &err), nullptr);
    EXPECT_EQ(err, U_FILE_ACCESS_ERROR);
}

// The charsets that need no converter give what ICU gives under another name of theirs.
TEST(EncodedWord, ConvertsPlainCharsetsAsIcuDoes) {
    std::mt19937_64 random = support::seededRandom("EncodedWord.ConvertsPlainCharsetsAsIcuDoes");
    const char* const pairs[][2] = {
        {"utf-8", "utf8"}, {"iso-8859-1", "latin1"}, {"us-ascii", "ascii"}};
    const std::string_view pieces[] = {"a",
                                       "\xC3\xA9",
                                       "\xE2\x82\xAC",
                                       "\xEF\xBB\xBF",
                                       "\xF0\x9F\x98\x80",
                                       "\xED\xA0\x80",
                                       "\xC0\x80",
                                       "\xF4\x90\x80\x80",
                                       "\x80",
                                       "\xE2\x82",
                                       std::string_view("\0", 1),
                                       "\x7F"};
    for (int i = 0; i < 4000; ++i) {
        std::string data;
        const std::size_t count = 1 + support::below(random, 6);
        for (std::size_t j = 0; j < count; ++j) {
            // Mostly well-formed characters.
            data += pieces[support::below(random, support::below(random, 4) == 0 ? 12 : 5)];
        }
        for (const auto& pair : pairs) {
            ASSERT_EQ(decodeBytes(word(pair[0], data)), decodeBytes(word(pair[1], data)));
            ASSERT_EQ(decodeWide(word(pair[0], data)), decodeWide(word(pair[1], data)));
        }
    }
}

TEST(EncodedWord, TakesOtherTextForLatin1) {
    const auto decode = [](const std::string& text, bool strict) {
        const std::unique_ptr<char[]> decoded(decodeHeader(text.c_str(), strict));
        return decoded != nullptr ? std::string(decoded.get()) : "null";
    };
    EXPECT_EQ(decode("=?utf-8?Q?=C3=A9?=", true), "\xC3\xA9");
    EXPECT_EQ(decode("caf\xE9", true), "caf\xC3\xA9");
    const std::string fits = std::string(4094, 'a') + "\xE9";
    EXPECT_EQ(decode(fits, true), std::string(4094, 'a') + "\xC3\xA9");
    EXPECT_EQ(decode("a" + fits, false), "a" + fits);
    EXPECT_EQ(decode("a" + fits, true), "null");
}

TEST(EncodedWord, LoadsIcuForOtherCharsetsOnly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        for (const char* text : {"plain", "caf\xE9 =? raw", "=?utf-8?Q?=C3=A9?= =?us-ascii?Q?a?=",
                                 "=?iso-8859-1?B?6Q==?=", "=?utf-8?Q?unfinished"}) {
            decodeBytes(text);
            decodeWide(text);
            encode(text);
        }
        if (isIcuLoaded()) {
            ::_exit(1);
        }
        decodeBytes("=?koi8-r?Q?=D0?=");
        ::_exit(isIcuLoaded() ? 0 : 2);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

TEST(EncodedWord, TakesEveryCharsetForUnknownWithoutIcu) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        const rlimit none{0, 0};
        ::setrlimit(RLIMIT_NOFILE, &none); // nothing can be loaded any more
        const std::string text = "=?koi8-r?Q?=D0?= =?utf-8?Q?a?=";
        UErrorCode err = U_ZERO_ERROR;
        const bool right = decodeBytes(text) == "=?koi8-r?Q?=D0?= a" && !isIcuLoaded() &&
                           mvx_ucnv_open("koi8-r", &err) == nullptr && err == U_FILE_ACCESS_ERROR;
        ::_exit(right ? 0 : 1);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

TEST(EncodedWord, DecodesInManyThreadsFromTheFirstWordOn) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto run = [] {
        bool right[4] = {};
        std::vector<std::thread> threads;
        for (bool& result : right) {
            threads.emplace_back([&result] {
                result = decodeBytes(word("x-x-big5", "\xA4\x40")) == "\xE4\xB8\x80" &&
                         decodeBytes("=?koi8-r?Q?=D0?=") == "\xD0\xBF";
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ::_exit(right[0] && right[1] && right[2] && right[3] ? 0 : 1);
    };
    EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

TEST(EncodedWord, ListsTheCharsets) {
    std::vector<char> memory(1 << 20);
    MemoryStream stream(memory.data(), static_cast<long long>(memory.size()));
    printSupportedCharsetsToStream(&stream);
    const std::string list(memory.data());
    const std::string rule(71, '=');
    EXPECT_TRUE(list.starts_with("\nConverter name:                     | Aliases:            \n" +
                                 rule + "\n   1."));
    int charsets = 0;
    int aliases = -1; // but for the heading
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
        charsets += line == std::string(71, '-') ? 1 : 0;
        aliases += line.find(" | ") != std::string::npos ? 1 : 0;
    }
    EXPECT_GT(charsets, 100);
    EXPECT_TRUE(list.ends_with("Number of supported charsets: " + std::to_string(charsets) +
                               "\nTotal number of charset aliases: " + std::to_string(aliases) +
                               "\n"));
}

TEST(EncodedWord, TakesLinearTime) {
    std::string text;
    while (text.size() < 4000000) {
        text += "=?=?utf-8?Q?=?utf-8?B?6?==?x?Q?=?";
    }
    const std::string decoded = decodeBytes(text);
    EXPECT_FALSE(decoded.empty());
    std::string words;
    while (words.size() < 1000000) {
        words += "=?iso-8859-1?B?6enp6enp6enp6enp?= ";
    }
    EXPECT_GT(decodeBytes(words).size(), words.size() / 2);
}

} // namespace
