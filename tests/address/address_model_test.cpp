// Mailbox2, Single, Group and AddressList apart from parsing; the string pool.

#include "address/address_list.h"
#include "address/string_pool.h"
#include "common/container/hvector.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <utility>

namespace {

using Text = std::unique_ptr<char[]>;
using Texts = std::pair<const char*, const char*>;

std::string orNull(const char* text) {
    return text != nullptr ? text : "(null)";
}

std::string written(const Mailbox2& mailbox, bool encode, bool quote) {
    std::string out = "before ";
    const char* start = mailbox.writeToString(out, encode, quote);
    EXPECT_EQ(start, out.c_str() + 7);
    return start;
}

TEST(Mailbox, splitsAtTheFirstAtOutsideQuotes) {
    const struct {
        const char* addrSpec;
        const char* local;
        const char* domain;
        const char* quoted;
    } rows[] = {
        {nullptr, "(null)", "(null)", "(null)"},
        {"", "", "(null)", ""},
        {"john", "john", "(null)", "john"},
        {"a@b", "a", "b", "a@b"},
        {"a.b@c", "a.b", "c", "\"a.b\"@c"},
        {"a@b@c", "a", "b@c", "a@b@c"},
        {"\"a@b\"@c", "\"a@b\"", "c", "\"\\\"a\"@b\"@c"},
        {"\"a\\\"@\"@c", "\"a\\\"@\"", "c", "\"\\\"a\\\\\\\"\"@\"@c"},
        {"\"a@b", "\"a@b", "(null)", "\"\\\"a\"@b"},
        {"<>", "<>", "(null)", "\"<>\""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(orNull(row.addrSpec));
        Mailbox2 mailbox(nullptr, row.addrSpec);
        char* local = nullptr;
        char* domain = nullptr;
        mailbox.splitAddress(local, domain);
        EXPECT_EQ(orNull(Text(local).get()), row.local);
        EXPECT_EQ(orNull(Text(domain).get()), row.domain);
        EXPECT_EQ(orNull(Text(mailbox.genAddrSpecQouted()).get()), row.quoted);
    }
}

TEST(Mailbox, setDomainReplacesOrAdds) {
    for (const auto& [before, after] :
         {Texts{"a@b", "a@x.y"}, {"john", "john@x.y"}, {"\"@\"@b", "\"@\"@x.y"}, {"a@", "a@x.y"}}) {
        Mailbox2 mailbox(nullptr, before);
        mailbox.setDomain("x.y");
        EXPECT_STREQ(mailbox.addrSpec, after);
    }
    Mailbox2 none(nullptr, nullptr);
    none.setDomain("x");
    EXPECT_EQ(none.addrSpec, nullptr);
}

TEST(Mailbox, printsNameAndAddress) {
    const struct {
        const char* name;
        const char* addrSpec;
        const char* value; // genMailboxValue
        const char* plain; // written, quoted where needed
        const char* encoded;
    } rows[] = {
        {nullptr, nullptr, "", "", ""},
        {nullptr, "a@b", "a@b", "a@b", "a@b"},
        {"", "a@b", "a@b", "a@b", "a@b"},
        {nullptr, "<>", "<>", "<>", "<>"},
        {"Name", "<>", "Name <<>>", "Name <>", "Name <>"},
        {"Name", nullptr, "Name", "Name", "Name"},
        {"John Doe", "a@b", "John Doe <a@b>", "John Doe <a@b>", "John Doe <a@b>"},
        {"Doe, John", "a@b", "Doe, John <a@b>", "\"Doe, John\" <a@b>", "\"Doe, John\" <a@b>"},
        {"J\303\266rg", "a@b", "J\303\266rg <a@b>", "J\303\266rg <a@b>",
         "=?utf-8?Q?J=C3=B6rg?= <a@b>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(orNull(row.name));
        const Mailbox2 mailbox(row.name, row.addrSpec);
        EXPECT_EQ(orNull(Text(mailbox.genMailboxValue()).get()), row.value);
        EXPECT_EQ(written(mailbox, false, true), row.plain);
        EXPECT_EQ(written(mailbox, true, true), row.encoded);
    }
    EXPECT_EQ(written(Mailbox2("Doe, John", "a@b"), false, false), "Doe, John <a@b>");
}

TEST(Mailbox, decodesTheNameWhenItIsSetAndNotWhenItIsCopied) {
    Mailbox2 mailbox("=?utf-8?Q?a=40b?=", "x@y");
    EXPECT_STREQ(mailbox.fullName, "a@b");
    mailbox.setFullName("=?utf-8?B?PT91dGYtOD9RP3g/PQ==?=");
    EXPECT_STREQ(mailbox.fullName, "=?utf-8?Q?x?=");
    EXPECT_STREQ(Mailbox2(mailbox).fullName, "=?utf-8?Q?x?=");
    mailbox.setFullName(nullptr);
    EXPECT_EQ(mailbox.fullName, nullptr);
}

TEST(AddressTexts, quotePhrase) {
    const Texts rows[] = {{"", ""},
                          {"John Doe", "John Doe"},
                          {"J. Doe", "\"J. Doe\""},
                          {"J\303\266rg", "J\303\266rg"},
                          {"a\"b\\c", "\"a\\\"b\\\\c\""},
                          {"\t", "\"\t\""}};
    for (const auto& [text, result] : rows) {
        std::string value = text;
        AddressList::quotePhrase(&value);
        EXPECT_EQ(value, result);
    }
    std::string special;
    for (int byte = 0; byte < 256; ++byte) {
        if (!AddressList::isatext(static_cast<unsigned char>(byte)) && byte >= 0x20) {
            special += static_cast<char>(byte);
        }
    }
    EXPECT_EQ(special, "\"(),.:;<>@[\\]\177");
    EXPECT_FALSE(AddressList::isatext(0));
}

TEST(AddressTexts, normalize) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"", "", ""},
        {"  ", "  ", ""},
        {"a b ", "a b", "ab"},
        {"\"a b\" ", "a b", "\"a b\""},
        {"\"a\" \"b\"", "a\" \"b", "\"a\"\"b\""},
        {"\"", "\"", "\""},
        {"\"\"", "", "\"\""},
        {" a", " a", "a"},
        {"\"a\\\" b\" @ c", "\"a\\\" b\" @ c", "\"a\\\"b\" @ c"}};
    for (const auto& [text, name, spec] : rows) {
        std::string value = text;
        AddressList::normalizeDisplayName(&value);
        EXPECT_EQ(value, name) << text;
        value = text;
        AddressList::normalizeAddrSpec(&value);
        EXPECT_EQ(value, spec) << text;
    }
}

TEST(AddressEntries, aSingleIsOneMailboxForGood) {
    Single single(new Mailbox2("Name", "A@b"));
    Mailbox2 other("x", "y");
    EXPECT_FALSE(single.isGroup());
    EXPECT_EQ(single.getGroupName(), nullptr);
    EXPECT_EQ(single.setGroupName("x"), -1);
    EXPECT_EQ(single.size(), 1);
    EXPECT_EQ(single.getMailbox(1), nullptr);
    EXPECT_EQ(single.addMailbox(&other), -1);
    EXPECT_EQ(single.removeMailbox(0), -1);
    EXPECT_EQ(single.findMailboxByAddrSpec("a@B"), 0);
    EXPECT_EQ(single.findMailboxByAddrSpec("a@c"), -1);
    EXPECT_EQ(single.findMailboxByName("NAME"), 0);
    EXPECT_EQ(single.findMailboxByName(nullptr), -1);
}

TEST(AddressEntries, aGroupHoldsMailboxesInOrder) {
    Group group("a, b");
    group.addMailbox(new Mailbox2(nullptr, "x@y"));
    group.addMailbox(new Mailbox2("N", "X@Y"));
    group.addMailbox(new Mailbox2("n", "z@y"));
    EXPECT_EQ(group.findMailboxByAddrSpec("x@Y"), 0);
    EXPECT_EQ(group.findMailboxByName("n"), 1);
    EXPECT_EQ(group.getMailbox(3), nullptr);
    EXPECT_EQ(group.removeMailbox(3), -1);
    EXPECT_EQ(group.removeMailbox(-1), -1);

    Group copy(&group);
    EXPECT_EQ(group.removeMailbox(0), 0);
    EXPECT_EQ(group.setGroupName(nullptr), 0);
    std::string out;
    EXPECT_STREQ(group.writeToString(out, false), ": N <X@Y>, n <z@y>;");
    EXPECT_STREQ(copy.writeToString(out, false), "\"a, b\": x@y, N <X@Y>, n <z@y>;");
    EXPECT_STREQ(copy.writeToStringFlat(out, false), "x@y, N <X@Y>, n <z@y>");
    EXPECT_STREQ(Group("e").writeToString(out, false), "e: ;");
    EXPECT_STREQ(Group("e").writeToStringFlat(out, false), "");
    EXPECT_STREQ(Group("\303\266").writeToString(out, true), "=?utf-8?Q?=C3=B6?=: ;");
}

TEST(AddressList, printsTheFirstEntries) {
    AddressList list;
    ASSERT_EQ(list.parsePostdock("a@b, g: c@d, e@f;, \"x.\" <g@h>", 0, nullptr, false), 4);
    EXPECT_STREQ(list.getAddressListValue(false, 9), "a@b, g: c@d, e@f;, \"x.\" <g@h>");
    EXPECT_STREQ(list.getAddressListValueFlat(false, 9), "a@b, c@d, e@f, \"x.\" <g@h>");
    EXPECT_STREQ(list.getAddressListValue(true, 2), "a@b, g: c@d, e@f;");
    EXPECT_STREQ(list.getAddressListValue(false, 0), "");
    EXPECT_STREQ(list.getAddressListValue(false, -1), "");
}

TEST(AddressList, mergesCopiesAndKeepsDuplicates) {
    AddressList list;
    AddressList other;
    ASSERT_EQ(list.parsePostdock("a@b", 0, nullptr, false), 1);
    ASSERT_EQ(other.parsePostdock("a@b, g: N <c@d>;", 0, nullptr, false), 2);
    list.mergeAddressList(&other);
    EXPECT_STREQ(other.getAddressListValue(false, 9), "a@b, g: N <c@d>;");
    ASSERT_EQ(other.parsePostdock("x@y", 0, nullptr, false), 1);
    EXPECT_STREQ(list.getAddressListValue(false, 9), "a@b, a@b, g: N <c@d>;");
}

TEST(AddressList, removesAllOrTheFirstFew) {
    const char* const text = "N <a@b>, A@B, g: a@b, c@d, n <a@b>;, a@b, x@y";
    const struct {
        int limit;
        const char* byAddrSpec;
        const char* byName;
    } rows[] = {
        {0, "g: c@d;, x@y", "A@B, g: a@b, c@d;, a@b, x@y"},
        {-1, "g: c@d;, x@y", "A@B, g: a@b, c@d;, a@b, x@y"},
        {1, "A@B, g: a@b, c@d, n <a@b>;, a@b, x@y", "A@B, g: a@b, c@d, n <a@b>;, a@b, x@y"},
        {3, "g: c@d, n <a@b>;, a@b, x@y", "A@B, g: a@b, c@d;, a@b, x@y"},
    };
    AddressList list;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.limit);
        ASSERT_EQ(list.parsePostdock(text, 0, nullptr, false), 7);
        EXPECT_EQ(list.removeMailboxByAddrSpec("a@b", row.limit), 0);
        EXPECT_STREQ(list.getAddressListValue(false, 9), row.byAddrSpec);
        ASSERT_EQ(list.parsePostdock(text, 0, nullptr, false), 7);
        EXPECT_EQ(list.removeMailboxByName("n", row.limit), 0);
        EXPECT_STREQ(list.getAddressListValue(false, 9), row.byName);
    }
}

// A group that is asked anew for each mailbox to remove takes minutes.
TEST(AddressList, removesFromALongGroupByATextOfItsOwn) {
    constexpr int Half = 100000;
    std::string text = "g: ";
    for (const char* piece : {"a@b,", "x@y,"}) {
        for (int i = 0; i < Half; ++i) {
            text += piece;
        }
    }
    AddressList list;
    ASSERT_EQ(list.parsePostdock((text + ";").c_str(), 0, nullptr, false), 2 * Half);
    const Address* group = static_cast<Address*>(list.addresses->get(0));
    EXPECT_EQ(list.removeMailboxByAddrSpec(group->getMailbox(Half)->addrSpec, 0), 0);
    EXPECT_EQ(group->size(), Half);
    EXPECT_EQ(list.removeMailboxByAddrSpec(nullptr, 0), 0);
    EXPECT_EQ(group->findMailboxByAddrSpec("x@y"), -1);
    EXPECT_EQ(group->size(), Half);
}

TEST(StringPool, growsByOneAndHandsItsStringsOutAgain) {
    StringPool pool;
    EXPECT_EQ(pool.getCapacity(), 64);
    std::string* first = pool.addString("first");
    for (int i = 1; i < 66; ++i) {
        pool.addString(std::string(100, 'x'));
    }
    EXPECT_EQ(pool.getCapacity(), 66);
    EXPECT_EQ(*first, "first");
    EXPECT_EQ(pool.getString(65)->size(), 100U);
    pool.reset();
    EXPECT_EQ(pool.addString("again"), first);
    EXPECT_EQ(pool.getCapacity(), 66);
}

} // namespace
