// Domainname: the language, the limits, and the labels of a value.

#include "address/domainname.h"
#include "address/name_matchers.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

std::string label(std::size_t length) {
    return std::string(length, 'x');
}

TEST(Domainname, language) {
    const std::string label63 = label(63);
    const std::string name255 = label63 + "." + label63 + "." + label63 + "." + label63;
    for (const char* good : {"a", "a-b.c", "a.b.c", "1.2.3.4", "A--b.Z9", label63.c_str(),
                             name255.c_str(), "a.b\n", "a.b\n..more \303\266"}) {
        EXPECT_TRUE(Domainname::isDomainname(good)) << good;
    }
    for (const char* bad : {"", "-a.b", "a-.b", "a-", "a..b", "a.", ".a", ".", "a_b.c", "a b",
                            "\303\266.de", "a.\n", "\na", "a\r\n"}) {
        EXPECT_FALSE(Domainname::isDomainname(bad)) << bad;
    }
    for (const std::string& tooLong :
         {label(64), "a." + label(64), name255 + "x", label63 + "." + name255}) {
        EXPECT_FALSE(Domainname::isDomainname(tooLong.c_str())) << tooLong;
    }
    EXPECT_FALSE(Domainname::isDomainname(nullptr));
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
    EXPECT_STREQ(name.getPart(1), "bcd");
    EXPECT_EQ(name.getPart(3), nullptr);
    EXPECT_EQ(name.getSubdomainname(-1), nullptr);
    EXPECT_EQ(name.subdomainname(2), nullptr);
    EXPECT_EQ(name.subdomainname(-1), nullptr);
    const std::unique_ptr<Domainname> sub(name.subdomainname(1));
    ASSERT_NE(sub, nullptr);
    EXPECT_STREQ(sub->getName(), "bcd.e");

    const Domainname invalid("a..b");
    EXPECT_EQ(invalid.getName(), nullptr);
    EXPECT_EQ(invalid.getPartCount(), 0);
    EXPECT_EQ(invalid.getPart(0), nullptr);

    // What stands behind a LF belongs to no label, however long it is.
    const Domainname withTail(("a.b\n" + label(200)).c_str());
    EXPECT_EQ(std::string(withTail.getName()).size(), 204U);
    EXPECT_STREQ(withTail.getPart(1), "b");
}

std::string joined(const Texts& parts) {
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
    EXPECT_NE(joined(Texts(128, "a")), "(invalid)");
    EXPECT_EQ(joined(Texts(129, "a")), "(invalid)");
}

} // namespace
