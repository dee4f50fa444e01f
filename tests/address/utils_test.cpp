// The text, address and file utilities.

#include "address/utils.h"
#include "common/error.h"
#include "common/stream/stream.h"
#include "common/thread/thread.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace {

using Texts = std::pair<const char*, const char*>;

// Runs an in-place operation on a copy and gives the text that is left.
std::string inPlace(const std::string& text, const std::function<void(char*)>& operation) {
    std::string copy = text;
    operation(copy.data());
    return copy.c_str();
}

TEST(Utils, isValidMailAddress) {
    const auto check = [](const char* address, bool isValid) {
        const auto test = [&](char* text) { EXPECT_EQ(Utils::isValidMailAddress(text), isValid); };
        EXPECT_EQ(inPlace(address, test), address);
    };
    for (const char* good : {"a@b", "a.b@c.d", "a\\@b@c", "a@b\nrest"}) {
        check(good, true);
    }
    for (const char* bad : {"", "@b", "ab", "abc", "a@", "@@b", "a\\@b", "a@b@c.d", "a@b_c",
                            "a b@c", "\"a\"@b", "+a@b"}) {
        check(bad, false);
    }
    EXPECT_FALSE(Utils::isValidMailAddress(nullptr));
}

TEST(Utils, splitMailAddress) {
    const struct {
        const char* address;
        bool result;
        const char* user;
        const char* domain;
    } rows[] = {{"a@b", true, "a", "b"},
                {"a@b@c", true, "a@b", "c"},
                {"ab", true, "ab", nullptr},
                {"a\\@b", true, "a\\@b", nullptr},
                {"@b", false, nullptr, nullptr},
                {"", true, "", nullptr},
                {"a@", true, "a", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.address);
        std::string copy = row.address;
        char* user = copy.data();
        char* domain = copy.data();
        EXPECT_EQ(Utils::splitMailAddress(copy.data(), user, domain), row.result);
        EXPECT_STREQ(user, row.user);
        EXPECT_STREQ(domain, row.domain);
    }
    char* user = nullptr;
    char* domain = nullptr;
    EXPECT_FALSE(Utils::splitMailAddress(nullptr, user, domain));
}

TEST(Utils, hosts) {
    const Texts canonized[] = {{"1.2.3.4:25", "[1.2.3.4]:25"},
                               {"1.2.3.4", "[1.2.3.4]"},
                               {"mail.x:25", "mail.x:25"},
                               {"1abc.x", "1abc.x"},
                               {"", ""},
                               {"1.2.3:4", "1.2.3:4"},
                               {"1.2.3.4:x:y", "1.2.3.4:x:y"}};
    for (const auto& [host, result] : canonized) {
        std::string text = host;
        Utils::canonizeMailHost(text);
        EXPECT_EQ(text, result);
    }
    const Texts buckets[] = {{"b.x.y", "b"},      {"B.X.Y", "B"},   {"bx.y", "bx.y"},
                             {"a.b.x.y", "a.b"},  {"y", "y"},       {"other", "other"},
                             {"x.y", "unset"},    {"X.y", "unset"}, {"", "unset"},
                             {"1.2.3.4", "unset"}};
    for (const auto& [host, bucket] : buckets) {
        std::string out = "unset";
        EXPECT_EQ(Utils::getBucketNameFromHostName(host, "x.y", out),
                  std::strcmp(bucket, "unset") != 0);
        EXPECT_EQ(out, bucket);
    }
    std::string out;
    EXPECT_FALSE(Utils::getBucketNameFromHostName(nullptr, "x", out));
}

TEST(Utils, escapeStringStopsBeforeTheRoomEnds) {
    const std::tuple<const char*, int, const char*> rows[] = {
        {"", 4, ""},        {"a", 4, "a"},     {"ab", 4, "(none)"},
        {"ab", 5, "ab"},    {"\"", 4, "\\\""}, {"a\\b\"", 9, "a\\\\b\\\""},
        {"a", 3, "(none)"}, {"a", 0, "(none)"}};
    for (const auto& [text, size, result] : rows) {
        SCOPED_TRACE(text);
        const std::unique_ptr<char[]> out(new char[static_cast<std::size_t>(size) + 1]);
        int room = size;
        const int code = Utils::escapeString(text, out.get(), room);
        EXPECT_EQ(code == 0 ? out.get() : "(none)", std::string(result));
        EXPECT_EQ(room, code == 0 ? static_cast<int>(std::strlen(result)) : size);
    }
}

TEST(Utils, textsInPlace) {
    const auto strip = [](char* text) { EXPECT_EQ(Utils::strStrip(text), 0); };
    EXPECT_EQ(inPlace("\"ab\"", strip), "ab");
    EXPECT_EQ(inPlace("\"abc", strip), "ab");
    EXPECT_EQ(inPlace("\"\"", strip), "");
    EXPECT_EQ(inPlace("\"", strip), "");
    EXPECT_EQ(inPlace("ab\"", [](char* text) { EXPECT_EQ(Utils::strStrip(text), 1); }), "ab\"");
    EXPECT_EQ(Utils::strStrip(nullptr), 1);

    const std::tuple<const char*, const char*, const char*> rows[] = {{"", "", ""},
                                                                      {" \t\r\n", "", ""},
                                                                      {" a b\n", "a b", "a"},
                                                                      {"a", "a", "a"},
                                                                      {"\ra\tb", "a\tb", "a"}};
    for (const auto& [text, trimmed, token] : rows) {
        std::string first = text;
        std::string second = text;
        EXPECT_STREQ(Utils::trimString(first.data()), trimmed);
        EXPECT_STREQ(Utils::firstToken(second.data()), token);
    }
    EXPECT_EQ(Utils::trimString(nullptr), nullptr);
    EXPECT_EQ(Utils::firstToken(nullptr), nullptr);

    EXPECT_EQ(inPlace("aZ\303\204z[", [](char* text) { Utils::stringToLower(text); }),
              "az\303\204z[");
    EXPECT_EQ(inPlace("aZ\303\244z{", [](char* text) { Utils::stringToUpper(text); }),
              "AZ\303\244Z{");
    EXPECT_EQ(Utils::stringToLower(nullptr), nullptr);

    EXPECT_EQ(inPlace("a b \t", removeTrailingSpaces), "a b");
    EXPECT_EQ(inPlace(" \t ", removeTrailingSpaces), "");
    EXPECT_EQ(inPlace("a\n ", removeTrailingSpaces), "a\n");
    removeTrailingSpaces(nullptr);
}

TEST(Utils, numbers) {
    for (const char* good : {"0", "-1", "+22", "007"}) {
        EXPECT_TRUE(Utils::isNumber10(good, 100)) << good;
    }
    for (const char* bad : {"", "-", "+", "1x", "0x1", " 1", "--1"}) {
        EXPECT_FALSE(Utils::isNumber10(bad, 100)) << bad;
    }
    EXPECT_FALSE(Utils::isNumber10(nullptr, 1));
    EXPECT_TRUE(Utils::isNumber10("12x", 2));
    EXPECT_FALSE(Utils::isNumber10("-1", 1));
    EXPECT_FALSE(Utils::isNumber10("1", 0));

    std::string text = "n";
    Utils::appendIntToString(text, 0);
    Utils::appendIntToString(text, 4294967295U);
    EXPECT_EQ(text, "n04294967295");
    const std::tuple<unsigned, unsigned, const char*, int> rows[] = {
        {0, 5, "", -1},       {1, 5, "", -1},       {2, 5, "5", 1}, {3, 1234, "12", -1},
        {4, 1234, "123", -1}, {5, 1234, "1234", 4}, {99, 0, "0", 1}};
    for (const auto& [size, value, written, result] : rows) {
        char buffer[99] = "unset";
        EXPECT_EQ(Utils::intToAscii(buffer, size, value), result);
        EXPECT_STREQ(buffer, written);
    }
}

TEST(Utils, wildcardsAndTokens) {
    std::string pattern = "a.*b?";
    Utils::wildcharToRegex(pattern);
    EXPECT_EQ(pattern, "^a\\..*b?$");
    std::vector<std::string> tokens = {"kept"};
    Utils::tokenizeString(",,a,;bc;", tokens, ",;");
    EXPECT_EQ(tokens, (std::vector<std::string>{"kept", "a", "bc"}));
    Utils::tokenizeString(",;,", tokens, ",;");
    Utils::tokenizeString("", tokens, ",;");
    EXPECT_EQ(tokens.size(), 3U);
    Utils::tokenizeString("a,b", tokens, "");
    EXPECT_EQ(tokens.back(), "a,b");
}

TEST(Utils, urls) {
    std::string out = "old";
    EXPECT_EQ(Utils::httpUrlEscape(nullptr, out, true), nullptr);
    EXPECT_EQ(out, "old");
    EXPECT_STREQ(Utils::httpUrlEscape("a b-\303\277Z9", out, false), "a%20b%2D%C3%BFZ9");
    EXPECT_STREQ(Utils::httpUrlEscape("a b+", out, true), "a+b%2B");
    const Texts rows[] = {
        {"%41", "A"},       {"%4", "%4"},       {"a%", "a%"},     {"%zz1", "%zz1"},
        {"%4z%41", "%4zA"}, {"a+b%2B", "a b+"}, {"%%41", "%%41"}, {"%c3%BF", "\303\277"},
        {"x%41%4", "xA%4"}, {"%+1+", "%+1 "},   {"", ""}};
    for (const auto& [text, result] : rows) {
        EXPECT_EQ(inPlace(text, Utils::httpUrlUnescape), result) << text;
    }
}

TEST(Utils, generatePassword) {
    char buffer[14] = ".............";
    Utils::generatePassword(buffer, 13);
    EXPECT_STREQ(buffer, ".............");
    Utils::generatePassword(nullptr, 20);
    Utils::generatePassword(buffer, 14);
    EXPECT_EQ(std::strlen(buffer), 10U);
    EXPECT_EQ(std::strspn(buffer, "0123456789ABCDEF"), 6U);
}

TEST(Utils, generateMessageID) {
    const std::unique_ptr<char[]> id(generateMessageID("host.x"));
    unsigned long long number = 0;
    char domain[16] = "";
    ASSERT_EQ(std::sscanf(id.get(), "<%llu@%15[^>]>", &number, domain), 2) << id.get();
    EXPECT_STREQ(domain, "host.x");
    EXPECT_EQ(number % 1000, 500U);
    EXPECT_EQ(id[std::strlen(id.get()) - 1], '>');
}

std::string workingDirectory;

TEST(Utils, openTemplateFile) {
    support::TempDir directory;
    workingDirectory = directory.path();
    const auto oldDirectory = Thread::getWorkingDirectory;
    Thread::getWorkingDirectory = [] { return workingDirectory.c_str(); };
    for (const char* folder : {"default", "de_ch"}) {
        const std::filesystem::path path =
            std::filesystem::path(workingDirectory) / "templates" / folder;
        std::filesystem::create_directories(path);
        std::ofstream(path / "note.txt") << folder;
    }
    for (const auto& [language, content] : {Texts{nullptr, "default"}, {"De_CH", "de_ch"}}) {
        Stream* stream = Utils::openTemplateFile("note.txt", language);
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(Thread::getLastError(), 0U);
        char buffer[16] = "";
        stream->read(buffer, sizeof buffer - 1);
        EXPECT_STREQ(buffer, content);
        Stream::release(stream);
    }
    const std::string tooLong(1007, 'x'); // "templates/default/" and this are 1025 bytes
    const std::tuple<const char*, const char*, unsigned> rows[] = {
        {nullptr, nullptr, HE_INVAL},  {"a/b", nullptr, EACCES},
        {"a\\b", nullptr, EACCES},     {"note.txt", "abcdefghijklmnopqrstuvwxyzabcdef", HE_INVAL},
        {"absent", nullptr, HE_NOENT}, {tooLong.c_str(), nullptr, HE_NAMETOOLONG}};
    for (const auto& [name, language, code] : rows) {
        EXPECT_EQ(Utils::openTemplateFile(name, language), nullptr);
        EXPECT_EQ(Thread::getLastError(), code);
    }
    Thread::getWorkingDirectory = oldDirectory;
}

} // namespace
