// Domainname: the language, the limits, and the labels of a value.

#include "address/domainname.h"
#include "address/name_matchers.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

std::string label(std::size_t length) {
    return std::string(length, 'x');
}

TEST(Domainname, language) {
    const std::string label63 = label(63);
    const std::string name255 = label63 + "." + label63 + "." + label63 + "." + label63;
    for (const std::string& good :
         {std::string("a"), std::string("a-b.c"), std::string("a.b.c"), std::string("1.2.3.4"),
          std::string("A--b.Z9"), label63, name255, std::string("a.b\n"),
          std::string("a.b\n..more \303\266")}) {
        EXPECT_TRUE(Domainname::isDomainname(good.c_str())) << good;
    }
    for (const std::string& bad :
         {std::string(""), std::string("-a.b"), std::string("a-.b"), std::string("a-"),
          std::string("a..b"), std::string("a."), std::string(".a"), std::string("."),
          std::string("a_b.c"), std::string("a b"), std::string("\303\266.de"), std::string("a.\n"),
          std::string("\na"), std::string("a\r\n"), label(64), "a." + label(64), name255 + "x",
          label63 + "." + name255}) {
        EXPECT_FALSE(Domainname::isDomainname(bad.c_str())) << bad;
    }
    EXPECT_FALSE(Domainname::isDomainname(nullptr));
}

// The same language by cutting at the dots.
bool plainCheck(const std::string& text) {
    std::size_t start = 0;
    for (;;) {
        const std::size_t dot = text.find('.', start);
        const std::string part = text.substr(start, dot - start);
        if (part.empty() || part.front() == '-' || part.back() == '-') {
            return false;
        }
        if (dot == std::string::npos) {
            return true;
        }
        start = dot + 1;
    }
}

TEST(Domainname, agreesWithThePlainCheckOnRandomText) {
    std::mt19937_64 random = support::seededRandom("Domainname");
    for (int i = 0; i < 20000; ++i) {
        const std::string text = support::randomText(random, "a0Z.-", 10);
        ASSERT_EQ(Domainname::isDomainname(text.c_str()), plainCheck(text)) << text;
    }
}

TEST(Domainname, aMatcherIsUsedAgain) {
    DomainnameMatcher matcher;
    EXPECT_EQ(matcher.getState(), -1);
    EXPECT_TRUE(Domainname::match(&matcher, "a.bc.d"));
    EXPECT_EQ(matcher.getRecordCount(0), 3);
    EXPECT_STREQ(matcher.getRecord(0, 1), "bc");
    EXPECT_EQ(matcher.match(nullptr), 0);
    EXPECT_EQ(matcher.getRecordCount(0), 3);
    EXPECT_FALSE(Domainname::match(&matcher, "a."));
    EXPECT_EQ(matcher.getState(), 2);
    EXPECT_TRUE(Domainname::match(&matcher, "x"));
    EXPECT_EQ(matcher.getRecordCount(0), 1);
}

TEST(Domainname, isSubdomain) {
    const struct {
        const char* parent;
        const char* name;
        bool allowEqual;
        bool result;
    } rows[] = {{"b.c", "a.b.c", false, true}, {"b.c", "ab.c", true, false},
                {"b.c", "b.c", true, true},    {"b.c", "b.c", false, false},
                {"b.c", "A.B.C", true, false}, {"b.c", "c", true, false},
                {"", "a.", false, true},       {"", "", true, true}};
    for (const auto& row : rows) {
        EXPECT_EQ(Domainname::isSubdomain(row.parent, row.name, row.allowEqual), row.result)
            << row.parent << ' ' << row.name;
    }
}

TEST(Domainname, labels) {
    Domainname name("a.bcd.e");
    EXPECT_STREQ(name.getName(), "a.bcd.e");
    EXPECT_EQ(name.getPartCount(), 3);
    EXPECT_STREQ(name.getPart(1), "bcd");
    EXPECT_STREQ(name.getPart(2), "e");
    EXPECT_STREQ(name.getSubdomainname(1), "bcd.e");
    EXPECT_EQ(name.getPart(3), nullptr);
    EXPECT_EQ(name.getSubdomainname(-1), nullptr);
    EXPECT_EQ(name.subdomainname(2), nullptr);
    EXPECT_EQ(name.subdomainname(-1), nullptr);
    const std::unique_ptr<Domainname> sub(name.subdomainname(1));
    ASSERT_NE(sub, nullptr);
    EXPECT_STREQ(sub->getName(), "bcd.e");
    EXPECT_EQ(sub->getPartCount(), 2);
    EXPECT_STREQ(sub->getPart(1), "e");

    const Domainname invalid("a..b");
    EXPECT_EQ(invalid.getName(), nullptr);
    EXPECT_EQ(invalid.getPartCount(), 0);
    EXPECT_EQ(invalid.getPart(0), nullptr);

    // What stands behind a LF belongs to no label, however long it is.
    const Domainname withTail(("a.b\n" + label(200)).c_str());
    EXPECT_EQ(std::string(withTail.getName()).size(), 204U);
    EXPECT_STREQ(withTail.getPart(1), "b");
}

std::string joined(std::vector<std::string> parts) {
    std::vector<const char*> texts;
    for (const std::string& part : parts) {
        texts.push_back(part.c_str());
    }
    const Domainname name(texts.data(), static_cast<int>(texts.size()));
    if (name.getName() == nullptr) {
        EXPECT_EQ(name.getPartCount(), 0);
        return "(invalid)";
    }
    std::string result = name.getName();
    for (int i = 0; i < name.getPartCount(); ++i) {
        result += std::string("|") + name.getPart(i);
    }
    return result;
}

TEST(Domainname, fromParts) {
    EXPECT_EQ(joined({"a", "b"}), "a.b|a|b");
    EXPECT_EQ(joined({"a.b", "c"}), "a.b.c|a|b|c");
    EXPECT_EQ(joined({}), "(invalid)");
    EXPECT_EQ(joined({"a", "-"}), "(invalid)");
    EXPECT_EQ(joined({"a", ""}), "(invalid)");
    EXPECT_EQ(joined({label(30) + "." + label(33)}), "(invalid)");
    EXPECT_NE(joined({label(63), label(63), label(63), label(63)}), "(invalid)");
    EXPECT_EQ(joined({label(63), label(63), label(63), label(61), "aa"}), "(invalid)");
    EXPECT_NE(joined(std::vector<std::string>(128, "a")), "(invalid)");
    EXPECT_EQ(joined(std::vector<std::string>(129, "a")), "(invalid)");
}

} // namespace
