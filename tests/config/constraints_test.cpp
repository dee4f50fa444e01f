// What each constraint takes and refuses, and what each default starts an attribute with.

#include "common/error.h"
#include "config/calendar.h"
#include "config/constraint.h"
#include "config/mail_search.h"
#include "tests/config/test_schema.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace HConfig;
using namespace testschema;

namespace {

class ConstraintsTest : public ConfigTest {
protected:
    static std::unique_ptr<Constraint> constraint(unsigned id,
                                                  std::vector<ConstraintParamValue> params = {}) {
        static std::vector<std::vector<ConstraintParamValue>> kept;
        kept.push_back(std::move(params));
        return std::unique_ptr<Constraint>(
            ConstraintFactory::getFactory(id)->getConstraint(kept.back().data()));
    }
    // Whether a constraint takes a text, which it may correct.
    bool takes(const Constraint& constraint, std::string text) {
        const bool answer = constraint.isValueCorrect(&attribute(ROOT, TYPE_STRING), nullptr,
                                                      Value(static_cast<const void*>(&text[0])));
        corrected = text;
        return answer;
    }

    std::string corrected;
};

TEST_F(ConstraintsTest, UintInterval) {
    const struct {
        unsigned maxValue, minValue;
        bool allowZero, allowInfinite;
        std::vector<unsigned> taken, refused;
    } rows[] = {
        {31, 0, true, false, {0, 31}, {32, 0xFFFFFFFF}},
        {2592000, 600, true, false, {0, 600, 2592000}, {1, 599, 2592001}},
        {256, 1, false, false, {1, 256}, {0, 257}},
        {512, 0, true, true, {512, 0xFFFFFFFF}, {513, 0xFFFFFFFE}},
    };
    for (const auto& row : rows) {
        const auto tested =
            constraint(CONSTRAINT_UINT_INTERVAL,
                       {row.maxValue, row.minValue, row.allowZero, row.allowInfinite});
        for (const unsigned value : row.taken) {
            EXPECT_TRUE(tested->isValueCorrect(nullptr, nullptr, Value(value))) << value;
        }
        for (const unsigned value : row.refused) {
            EXPECT_FALSE(tested->isValueCorrect(nullptr, nullptr, Value(value))) << value;
        }
    }
}

TEST_F(ConstraintsTest, Texts) {
    const std::string name64(64, 'n');
    const auto length = constraint(CONSTRAINT_STRING_LENGTH, {64, 2});
    const auto email = constraint(CONSTRAINT_EMAIL_ADDRESS, {false});
    const auto emailOrNone = constraint(CONSTRAINT_EMAIL_ADDRESS, {true});
    const auto path = constraint(CONSTRAINT_PATH);
    const auto mbox = constraint(CONSTRAINT_MBOX_PATH, {false});
    const auto mboxOrAll = constraint(CONSTRAINT_MBOX_PATH, {true});
    const auto domain = constraint(CONSTRAINT_DOMAIN_NAME);
    const auto rcpt = constraint(CONSTRAINT_RCPT_NAME);
    const auto userRcpt = constraint(CONSTRAINT_USER_RCPT_NAME);
    const auto name = constraint(CONSTRAINT_OBJECT_NAME, {64, 2, false});
    const auto nameOrNone = constraint(CONSTRAINT_OBJECT_NAME, {64, 2, true});
    const auto search = constraint(CONSTRAINT_SEARCH_CONDITION, {false});
    const auto searchOrNone = constraint(CONSTRAINT_SEARCH_CONDITION, {true});
    const struct {
        const Constraint* constraint;
        std::string text;
        bool isTaken;
    } rows[] = {
        {length.get(), name64, true},
        {length.get(), name64 + "n", false},
        {length.get(), "n", false},
        {email.get(), "a@b", true},
        {email.get(), "", false},
        {email.get(), "ab", false},
        {emailOrNone.get(), "", true},
        {emailOrNone.get(), "ab", false},
        {path.get(), "\"/quoted\"", false},
        {path.get(), "'/quoted'", false},
        {path.get(), "/abs/../path", true},
        {path.get(), "c:\\path", true},
        {path.get(), "NoNe", true},
        {path.get(), "queue", true},
        {mbox.get(), "Sent", true},
        {mbox.get(), "*", false},
        {mbox.get(), "", false},
        {mbox.get(), "a&-b", true},
        {mbox.get(), "%x", false},
        {mboxOrAll.get(), "*", true},
        {mboxOrAll.get(), "a*", false},
        {domain.get(), "example.org", true},
        {domain.get(), "exa mple.org", false},
        {rcpt.get(), "postmaster", true},
        {rcpt.get(), "post master", false},
        {rcpt.get(), std::string(256, 'a'), true},
        {rcpt.get(), std::string(257, 'a'), false},
        {userRcpt.get(), "someone", false}, // there is no object
        {name.get(), "nm", true},
        {name.get(), "n", false},
        {name.get(), name64 + "n", false},
        {name.get(), "(none)", false},
        {nameOrNone.get(), "(none)", true},
        {nameOrNone.get(), "(NONE)", false},
        {search.get(), "BEFORE 2w", true},
        {search.get(), "(SUBJECT \"a (b\") BEFORE 2w", true},
        {search.get(), "", false},
        {search.get(), "  ", false},
        {search.get(), "(BEFORE 2w", false},
        {search.get(), "BEFORE 2w)", false},
        {search.get(), "()", false},
        {search.get(), "SUBJECT \"a", false},
        {searchOrNone.get(), "", true},
        {searchOrNone.get(), "(", false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(takes(*row.constraint, row.text), row.isTaken)
            << row.constraint->getConstraintDesc().name << " '" << row.text << "'";
        EXPECT_EQ(corrected, row.text) << "a check changes nothing";
    }
    for (const Constraint* one : {email.get(), path.get(), mbox.get(), domain.get(), rcpt.get(),
                                  name.get(), search.get()}) {
        EXPECT_FALSE(one->isValueCorrect(&attribute(ROOT, TYPE_STRING), nullptr, Value()))
            << one->getConstraintDesc().name << " takes no text at all";
    }
    EXPECT_FALSE(length->isValueCorrect(&attribute(ROOT, TYPE_INT), nullptr, Value(3)));
    Value binary;
    const Attribute& binaryAttribute = attribute(ROOT, TYPE_BINARY_STRING);
    binaryAttribute.getHandler().opToValue("AAAA", binary, nullptr); // three zero bytes
    EXPECT_TRUE(length->isValueCorrect(&binaryAttribute, nullptr, binary));
    binaryAttribute.getHandler().opDestroy(binary);
}

TEST_F(ConstraintsTest, TimeZonesAreCorrected) {
    const auto zone = constraint(CONSTRAINT_TIME_ZONE);
    const auto transform = constraint(CONSTRAINT_TIME_ZONE_TRANSFORM);
    const struct {
        const Constraint* constraint;
        const char* text;
        bool isTaken;
        const char* corrected;
    } rows[] = {
        {zone.get(), "GMT", true, "GMT"},
        {zone.get(), "gmt", true, "GMT"},
        {zone.get(), "europe/vienna", true, "Europe/Vienna"},
        {zone.get(), "gmt-14", true, "gmt+14"},
        {zone.get(), "GMT-13", true, "GMT+13"},
        {zone.get(), "gmt-12", true, "GMT-12"},
        {zone.get(), "GMT-15", false, "GMT-15"},
        {zone.get(), "", false, ""},
        {zone.get(), "Nowhere", false, "Nowhere"},
        {transform.get(), "Gmt-13", true, "Gmt+13"},
        {transform.get(), "Nowhere", true, "Nowhere"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(takes(*row.constraint, row.text), row.isTaken) << row.text;
        EXPECT_EQ(corrected, row.corrected);
    }
    for (unsigned i = 0; i < Calendar::timezoneDataSize; ++i) {
        EXPECT_TRUE(takes(*zone, Calendar::timezoneNames[i]));
        EXPECT_EQ(corrected, Calendar::timezoneNames[i]) << "listed twice in different forms";
    }
}

TEST_F(ConstraintsTest, NamesOfADomainAreHeldApart) {
    const auto domain = make(DOMAIN_ROW);
    ASSERT_EQ(domain->setStringValue(0, "example.org"), 0);
    EXPECT_EQ(domain->addStringValue(1, "EXAMPLE.org"), -1);
    EXPECT_EQ(lastError(), HE_CFG_INVALID_VALUE);
    ASSERT_EQ(domain->addStringValue(1, "other.org"), 0);
    EXPECT_EQ(domain->setStringValue(0, "Other.ORG"), -1);
    EXPECT_STREQ(domain->getValue(0).asText(), "example.org") << "a refused value leaves the old";
    EXPECT_EQ(domain->setStringValue(2, "third.org"), -1) << "no place for a domain name";
    const auto root = make(ROOT);
    EXPECT_TRUE(attribute(DOMAIN_ROW, 2).isValueCorrect(root.get(), text("third.org")));
}

TEST_F(ConstraintsTest, NamesOfAUserAreHeldApart) {
    const auto user = make(USER);
    ASSERT_EQ(user->setStringValue(0, "someone"), 0);
    EXPECT_EQ(user->addStringValue(1, "SomeOne"), -1);
    EXPECT_EQ(user->addStringValue(1, "another"), 0);
    EXPECT_EQ(user->setStringValue(0, "Another"), -1);
    EXPECT_EQ(user->setStringValue(2, "third"), -1);
    const auto root = make(ROOT);
    EXPECT_FALSE(attribute(USER, 0).isValueCorrect(root.get(), text("someone")));
}

TEST_F(ConstraintsTest, NamesOfAMaillistAreHeldApart) {
    const auto list = make(MAILLIST);
    ASSERT_EQ(list->setStringValue(0, "list"), 0);
    ASSERT_EQ(list->setStringValue(14, "list-subscribe"), 0);
    EXPECT_EQ(list->setStringValue(16, "LIST-subscribe"), -1);
    EXPECT_EQ(list->setStringValue(0, "List-Subscribe"), -1);
    EXPECT_EQ(list->setStringValue(14, "list-subscribe"), 0) << "equal to itself";
    EXPECT_EQ(list->setStringValue(13, "elsewhere"), -1);
    EXPECT_EQ(list->setStringValue(15, std::string(200, 'a').c_str()), 0);
    EXPECT_EQ(list->setStringValue(15, std::string(201, 'a').c_str()), -1);
}

TEST_F(ConstraintsTest, ParametersPrintByName) {
    const auto root = make(ROOT);
    char buffer[16] = "as before";
    root->getAttributeConstraintParam(LIMITED, "other", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "as before");
    root->getAttributeConstraintParam(TYPE_INT, "maxValue", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "as before");
    root->getAttributeConstraintParam(LIMITED, "maxValue", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "10");
    root->getAttributeConstraintParam(LIMITED, "allowZero", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "false");
    root->getAttributeConstraintParam(SHORT_TEXT, "maxLength", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "4");
    const auto name = constraint(CONSTRAINT_OBJECT_NAME, {64, 2, true});
    name->getParamValue("allowNone", buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "true");
}

TEST_F(ConstraintsTest, TheServerMayBringItsSearchLanguage) {
    const auto search = constraint(CONSTRAINT_SEARCH_CONDITION, {false});
    MailSearch::parser = [](Stream*) -> SearchList* { return nullptr; };
    EXPECT_FALSE(takes(*search, "BEFORE 2w"));
    MailSearch::parser = [](Stream*) { return new SearchList; };
    EXPECT_TRUE(takes(*search, "((("));
    MailSearch::parser = nullptr;
}

TEST_F(ConstraintsTest, DefaultsWriteTypedConstants) {
    const auto root = make(ROOT);
    ASSERT_EQ(root->setToDefault(true), 0);
    char buffer[64];
    root->getStringValue(ADDRESS, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "127.0.0.1:2000");
    root->getStringValue(TYPE_TIME, buffer, sizeof buffer);
    EXPECT_STREQ(buffer, "\"12:30:00\"");
    EXPECT_EQ(root->getValue(LIMITED).asUnsigned(), 7u);
    EXPECT_EQ(root->getValue(REFUSED_DEFAULT).asUnsigned(), 0u) << "refused by its constraint";
    EXPECT_STREQ(root->getValue(SERVER_DEFAULT).asText(), "") << "described, but without a class";
    StringResult folders;
    ASSERT_EQ(root->listStringValues(FOLDERS, folders), 3u);
    EXPECT_STREQ(folders.get(0), "Deleted Items");
    EXPECT_STREQ(folders.get(1), "Spam");
    EXPECT_STREQ(folders.get(2), "Trash");
}

} // namespace
