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
    using Texts = std::vector<std::string>;
    const std::string name64(64, 'n');
    const struct {
        unsigned id;
        std::vector<ConstraintParamValue> params;
        Texts taken, refused;
    } rows[] = {
        {CONSTRAINT_STRING_LENGTH, {64, 2}, {name64}, {name64 + "n", "n"}},
        {CONSTRAINT_EMAIL_ADDRESS, {false}, {"a@b"}, {"", "ab"}},
        {CONSTRAINT_EMAIL_ADDRESS, {true}, {""}, {"ab"}},
        {CONSTRAINT_PATH,
         {},
         {"/abs/../path", "c:\\path", "NoNe", "queue"},
         {"\"/quoted\"", "'/quoted'"}},
        {CONSTRAINT_MBOX_PATH, {false}, {"Sent", "a&-b"}, {"*", "", "%x"}},
        {CONSTRAINT_MBOX_PATH, {true}, {"*"}, {"a*"}},
        {CONSTRAINT_DOMAIN_NAME, {}, {"example.org"}, {"exa mple.org"}},
        {CONSTRAINT_RCPT_NAME,
         {},
         {"postmaster", std::string(256, 'a')},
         {"post master", std::string(257, 'a')}},
        {CONSTRAINT_USER_RCPT_NAME, {}, {}, {"someone"}}, // there is no object
        {CONSTRAINT_OBJECT_NAME, {64, 2, false}, {"nm"}, {"n", name64 + "n", "(none)"}},
        {CONSTRAINT_OBJECT_NAME, {64, 2, true}, {"(none)"}, {"(NONE)"}},
        {CONSTRAINT_SEARCH_CONDITION,
         {false},
         {"BEFORE 2w", "(SUBJECT \"a (b\") BEFORE 2w"},
         {"", "  ", "(BEFORE 2w", "BEFORE 2w)", "()", "SUBJECT \"a"}},
        {CONSTRAINT_SEARCH_CONDITION, {true}, {""}, {"("}},
    };
    for (const auto& row : rows) {
        const auto tested = constraint(row.id, row.params);
        SCOPED_TRACE(tested->getConstraintDesc().name);
        for (const std::string& text : row.taken) {
            EXPECT_TRUE(takes(*tested, text)) << text;
            EXPECT_EQ(corrected, text) << "a check changes nothing";
        }
        for (const std::string& text : row.refused) {
            EXPECT_FALSE(takes(*tested, text)) << text;
            EXPECT_EQ(corrected, text) << "a check changes nothing";
        }
        EXPECT_TRUE(row.id == CONSTRAINT_STRING_LENGTH || row.taken == Texts{""} ||
                    !tested->isValueCorrect(&attribute(ROOT, TYPE_STRING), nullptr, Value()))
            << "no text at all";
    }
    const auto length = constraint(CONSTRAINT_STRING_LENGTH, {64, 2});
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
        const char* corrected; // null where it is refused as it stands
    } rows[] = {
        {zone.get(), "GMT", "GMT"},
        {zone.get(), "gmt", "GMT"},
        {zone.get(), "europe/vienna", "Europe/Vienna"},
        {zone.get(), "gmt-14", "gmt+14"},
        {zone.get(), "GMT-13", "GMT+13"},
        {zone.get(), "gmt-12", "GMT-12"},
        {zone.get(), "GMT-15", nullptr},
        {zone.get(), "", nullptr},
        {zone.get(), "Nowhere", nullptr},
        {transform.get(), "Gmt-13", "Gmt+13"},
        {transform.get(), "Nowhere", "Nowhere"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(takes(*row.constraint, row.text), row.corrected != nullptr) << row.text;
        EXPECT_EQ(corrected, row.corrected != nullptr ? row.corrected : row.text);
    }
    for (unsigned i = 0; i < Calendar::timezoneDataSize; ++i) {
        EXPECT_TRUE(takes(*zone, Calendar::timezoneNames[i]));
        EXPECT_EQ(corrected, Calendar::timezoneNames[i]) << "listed twice in different forms";
    }
}

TEST_F(ConstraintsTest, NamesOfOneObjectAreHeldApart) {
    const std::unique_ptr<Object> objects[] = {make(DOMAIN_ROW), make(USER), make(MAILLIST)};
    enum { OF_DOMAIN, OF_USER, OF_LIST };
    const struct {
        unsigned object, attribute;
        std::string name;
        bool isTaken;
    } rows[] = {
        {OF_DOMAIN, 0, "example.org", true},
        {OF_DOMAIN, 1, "EXAMPLE.org", false},
        {OF_DOMAIN, 1, "other.org", true},
        {OF_DOMAIN, 0, "Other.ORG", false},
        {OF_DOMAIN, 2, "third.org", false}, // no place for a domain name
        {OF_USER, 0, "someone", true},
        {OF_USER, 1, "SomeOne", false},
        {OF_USER, 1, "another", true},
        {OF_USER, 0, "Another", false},
        {OF_USER, 2, "third", false},
        {OF_LIST, 0, "list", true},
        {OF_LIST, 14, "list-subscribe", true},
        {OF_LIST, 16, "LIST-subscribe", false},
        {OF_LIST, 0, "List-Subscribe", false},
        {OF_LIST, 14, "list-subscribe", true}, // equal to itself
        {OF_LIST, 13, "elsewhere", false},
        {OF_LIST, 15, std::string(200, 'a'), true},
        {OF_LIST, 15, std::string(201, 'a'), false},
    };
    for (const auto& row : rows) {
        Object& object = *objects[row.object];
        const bool isSet =
            object.getObjectClass()->getAttribute(row.attribute)->getKind() == KIND_VALUE_SET;
        EXPECT_EQ(isSet ? object.addStringValue(row.attribute, row.name.c_str())
                        : object.setStringValue(row.attribute, row.name.c_str()),
                  row.isTaken ? 0 : -1)
            << row.name;
    }
    EXPECT_STREQ(objects[OF_DOMAIN]->getValue(0).asText(), "example.org");
    EXPECT_EQ(errorOf(objects[OF_DOMAIN]->addStringValue(1, "EXAMPLE.org")), HE_CFG_INVALID_VALUE);
    const auto root = make(ROOT);
    EXPECT_TRUE(attribute(DOMAIN_ROW, 2).isValueCorrect(root.get(), text("third.org")));
    EXPECT_FALSE(attribute(USER, 0).isValueCorrect(root.get(), text("someone")));
}

TEST_F(ConstraintsTest, ParametersPrintByName) {
    const auto root = make(ROOT);
    char buffer[16] = "";
    const struct {
        unsigned attribute;
        const char* name;
        const char* printed;
    } rows[] = {{LIMITED, "other", "as before"},
                {TYPE_INT, "maxValue", "as before"},
                {LIMITED, "maxValue", "10"},
                {LIMITED, "allowZero", "false"},
                {SHORT_TEXT, "maxLength", "4"}};
    for (const auto& row : rows) {
        std::strcpy(buffer, "as before");
        root->getAttributeConstraintParam(row.attribute, row.name, buffer, sizeof buffer);
        EXPECT_STREQ(buffer, row.printed);
    }
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
