// Username: the language and the length limit.

#include "address/name_matchers.h"
#include "address/username.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Username, language) {
    for (const char* good : {"a", "a.b", "A9!#$%&'*-/=?^_`{|}~", "a\\+b", "\\@", "\\.\\\\", "a\n",
                             "a.b\n@@@", "a\\\303"}) {
        EXPECT_TRUE(Username::isUsername(good, 256)) << good;
    }
    for (const char* bad : {"",      "a..b",  ".a",    "a.",   "user+tag", "a b", "\\",
                            "a\\",   "a\\\n", "\n",    "a.\n", "\"a\"",    "a@b", "j\303\266rg",
                            "a\001", "a\177", "a\r\n", "(a)",  "a,b",      "[a]"}) {
        EXPECT_FALSE(Username::isUsername(bad, 256)) << bad;
    }
    EXPECT_FALSE(Username::isUsername(nullptr, 256));
}

TEST(Username, length) {
    const std::string longest(256, 'a');
    EXPECT_TRUE(Username::isUsername(longest.c_str(), 256));
    EXPECT_FALSE(Username::isUsername((longest + "a").c_str(), 256));
    EXPECT_FALSE(Username::isUsername("a", 0));
    EXPECT_TRUE(Username::isUsername((longest + longest).c_str(), 0xFFFFFFFF));
    EXPECT_STREQ(Username(longest.c_str()).getName(), longest.c_str());
    EXPECT_EQ(Username((longest + "a").c_str()).getName(), nullptr);
}

TEST(Username, theRecordIsTheWholeName) {
    UsernameMatcher matcher;
    EXPECT_TRUE(Username::match(&matcher, "a.b\\+c\nrest", 256));
    ASSERT_EQ(matcher.getRecordCount(0), 1);
    EXPECT_STREQ(matcher.getRecord(0, 0), "a.b\\+c");
    EXPECT_FALSE(Username::match(&matcher, "+", 256));
    EXPECT_EQ(matcher.getRecordCount(0), 0);
}

} // namespace
