// Folder names in modified UTF-7, and folder paths.

#include "address/mbox_name.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool check(const std::string& name) {
    return checkMboxName(name.data(), static_cast<unsigned int>(name.size()));
}

TEST(MboxName, language) {
    for (const char* good : {"Inbox", "a b", " a", "a&-b", "&-", "&-&-", "&AOQ-", "x&AOQA9g-y",
                             "&AOQ-x&AOQ-", "&AAA-", "&BB,-", "a-b=c,d"}) {
        EXPECT_TRUE(check(good)) << good;
    }
    // Encoded bytes that could stand plain, and runs of half a character, are refused as well.
    for (const char* bad :
         {"",         " \t ",  "~a",       "a~",   "a*b",    "%x",         "\"",
          "\303\244", "a\tb",  "a\177",    "a&",   "&AOQ",   "&AOQ-&AOQ-", "&AOQ-&-",
          "&AGE-",    "&ACY-", "&AOQAYQ-", "&AO-", "&AOQ=-", "&AO*Q-"}) {
        EXPECT_FALSE(check(bad)) << bad;
    }
    EXPECT_FALSE(check(std::string(1, '\0')));
    EXPECT_TRUE(check(std::string(10239, 'a')));
    EXPECT_FALSE(check(std::string(10240, 'a')));
    // Only the given bytes count, and they stay as they are.
    const std::string longer = "&BB,-*";
    EXPECT_TRUE(checkMboxName(longer.data(), 5));
    EXPECT_EQ(longer, "&BB,-*");
}

TEST(MboxName, stepsByByte) {
    int special = 0;
    int valid = 0;
    for (int byte = 0; byte < 256; ++byte) {
        special += isSpecial(static_cast<char>(byte)) ? 1 : 0;
        valid += isEncodedValid(static_cast<unsigned char>(byte)) ? 1 : 0;
    }
    EXPECT_EQ(special, 256 - 95 + 4);
    EXPECT_EQ(valid, 95);
    EXPECT_FALSE(checkBase64("AOQ", 0));
}

TEST(MboxName, paths) {
    for (const char* good : {"a", "a/b", "/a/b/", "/", "/a", "a/"}) {
        EXPECT_TRUE(checkPathName(good)) << good;
    }
    for (const char* bad : {"", "//", "a//b", "//a", "a//", "a/*", "~u/a"}) {
        EXPECT_FALSE(checkPathName(bad)) << bad;
    }
    EXPECT_TRUE(checkPathName(std::string(10239, 'a') + "/" + std::string(10239, 'b')));
    EXPECT_FALSE(checkPathName("a/" + std::string(10240, 'b')));
}

// "user|mailbox", behind a "!" where it was refused.
std::string split(const std::string& path) {
    char user[256] = "unset";
    char mailbox[10241] = "unset";
    const bool result = splitMboxPath(path.c_str(), user, mailbox);
    return std::string(result ? "" : "!") + user + "|" + mailbox;
}

TEST(MboxName, splitPath) {
    const std::string user(254, 'u');
    const std::string mailbox(10240, 'm');
    const std::pair<std::string, std::string> rows[] = {
        {"~u/x/y", "u|x/y"},
        {"~u", "u|"},
        {"~u/", "u|"},
        {"~", "|"},
        {"~/x", "|x"},
        {"x/y", "|x/y"},
        {"", "|"},
        {"~" + user, user + "|"},
        {"~" + user + "/" + mailbox, user + "|" + mailbox},
        {mailbox, "|" + mailbox}};
    for (const auto& [path, result] : rows) {
        EXPECT_EQ(split(path), result);
    }
    for (const std::string& tooLong :
         {"~" + user + "u", "~" + user + "u/x", "~u/" + mailbox + "m", mailbox + "m"}) {
        EXPECT_EQ(split(tooLong), "!unset|unset");
    }
}

} // namespace
