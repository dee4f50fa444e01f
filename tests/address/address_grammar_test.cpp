// The address grammars: rows of text with the whole result, random text against a plain reader,
// written addresses read back, and hostile text.

#include "address/address_list.h"
#include "address/postdock/flexer.h"
#include "address/rfc2822/flexer.h"
#include "address/webmail/flexer.h"
#include "tests/address/address_reference.h"
#include "tests/support/address_entries.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <thread>

namespace {

using support::dump;
using support::entriesOf;

std::string dump(const AddressList& list) {
    return dump(entriesOf(list));
}

// A language with the settings of the rows: a default domain "d" and the null path in the first.
struct Language {
    const char* name;
    int (*parse)(AddressList& list, const char* text); // below 0: refused
};

const Language Languages[] = {
    {"postdock",
     [](AddressList& list, const char* text) { return list.parsePostdock(text, 0, "d", true); }},
    {"rfc2822", [](AddressList& list, const char* text) { return list.parse2822(text, true); }},
    {"webmail", [](AddressList& list, const char* text) { return list.parseWebmail(text); }},
};

// The list that a text gives, or "refused".
std::string parsed(AddressList& list, const Language& language, const std::string& text) {
    return language.parse(list, text.c_str()) < 0 ? "refused" : dump(list);
}

struct Row {
    const char* text;
    const char* result;
};

std::string resultOf(const char* result) {
    return result != nullptr ? result : "refused";
}

// The same in all three languages, and the texts that none of them takes.
const Row CommonRows[] = {
    {"a@b", "- <a@b>"},
    {"!#$%&'*+-/=?^_`{|}~@x", "- <!#$%&'*+-/=?^_`{|}~@x>"},
    {"a@[1.2.3.4]", "- <a@[1.2.3.4]>"},
    {"<a@b>", "- <a@b>"},
    {"John Q. Public <a@b>", "John Q. Public <a@b>"},
    {"a. <c@d>", "a. <c@d>"},
    {"=?iso-8859-1?Q?J=F6rg?= <a@b>", "J\303\266rg <a@b>"},
};

const char* const CommonRefused[] = {
    "",       "  ",        "(x)",    "\n",          "a@b\rc",     "a@b c@d",    "First Last",
    "a@",     "@b",        ".a@b",   "a.@b",        "a..b@c",     "a@.b",       "a@b.",
    "a@b..c", "a@\"b\"",   "a@b@c",  "<a@b",        "a@b>",       "<<a@b>>",    "<a@b> c",
    "a@b )",  "(unclosed", "(x",     "(x\\",        "\"unclosed", "\"a\rb\"@c", "a@[1.2",
    "a@[[]",  "a@[1]b",    "g: a@b", "g: h: a@b;;", "a@b: c@d;",  ": a@b;",     "a\001@b"};

// The RFC 2822 family: the rows of the command line, and of headers where these differ; null where
// a text is refused.
const char* const Same = "same";

struct FamilyRow {
    const char* text;
    const char* postdock;
    const char* rfc2822 = Same;
};

const FamilyRow FamilyRows[] = {
    // Bare names, addr-specs, comments and white space.
    {"john", "- <john@d>", "- <john>"},
    {"a.b.c", "- <a.b.c@d>", "- <a.b.c>"},
    {"\"a b\"", "- <\"a b\"@d>", "- <\"a b\">"},
    {" \t a@b \r\n ", "- <a@b>"},
    {"(comment) a (x) @ (y) b (z)", "- <a@b>"},
    {"a@b (\\) \\( [\"<)", "- <a@b>"},
    {"a@b\n", "- <a@b>"},
    // Quoted strings and domain literals.
    {"\"a   b\"@c", "- <\"a b\"@c>"},
    {"\"a\tb\"@c", "- <\"a b\"@c>"},
    {"\" a \r\n b \"@c", "- <\" a b \"@c>"},
    {"\"a\nb\"@c", "- <\"ab\"@c>"},
    {"\"a\\\"b\\@\"@c", "- <\"a\\\"b\\@\"@c>"},
    {"\"a\".b.\"c d\"@e", "- <\"a\".b.\"c d\"@e>"},
    {"a@[]", "- <a@[]>"},
    {"a@[ x  y ]", "- <a@[xy]>"},
    {"a@[\\]]", "- <a@[\\]]>"},
    // Angle addresses, display names, routes.
    {"<john>", "- <john@d>", "- <john>"},
    {"\"Name, Jr.\" <user>", "Name, Jr. <user@d>", "Name, Jr. <user>"},
    {"a.b . c d. <c@d>", "a.b . c d. <c@d>"},
    {"A(x)B <c@d>", "A B <c@d>"},
    {"<@r1,@r2:a@b>", "- <a@b>"},
    {"<@r1,,@[r 2] , (x) @r.3 : (y) a@b>", "- <a@b>"},
    // The null address.
    {"<>", "- <<>>", nullptr},
    {"Name <> ", "Name <<>>", nullptr},
    {"g: <>, n <>;", "g[- <<>>, n <<>>]", nullptr},
    // Groups and lists.
    {"g: a@b;", "g[- <a@b>]"},
    {"g:;", "g[]"},
    {"\"my group\" : (x) ; (y)", "my group[]"},
    {"g: ,a@b,,N <c@d>, ,;, x", "g[- <a@b>, N <c@d>]; - <x@d>", "g[- <a@b>, N <c@d>]; - <x>"},
    {",", ""},
    {"a@b,N <c@d> , g:h@i;,j", "- <a@b>; N <c@d>; g[- <h@i>]; - <j@d>",
     "- <a@b>; N <c@d>; g[- <h@i>]; - <j>"},
    {"\"\001\"@[\177]", "- <\"\001\"@[\177]>"},

};

const char* const FamilyRefused[] = {
    "a\nb@c",        "<@r1,:a@b>",     "<,@r1:a@b>",     "( x ) < (y) >",    "a@b\r\n",
    "j\303\266rg@b", "(\303\266) a@b", "\"\303\266\"@b", "\"\\\303\266\"@b", "a@[\303\266]"};

const Row WebmailRows[] = {
    // Separators; those in front of a first address and blanks behind a last one are too much.
    {"a@b, c@d; e@f", "- <a@b>; - <c@d>; - <e@f>"},
    {"a@b\nc@d\r\n\t ;,, e@f ;\r\n", "- <a@b>; - <c@d>; - <e@f>"},
    // Display names.
    {"John  Doe <a@b>", "John  Doe <a@b>"},
    {"John Doe\t<a@b>", "John Doe <a@b>"},
    {"Doe, John <a@b>,x@y", "Doe, John <a@b>; - <x@y>"},
    {"x@y, Doe ;,\n John<a@b>", "- <x@y>; Doe ;,\n John <a@b>"},
    {"\"Doe, John\" <a@b>", "Doe, John <a@b>"},
    {"\"a\\\"b\\\\c\\|\"<a@b>", "a\"b\\c| <a@b>"},
    {"\" a \t b \"<a@b>", " a \t b  <a@b>"},
    {"\"a\nb\\\nc\" <a@b>", "ab\nc <a@b>"},
    {"\"\" <a@b>", " <a@b>"},
    {"a\"b c\"d <a@b>", "ab cd <a@b>"},
    {"\"a\" \t b <a@b>", "a b <a@b>"},
    {"(J. {x|y} ~^) <a@b>", "(J. {x|y} ~^) <a@b>"},
    {"\303\251 <a@b>", "\303\251 <a@b>"},
    {"\351 <a@b>", "\303\251 <a@b>"},
    {"<x@y> <a@b>", "x@y <a@b>"},
    {"<x@y><a@b>,<c@d>", "x@y <a@b>; - <c@d>"},
    {"<x@y>,<a@b>", "- <x@y>; - <a@b>"},
    // Encoded words, quotes within them dropped.
    {"=?utf-8?Q?a_b?= <a@b>", "a b <a@b>"},
    {"=?utf-8?q?a?=\t=?utf-8?b?Yg==?=<a@b>", "ab <a@b>"},
    {"=?utf-8?Q?a\"?=\"b?= <a@b>", "ab?= <a@b>"},
    {"=?utf-8?Q?a?\"\\b\"c\"d\"?= <a@b>", "a?bcd <a@b>"},
    {"=?utf-8?Q?a?\?= <a@b>", "a? <a@b>"},
    {"=?utf-8?Q?a@b", "- <=?utf-8?Q?a@b>"},
    // A text that ends within a quoted string or an encoded word ends before it.
    {"a@b,\"N. <c@d>", "- <a@b>"},
    {"a@b,=?utf-8?Q?c <c@d>", "- <a@b>"},
    // Addresses. The longest match decides.
    {"a.b@c.d", "- <a.b@c.d>"},
    {"a?b@c?d", "- <a?b@c?d>"},
    {"a@[IPv6:::1]", "- <a@[IPv6:::1]>"},
    {"a@[IPv6:::]", "- <a@[IPv6:::]>"},
    {"a@[ipV6:1:2:3:4:5:6:7:89aF]", "- <a@[ipV6:1:2:3:4:5:6:7:89aF]>"},
};

const char* const WebmailRefused[] = {"a@b,\r",
                                      ",a@b",
                                      " a@b",
                                      "a@b ",
                                      "<a@b> ",
                                      "< a@b>",
                                      "Doe, <a@b>",
                                      "\"a|b\" <c@d>",
                                      "\"a}b\" <c@d>",
                                      "\"a\\",
                                      "a? <a@b>",
                                      "<John> <a@b>",
                                      "N <a@b> <c@d>",
                                      "<x@y> <a@b> <c@d>",
                                      "=?utf-8?Q?a\"|\"?= <a@b>",
                                      "=?utf-8?X?a?= <a@b>",
                                      "=?utf-8?Q?a?",
                                      "=?utf-8?Q?a@b?= <a@b>",
                                      "N \"M <a@b>",
                                      "a b@c",
                                      "a.b <a.b@c.>",
                                      "\"a b\"@c",
                                      "\303\251@b",
                                      "a@\303\251",
                                      "a@[1.2.3]",
                                      "a@[1.2.3.4444]",
                                      "a@[IPv6:1::2::3]",
                                      "a@[IPv6:12345::]"};

TEST(AddressGrammars, rows) {
    AddressList list;
    const auto check = [&list](const Language& language, const char* text, const char* result) {
        EXPECT_EQ(parsed(list, language, text), resultOf(result)) << language.name << ": " << text;
    };
    const auto refuse = [&](const Language& language, std::span<const char* const> texts) {
        for (const char* text : texts) {
            check(language, text, nullptr);
        }
    };
    const auto& [postdock, rfc2822, webmail] = Languages;
    for (const Language& language : Languages) {
        for (const Row& row : CommonRows) {
            check(language, row.text, row.result);
        }
        refuse(language, CommonRefused);
        refuse(language, &language == &webmail ? std::span<const char* const>(WebmailRefused)
                                               : FamilyRefused);
    }
    for (const FamilyRow& row : FamilyRows) {
        check(postdock, row.text, row.postdock);
        check(rfc2822, row.text, row.rfc2822 == Same ? row.postdock : row.rfc2822);
    }
    for (const Row& row : WebmailRows) {
        check(webmail, row.text, row.result);
    }
}

std::string repeated(const std::string& piece, int count) {
    std::string text;
    text.reserve(piece.size() * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

// Eight groups, an IPv4 tail counting as two; fewer where "::" stands for two at least.
TEST(AddressGrammars, takeIPv6LiteralsOf128Bits) {
    AddressList list;
    for (int i = 0; i < 9 * 9 * 2 * 2; ++i) {
        const int before = i % 9;
        const int behind = i / 9 % 9;
        const bool gap = i / 81 % 2 != 0;
        const bool tail = i / 162 != 0;
        std::string text = "a@[IPv6:" + repeated("aF:", before);
        text += !gap ? "" : before > 0 ? ":" : "::";
        text += repeated("aF:", behind) + (tail ? "1.2.3.4" : "");
        const int count = before + behind + (tail ? 2 : 0);
        if (text.ends_with(':') && !(gap && behind == 0)) {
            text.pop_back();
        }
        EXPECT_EQ(list.parseWebmail((text + "]").c_str()), (gap ? count <= 6 : count == 8) ? 0 : -1)
            << text;
    }
}

// One list serves all three in turn, whatever a parse before left off at.
TEST(AddressGrammars, keepWhatWasCompleteAndStartAfresh) {
    const struct {
        const char* text;
        const char* header; // behind the entry that stands there already
        const char* form;
    } rows[] = {
        {"a@b, \"c", "- <x@y>; - <a@b>", "- <a@b>"},
        {"a@b; (c@d", "- <x@y>; - <a@b>", "- <a@b>"},
        {"g: a@b, N <c@d>;, e@f [", "- <x@y>; g[- <a@b>, N <c@d>]; - <e@f>", ""},
        {"g: a@b, <c@d>", "- <x@y>", ""},
        {"john )", "- <x@y>; - <john>", ""},
        {"<a@b> c", "- <x@y>; - <a@b>", ""},
        {"a@b )", "- <x@y>; - <a@b>", "- <a@b>"},
        {"a@b, =?u?q?\"\r", "- <x@y>; - <a@b>", "- <a@b>"},
    };
    AddressList list;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(list.parsePostdock("a@b (", 0, nullptr, false), -1);
        EXPECT_EQ(list.parse2822("x@y", true), 0);
        EXPECT_EQ(list.parse2822(row.text, false), -1);
        EXPECT_EQ(dump(list), row.header);
        list.parseWebmail(row.text);
        EXPECT_EQ(dump(list), row.form);
        EXPECT_EQ(parsed(list, Languages[2], "N <a@b>"), "N <a@b>");
    }
    EXPECT_EQ(list.parse2822("c@d, e@f", false), 0);
    EXPECT_EQ(list.parse2822(nullptr, false), -1);
    EXPECT_EQ(dump(list), "N <a@b>; - <c@d>; - <e@f>");
    EXPECT_EQ(list.parse2822(nullptr, true), -1);
    EXPECT_EQ(dump(list), "");
    EXPECT_EQ(list.parseWebmail("a@b"), 0);
    EXPECT_EQ(list.parseWebmail(nullptr), -1);
    EXPECT_EQ(dump(list), "");
}

TEST(AddressGrammars, twoThreadsParseTheirOwnLists) {
    const auto work = [](const Language& language, int* wrong) {
        AddressList list;
        AddressList other;
        for (int i = 0; i < 300; ++i) {
            for (const Row& row : CommonRows) {
                *wrong += parsed(list, language, row.text) != resultOf(row.result);
                *wrong += parsed(other, language, "a@b, \"n <a@b>\r\\") != "refused";
            }
        }
    };
    for (const Language& language : Languages) {
        int wrong[2] = {0, 0};
        std::thread first(work, language, &wrong[0]);
        std::thread second(work, Languages[2], &wrong[1]);
        first.join();
        second.join();
        EXPECT_EQ(wrong[0] + wrong[1], 0) << language.name;
    }
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
    {"x@y, g: a@b, c@d, e@f; )", 2, 2, "- <x@y>; g[- <a@b>]"},
    {"g:;, a@b )", 1, 1, "- <a@b>"},
    {"a@b )", 2, -1, "- <a@b>"},
    {"g: a@b", 1, -1, ""},
};

TEST(PostdockGrammar, stopsAtTheLimit) {
    AddressList list;
    EXPECT_EQ(list.parsePostdock(nullptr, 0, "d", true), -1);
    EXPECT_EQ(list.parsePostdock("a@b", -1, "d", true), -1);
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

TEST(AddressGrammars, agreeWithThePlainReaderOnRandomText) {
    std::mt19937_64 random = support::seededRandom("AddressGrammars");
    AddressList list;
    int accepted = 0;
    for (int i = 0; i < 60000; ++i) {
        const std::string text = randomAddresses(random);
        const char* domain = support::below(random, 4) != 0 ? "dom" : nullptr;
        const bool nullPath = support::below(random, 2) == 0;
        const auto header = reference::parse(text, "", false);
        ASSERT_EQ(parsed(list, Languages[1], text), header ? dump(*header) : "refused") << text;
        const auto expected = reference::parse(text, domain, nullPath);
        const int count = list.parsePostdock(text.c_str(), 0, domain, nullPath);
        ASSERT_EQ(count >= 0, expected.has_value()) << text;
        // Nothing is plain behind a comment, and yet all is the same, also what a refusal leaves.
        const std::string left = dump(list);
        ASSERT_EQ(list.parsePostdock(("()" + text).c_str(), 0, domain, nullPath), count) << text;
        ASSERT_EQ(dump(list), left) << text;
        if (!expected) {
            continue;
        }
        ++accepted;
        ASSERT_EQ(dump(list), dump(*expected)) << text;
        // With a limit, the same mailboxes up to it.
        const int limit = 1 + static_cast<int>(support::below(random, 3));
        ASSERT_EQ(list.parsePostdock(text.c_str(), limit, domain, nullPath), std::min(limit, count))
            << text;
        support::Entries cut;
        int places = limit;
        for (const support::Entry& entry : *expected) {
            support::Entry kept = entry;
            const std::size_t fits =
                std::min(entry.mailboxes.size(), static_cast<std::size_t>(places));
            kept.mailboxes.resize(fits);
            places -= static_cast<int>(fits);
            if (fits > 0) {
                cut.push_back(kept);
            }
        }
        ASSERT_EQ(dump(list), dump(cut)) << text << " limit " << limit;
    }
    EXPECT_GT(accepted, 2000);
}

// Each text takes minutes, or all memory, if its cost is more than in proportion to its length. The
// pool holds a string for each place of the parser's stack and not for each token.
TEST(AddressGrammars, hostileTextCostsNoMoreThanItsLength) {
    constexpr int Many = 100000;
    struct Case {
        std::string text;
        int result; // of the postdock parser its count
    };
    const Case rows[] = {
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
    const Case forms[] = {
        {repeated("a@b, ;\r\n", Many), 0},
        {repeated("a ", Many) + "<x@y>", 0},
        {repeated("\"a\" ", Many) + "<x@y>", 0},
        {repeated("\"a\",", Many) + "a<x@y>", 0},
        {repeated("a,", Many), -1},
        {"a" + repeated(" ", Many) + "<x@y>", 0},
        {"a" + repeated(" ", Many), -1},
        {repeated("a.", Many) + "a", -1},
        {repeated("a.", Many) + "a@" + repeated("b.", Many) + "b", 0},
        {"\"" + repeated("\\\" ", Many) + "\" <x@y>", 0},
        {"=?x?Q?" + repeated("?", Many) + "\"" + repeated("a ", Many) + "\"?= <x@y>", 0},
        {repeated("=?x?Q?a?= ", Many) + "<x@y>", 0},
        {repeated("=?a@b,", Many) + "a@b", 0},
        {repeated("a?", Many), -1},
        {repeated("<a@b>,<c@d> <e@f>,n<a@b>,\"n\" <a@b>,n \"m\",o <a@b>,", Many / 10), 0},
    };
    AddressList list;
    AddrPostdockFlexer postdock(&list);
    Addr2822Flexer rfc2822(&list);
    AddrWebmailFlexer webmail(&list);
    const auto check = [&list](StringPool& pool, int result, int expected) {
        EXPECT_EQ(result, expected);
        EXPECT_EQ(pool.getCapacity(), 64);
        EXPECT_EQ(pool.getUsed(), 0);
        list.addresses->clear();
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 20));
        check(postdock.getPool(), postdock.parse(row.text.c_str(), 0, "d", true), row.result);
        // Without the null address the last row is refused at its start.
        const bool refused = row.result < 0 || row.text.starts_with("<>");
        check(rfc2822.getPool(), rfc2822.parse(row.text.c_str()), refused ? -1 : 0);
    }
    // Under a limit, groups that hold nothing stay pending until the end.
    const std::string emptyGroups = repeated("g:;,h: ,;,", Many) + "i: a@b, c@d; )";
    check(postdock.getPool(), postdock.parse(emptyGroups.c_str(), 1, nullptr, false), 1);
    for (const auto& row : forms) {
        SCOPED_TRACE(row.text.substr(0, 20));
        check(webmail.getPool(), webmail.parse(row.text.c_str()), row.result);
    }
}

} // namespace
