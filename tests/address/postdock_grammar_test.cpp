// The command-line address grammar: rows of text with the whole result, random text against a
// plain reader, and hostile text.

#include "address/address_list.h"
#include "address/postdock/flexer.h"
#include "common/container/hvector.h"
#include "tests/address/postdock_reference.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

const Address* entryOf(const AddressList& list, int index) {
    return static_cast<const Address*>(list.addresses->get(index));
}

// The list in the form of reference::dump.
std::string dump(const AddressList& list) {
    std::vector<reference::Entry> entries;
    for (int i = 0; i < list.addresses->size(); ++i) {
        const Address* address = entryOf(list, i);
        reference::Entry entry;
        if (address->isGroup()) {
            entry.groupName = address->getGroupName();
        }
        for (int j = 0; j < address->size(); ++j) {
            const Mailbox2* mailbox = address->getMailbox(j);
            reference::Mailbox copy;
            if (mailbox->fullName != nullptr) {
                copy.name = mailbox->fullName;
            }
            copy.addrSpec = mailbox->addrSpec;
            entry.mailboxes.push_back(copy);
        }
        entries.push_back(entry);
    }
    return reference::dump(entries);
}

struct Row {
    const char* text;
    const char* result; // null: refused
};

// With the default domain "d" and the null path allowed, without a limit.
const Row Rows[] = {
    // Bare names, addr-specs, comments and white space.
    {"john", "- <john@d>"},
    {"a.b.c", "- <a.b.c@d>"},
    {"\"a b\"", "- <\"a b\"@d>"},
    {"a@b", "- <a@b>"},
    {" \t a@b \r\n ", "- <a@b>"},
    {"(comment) a (x) @ (y) b (z)", "- <a@b>"},
    {"a . b @ c . d", "- <a.b@c.d>"},
    {"a@b (x (y) z)", "- <a@b>"},
    {"a@b (\\) \\( [\"<)", "- <a@b>"},
    {"!#$%&'*+-/=?^_`{|}~@x", "- <!#$%&'*+-/=?^_`{|}~@x>"},
    {"a@b\n", "- <a@b>"},
    {"a\nb@c", nullptr},
    {"\na@\nb\n\n", "- <a@b>"},
    {"a@b \n (x)\n", "- <a@b>"},
    // Quoted strings and domain literals.
    {"\"a   b\"@c", "- <\"a b\"@c>"},
    {"\"a\tb\"@c", "- <\"a b\"@c>"},
    {"\" a \r\n b \"@c", "- <\" a b \"@c>"},
    {"\"a\nb\"@c", "- <\"ab\"@c>"},
    {"\"a\\\"b\\@\"@c", "- <\"a\\\"b\\@\"@c>"},
    {"\"\"@c", "- <\"\"@c>"},
    {"\"a\".b.\"c d\"@e", "- <\"a\".b.\"c d\"@e>"},
    {"a@[1.2.3.4]", "- <a@[1.2.3.4]>"},
    {"a@[]", "- <a@[]>"},
    {"a@[ x  y ]", "- <a@[xy]>"},
    {"a@[\\]]", "- <a@[\\]]>"},
    // Angle addresses, display names, routes.
    {"<a@b>", "- <a@b>"},
    {"<john>", "- <john@d>"},
    {"John Q. Public <a@b>", "John Q. Public <a@b>"},
    {"\"Name, Jr.\" <user>", "Name, Jr. <user@d>"},
    {"\"a\" \"b\" <c@d>", "a\" \"b <c@d>"},
    {"a..b <c@d>", "a..b <c@d>"},
    {"a. <c@d>", "a. <c@d>"},
    {"a.b . c d. <c@d>", "a.b . c d. <c@d>"},
    {"A(x)B <c@d>", "A B <c@d>"},
    {"=?iso-8859-1?Q?J=F6rg?= <a@b>", "J\303\266rg <a@b>"},
    {"<@r1,@r2:a@b>", "- <a@b>"},
    {"<@r1,,@[r 2] , (x) @r.3 : (y) a@b>", "- <a@b>"},
    {"<@r1 @r2:a@b>", "- <a@b>"},
    {"<@r1,:a@b>", nullptr},
    {"<,@r1:a@b>", nullptr},
    // The null address.
    {"<>", "- <<>>"},
    {"( x ) < (y) >", nullptr},
    {"Name <> ", "Name <<>>"},
    {"g: <>, n <>;", "g[- <<>>, n <<>>]"},
    // Groups and lists.
    {"g: a@b;", "g[- <a@b>]"},
    {"g:;", "g[]"},
    {"\"my group\" : (x) ; (y)", "my group[]"},
    {"g: ,a@b,,N <c@d>, ,;, x", "g[- <a@b>, N <c@d>]; - <x@d>"},
    {"g: ,;", "g[]"},
    {",", ""},
    {" , (x) ,", ""},
    {",a@b,,c@d,", "- <a@b>; - <c@d>"},
    {"a@b,N <c@d> , g:h@i;,j", "- <a@b>; N <c@d>; g[- <h@i>]; - <j@d>"},
    // Refused.
    {"", nullptr},
    {"  ", nullptr},
    {"(x)", nullptr},
    {"\n", nullptr},
    {"a@b\r\n", nullptr},
    {"a@b\rc", nullptr},
    {"a@b c@d", nullptr},
    {"First Last", nullptr},
    {"a@", nullptr},
    {"@b", nullptr},
    {".a@b", nullptr},
    {"a.@b", nullptr},
    {"a..b@c", nullptr},
    {"a@.b", nullptr},
    {"a@b.", nullptr},
    {"a@b..c", nullptr},
    {"a@\"b\"", nullptr},
    {"a@b@c", nullptr},
    {"<a@b", nullptr},
    {"a@b>", nullptr},
    {"<<a@b>>", nullptr},
    {"<a@b> c", nullptr},
    {"a@b )", nullptr},
    {"(unclosed", nullptr},
    {"(x", nullptr},
    {"(x\\", nullptr},
    {"\"unclosed", nullptr},
    {"\"a\rb\"@c", nullptr},
    {"a@[1.2", nullptr},
    {"a@[[]", nullptr},
    {"a@[1]b", nullptr},
    {"g: a@b", nullptr},
    {"g: h: a@b;;", nullptr},
    {"a@b: c@d;", nullptr},
    {": a@b;", nullptr},
    {"j\303\266rg@b", nullptr},
    {"(\303\266) a@b", nullptr},
    {"\"\303\266\"@b", nullptr},
    {"\"\\\303\266\"@b", nullptr},
    {"a@[\303\266]", nullptr},
    {"a\001@b", nullptr},
    {"\"\001\"@[\177]", "- <\"\001\"@[\177]>"},
};

TEST(PostdockGrammar, rows) {
    AddressList list;
    for (const Row& row : Rows) {
        SCOPED_TRACE(row.text);
        const int count = list.parsePostdock(row.text, 0, "d", true);
        if (row.result == nullptr) {
            EXPECT_EQ(count, -1);
            continue;
        }
        int mailboxes = 0;
        for (int i = 0; i < list.addresses->size(); ++i) {
            mailboxes += entryOf(list, i)->size();
        }
        EXPECT_EQ(count, mailboxes);
        EXPECT_EQ(dump(list), row.result);
    }
}

TEST(PostdockGrammar, needsADefaultDomainAndLeaveForTheNullPath) {
    AddressList list;
    for (const char* text : {"john", "a@b, john", "N <john>", "g: john;", "<>", "N <>", "g: <>;"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(list.parsePostdock(text, 0, nullptr, false), -1);
    }
    EXPECT_EQ(list.parsePostdock(nullptr, 0, "d", true), -1);
    EXPECT_EQ(list.addresses->size(), 0);
    EXPECT_EQ(list.parsePostdock("a@b", -1, "d", true), -1);
}

struct LimitRow {
    const char* text;
    int limit;
    int count;
    const char* result;
};

// A mailbox is delivered as soon as it is complete: what stands behind the last one is not judged.
const LimitRow LimitRows[] = {
    {"a@b, @@@", 1, 1, "- <a@b>"},
    {"a@b c@d", 1, 1, "- <a@b>"},
    {"a@b )", 1, 1, "- <a@b>"},
    {"a@b \303\266", 1, 1, "- <a@b>"},
    {"a@b\"", 1, 1, "- <a@b>"},
    {"<a@b>>", 1, 1, "- <a@b>"},
    {"john )", 1, 1, "- <john@d>"},
    {"john, (", 1, 1, "- <john@d>"},
    {"<> \r", 1, 1, "- <<>>"},
    {"a@b, c@d", 2, 2, "- <a@b>; - <c@d>"},
    {"a@b, c@d", 3, 2, "- <a@b>; - <c@d>"},
    {",,a@b,,c@d,,", 2, 2, "- <a@b>; - <c@d>"},
    {"g: a@b, c@d, e@f;", 2, 2, "g[- <a@b>, - <c@d>]"},
    {"x@y, g: a@b, c@d, e@f; )", 2, 2, "- <x@y>; g[- <a@b>]"},
    {"g:;, a@b )", 1, 1, "- <a@b>"},
    {"g:;", 5, 0, ""},
    {"g: ,,;", 5, 0, ""},
    {"a@b )", 2, -1, "- <a@b>"},
    {"g: a@b", 1, -1, ""},
};

TEST(PostdockGrammar, stopsAtTheLimit) {
    AddressList list;
    for (const LimitRow& row : LimitRows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(list.parsePostdock(row.text, row.limit, "d", true), row.count);
        EXPECT_EQ(dump(list), row.result);
        // Nothing of a parse that stopped in mid-text is left for the next one.
        EXPECT_EQ(list.parsePostdock("e@f", 0, nullptr, false), 1);
        EXPECT_EQ(dump(list), "- <e@f>");
    }
}

// A text of the language's own pieces, which is accepted often enough to be worth comparing.
std::string randomAddresses(std::mt19937_64& random) {
    static const char* const Pieces[] = {
        "a",   "b.c",    "x y",   "\"q\"",   "\"p q\"",  "@",        "@d",    "@[1 2]",
        "<",   ">",      "<>",    ",",       ", ",       ";",        ":",     ".",
        " ",   "(c)",    "\r\n ", "\n",      "\t",       "n <",      "a@b",   "<a@b>",
        "g: ", "@r,@s:", "(",     ")",       "\"",       "[",        "]",     "\\",
        "\r",  "\200",   ";,",    "N <a@b>", "g:a@b,c;", "\"\\\"\"", "(\\))", "a . b"};
    std::string text;
    for (std::size_t count = support::below(random, 12); count > 0; --count) {
        // The first pieces are the harmless ones; the second half breaks most texts.
        const std::size_t bound = support::below(random, 8) == 0 ? std::size(Pieces) : 27;
        text += Pieces[support::below(random, bound)];
    }
    return text;
}

TEST(PostdockGrammar, agreesWithThePlainReaderOnRandomText) {
    std::mt19937_64 random = support::seededRandom("PostdockGrammar");
    AddressList list;
    int accepted = 0;
    for (int i = 0; i < 60000; ++i) {
        const std::string text = randomAddresses(random);
        const char* domain = support::below(random, 4) != 0 ? "dom" : nullptr;
        const bool nullPath = support::below(random, 2) == 0;
        const auto expected = reference::parse(text, domain, nullPath);
        const int count = list.parsePostdock(text.c_str(), 0, domain, nullPath);
        ASSERT_EQ(count >= 0, expected.has_value()) << text;
        if (!expected) {
            continue;
        }
        ++accepted;
        ASSERT_EQ(dump(list), reference::dump(*expected)) << text;
        // With a limit, the same mailboxes up to it.
        const int limit = 1 + static_cast<int>(support::below(random, 3));
        ASSERT_EQ(list.parsePostdock(text.c_str(), limit, domain, nullPath), std::min(limit, count))
            << text;
        std::vector<reference::Entry> cut;
        int places = limit;
        for (const reference::Entry& entry : *expected) {
            reference::Entry kept = entry;
            const std::size_t fits =
                std::min(entry.mailboxes.size(), static_cast<std::size_t>(places));
            kept.mailboxes.resize(fits);
            places -= static_cast<int>(fits);
            if (fits > 0) {
                cut.push_back(kept);
            }
        }
        ASSERT_EQ(dump(list), reference::dump(cut)) << text << " limit " << limit;
    }
    EXPECT_GT(accepted, 2000);
}

std::string repeated(const std::string& piece, int count) {
    std::string text;
    text.reserve(piece.size() * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

// Each text takes minutes, or all memory, if its cost is more than in proportion to its length. The
// pool holds a string for each place of the parser's stack and not for each token.
TEST(PostdockGrammar, hostileTextCostsNoMoreThanItsLength) {
    constexpr int Many = 200000;
    const struct {
        std::string text;
        int count;
    } rows[] = {
        {"a@b " + repeated("(", Many), -1},
        {"a@b " + repeated("(", Many) + repeated(")", Many), 1},
        {repeated("a.", Many) + "a@" + repeated("b.", Many) + "b", 1},
        {repeated("a ", Many) + "<x@y>", 1},
        {repeated("\"a\" . ", Many) + "<x@y>", 1},
        {"\"" + repeated("a \\\" ", Many) + "\"@b", 1},
        {"a@[" + repeated("1 ", Many) + "]", 1},
        {"<" + repeated("@r,(c) ,", Many) + "@r:a@b>", 1},
        {repeated("a@b,", Many), Many},
        {"g: " + repeated("N <a@b>,", Many) + ";", Many},
        {repeated("g:;", Many), -1},
        {repeated("g:;,", Many), 0},
        {repeated(",", Many), 0},
        {repeated("<", Many), -1},
        {repeated("x", 4 * Many) + "@y", 1},
        {repeated(" \r\n ", Many) + "a@b", 1},
        {repeated("\n", Many) + "a@b", 1},
        // Every production, again and again: a string that one of them keeps would add up.
        {repeated("<>,N <>,<a@b>,<@r,@s:a@b>,a,a@[1 2],a.b . \"c\" <d@e>,a.. <b>,a. <b>,\"a b\"@c,"
                  "g:a@b,<>,,;,h:;,(c),",
                  Many / 10),
         12 * (Many / 10)},
    };
    AddressList list;
    AddrPostdockFlexer flexer(&list);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 20));
        list.addresses->clear();
        EXPECT_EQ(flexer.parse(row.text.c_str(), 0, "d", true), row.count);
        EXPECT_EQ(flexer.getPool().getCapacity(), 64);
        EXPECT_EQ(flexer.getPool().getUsed(), 0);
    }
}

} // namespace
