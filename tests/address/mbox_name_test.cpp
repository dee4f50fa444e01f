// Folder names in modified UTF-7, and folder paths.

#include "address/mbox_name.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool check(const std::string& name) {
    return checkMboxName(name.data(), static_cast<unsigned int>(name.size()));
}

TEST(MboxName, language) {
    for (const std::string& good :
         {std::string("Inbox"), std::string("a b"), std::string(" a"), std::string("a&-b"),
          std::string("&-"), std::string("&-&-"), std::string("&AOQ-"), std::string("x&AOQA9g-y"),
          std::string("&AOQ-x&AOQ-"), std::string("&AAA-"), std::string("&BB,-"),
          std::string("a-b=c,d"), std::string(10239, 'a')}) {
        EXPECT_TRUE(check(good)) << good;
    }
    for (const std::string& bad :
         {std::string(""),         std::string(" \t "),       std::string("~a"),
          std::string("a~"),       std::string("a*b"),        std::string("%x"),
          std::string("\""),       std::string("\303\244"),   std::string("a\tb"),
          std::string("a\177"),    std::string(1, '\0'),      std::string("a&"),
          std::string("&AOQ"),     std::string("&AOQ-&AOQ-"), std::string("&AOQ-&-"),
          std::string("&AGE-"),    // an encoded "a"
          std::string("&ACY-"),    // an encoded "&"
          std::string("&AOQAYQ-"), // the second character could stand plain
          std::string("&AO-"),     // one byte
          std::string("&AOQ=-"),   std::string("&AO*Q-"),     std::string(10240, 'a')}) {
        EXPECT_FALSE(check(bad)) << bad;
    }
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

std::string split(const std::string& path) {
    char user[256] = "unset";
    char mailbox[10241] = "unset";
    const bool result = splitMboxPath(path.c_str(), user, mailbox);
    return std::string(result ? "" : "!") + user + "|" + mailbox;
}

TEST(MboxName, splitPath) {
    EXPECT_EQ(split("~u/x/y"), "u|x/y");
    EXPECT_EQ(split("~u"), "u|");
    EXPECT_EQ(split("~u/"), "u|");
    EXPECT_EQ(split("~"), "|");
    EXPECT_EQ(split("~/x"), "|x");
    EXPECT_EQ(split("x/y"), "|x/y");
    EXPECT_EQ(split(""), "|");
    const std::string user(254, 'u');
    const std::string mailbox(10240, 'm');
    EXPECT_EQ(split("~" + user), user + "|");
    EXPECT_EQ(split("~" + user + "u"), "!unset|unset");
    EXPECT_EQ(split("~" + user + "/" + mailbox), user + "|" + mailbox);
    EXPECT_EQ(split("~" + user + "u/x"), "!unset|unset");
    EXPECT_EQ(split("~u/" + mailbox + "m"), "!unset|unset");
    EXPECT_EQ(split(mailbox), "|" + mailbox);
    EXPECT_EQ(split(mailbox + "m"), "!unset|unset");
}

TEST(MboxName, depth) {
    for (const auto& [path, depth] : {std::pair{"", 0},
                                      {"a", 0},
                                      {"/", 0},
                                      {"/a", 0},
                                      {"a/b", 1},
                                      {"/a/b", 1},
                                      {"a/b/", 2},
                                      {"a//b", 1},
                                      {"//", 0}}) {
        EXPECT_EQ(getPathDepth(path), depth) << path;
    }
}

} // namespace
