// The twelve value types: text forms, copies, order; menus and binary strings.

#include "common/net/inet_addr.h"
#include "common/time/date_time.h"
#include "common/time/time_of_day.h"
#include "config/binary_string.h"
#include "config/menu.h"
#include "tests/config/test_schema.h"

#include <ctime>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace HConfig;
using namespace testschema;

namespace {

class ValuesTest : public ConfigTest {
protected:
    std::unique_ptr<Object> root = make(ROOT);

    const ValueHandler& handler(unsigned type) const {
        return Config::getValueType(type)->getHandler();
    }
    // The text form in a buffer of `size`, or "-1".
    std::string toString(unsigned type, const Value& value, int size = 64, bool escape = false) {
        std::string buffer(static_cast<std::size_t>(size) + 1, '#');
        const int result = handler(type).opToString(value, buffer.data(), size,
                                                    &attribute(ROOT, FIRST_VALUE + type), escape);
        EXPECT_EQ(buffer[static_cast<std::size_t>(size)], '#') << "written past the buffer";
        return result < 0 ? "-1" : buffer.c_str();
    }
    // Parses into a slot of the root and gives the text form back, or "-1".
    std::string roundTrip(unsigned type, const char* text) {
        Value slot;
        std::string printed = "-1";
        if (handler(type).opToValue(text, slot, &attribute(ROOT, FIRST_VALUE + type)) == 0) {
            printed = toString(type, slot);
        }
        handler(type).opDestroy(slot);
        EXPECT_TRUE(slot.isEmpty());
        return printed;
    }
};

TEST_F(ValuesTest, ParsesAndPrintsEachType) {
    using Texts = std::vector<const char*>;
    const struct {
        unsigned type;
        Texts asGiven, refused;
    } rows[] = {
        {TYPE_INT,
         {"-2147483648", "2147483647"},
         {"2147483648", "12x", "", "99999999999999999999"}},
        {TYPE_UNSIGNED_INT, {"4294967295"}, {"4294967296", "-1", "12x", ""}},
        {TYPE_CHOICE, {"yes"}, {"maybe", "(yes)"}},
        {TYPE_STRING, {"a\\b\"c"}, {}},
        {TYPE_CS_STRING, {""}, {}},
        {TYPE_INET_ADDR, {"10.0.0.255"}, {"10.0.0.256"}},
        {TYPE_INET_ADDR_SET, {"10.0.0.0/255.0.0.0"}, {"10.0.0.0"}},
        {TYPE_INET_SOCK_ADDR, {"255.255.255.255:65535"}, {"1.2.3.4"}},
        {TYPE_DATE_TIME, {}, {"tomorrow"}},
        {TYPE_TIME, {}, {"8:00"}},
        {TYPE_BINARY_STRING, {"YWJj", ""}, {"YW*j"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Config::getValueType(row.type)->getDesc().name);
        for (const char* text : row.asGiven) {
            EXPECT_EQ(roundTrip(row.type, text), text);
        }
        for (const char* text : row.refused) {
            EXPECT_EQ(roundTrip(row.type, text), "-1") << text;
        }
    }
    EXPECT_EQ(roundTrip(TYPE_UNSIGNED_INT, "010"), "10");
    EXPECT_EQ(roundTrip(TYPE_CHOICE, "YES"), "yes");
    EXPECT_EQ(roundTrip(TYPE_CHOICE_SET, "(smtp LOG)"), "(log smtpIncoming smtpOutgoing)");
    EXPECT_EQ(roundTrip(TYPE_STRING, nullptr), "");
    EXPECT_EQ(roundTrip(TYPE_INET_ADDR_SET, "10.0.0.0/8"), "10.0.0.0/255.0.0.0");
    EXPECT_EQ(roundTrip(TYPE_DATE_TIME, "Tue, 03 Nov 2026 10:11:12 +0100"),
              "\"Tue, 03 Nov 2026 10:11:12 +0100\"");
    EXPECT_EQ(roundTrip(TYPE_TIME, "08:00"), "\"08:00:00\"");
}

TEST_F(ValuesTest, PrintsOnlyWhatFits) {
    const struct {
        unsigned type;
        const char* text;
        int size; // the smallest that does
    } rows[] = {
        {TYPE_INT, "-12345", 7},
        {TYPE_UNSIGNED_INT, "12345", 6},
        {TYPE_CHOICE, "yes", 4},
        {TYPE_CHOICE_SET, "()", 3},
        {TYPE_CHOICE_SET, "(log)", 6},
        {TYPE_CHOICE_SET, "(log pop3)", 11},
        {TYPE_STRING, "four", 5},
        {TYPE_INET_ADDR, "1.2.3.4", 16},
        {TYPE_INET_ADDR_SET, "1.0.0.0/8", 32},
        {TYPE_INET_SOCK_ADDR, "1.2.3.4:5", 22},
        {TYPE_DATE_TIME, "03 Nov 2026", 34},
        {TYPE_TIME, "10:11", 11},
    };
    for (const auto& row : rows) {
        ASSERT_EQ(root->setStringValue(row.type, row.text), 0) << row.text;
        const Value& value = root->getValue(row.type);
        EXPECT_NE(toString(row.type, value, row.size), "-1") << row.text;
        EXPECT_EQ(toString(row.type, value, row.size - 1), "-1") << row.text;
    }
    for (unsigned type = 0; type < TYPE_COUNT; ++type) {
        toString(type, root->getValue(type), 0); // no room at all
        toString(type, Value(), 0, true);
    }
}

TEST_F(ValuesTest, EscapesForQuotedValues) {
    const struct {
        const char* text;
        const char* escaped;
    } rows[] = {
        {"plain", "plain"},   {"\"", "\\\""},       {"end\\", "end\\\\"},       {"\\n", "\\n"},
        {"\\\"", "\\\\\\\""}, {"\\\\", "\\\\\\\\"}, {"\\\\\\", "\\\\\\\\\\\\"}, {"", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(toString(TYPE_STRING, text(row.text), 64, true), row.escaped) << row.text;
        const int size = static_cast<int>(std::string(row.escaped).size());
        EXPECT_EQ(toString(TYPE_STRING, text(row.text), size, true), "-1") << row.text;
        EXPECT_EQ(toString(TYPE_STRING, text(row.text), size + 1, true), row.escaped) << row.text;
    }
    EXPECT_EQ(toString(TYPE_STRING, Value(), 1, true), "");
}

TEST_F(ValuesTest, ASlotIsSetFromItself) {
    const std::pair<unsigned, const char*> rows[] = {{TYPE_STRING, "text"},
                                                     {TYPE_INET_ADDR_SET, "1.0.0.0/255.0.0.0"},
                                                     {TYPE_BINARY_STRING, "YWJj"}};
    for (const auto& [type, text] : rows) {
        ASSERT_EQ(root->setStringValue(type, text), 0);
        ASSERT_EQ(root->setValue(type, root->getValue(type)), 0);
        EXPECT_EQ(toString(type, root->getValue(type)), text);
    }
}

TEST_F(ValuesTest, EmptyForms) {
    const char* const forms[] = {"0",        "0", "no", "()", "", "", "0.0.0.0", "0.0.0.0-0.0.0.0",
                                 "0.0.0.0:0"};
    for (unsigned type = 0; type <= TYPE_INET_SOCK_ADDR; ++type) {
        EXPECT_EQ(toString(type, root->getValue(type)), forms[type]) << type;
        EXPECT_EQ(toString(type, Value()), forms[type]) << "an empty slot: " << type;
    }
    EXPECT_NE(root->getValue(TYPE_STRING).asText(), nullptr) << "an empty text, not none";
    EXPECT_EQ(toString(TYPE_BINARY_STRING, root->getValue(TYPE_BINARY_STRING)), "");
    const unsigned long long now = static_cast<unsigned long long>(std::time(nullptr));
    const unsigned long long made = root->getValue(TYPE_DATE_TIME).as<DateTime>()->getUTC();
    EXPECT_LE(made, now);
    EXPECT_GE(made + 60, now) << "the moment of creation";
}

TEST_F(ValuesTest, OrdersValues) {
    const struct {
        unsigned type;
        const char* low;
        const char* high;
    } rows[] = {
        {TYPE_INT, "-2147483648", "2147483647"},
        {TYPE_UNSIGNED_INT, "1", "4294967295"},
        {TYPE_CS_STRING, "A", "a"},
        {TYPE_CS_STRING, "z", "\xC3"},
        {TYPE_STRING, "A", "b"},
        {TYPE_INET_ADDR, "9.0.0.1", "200.0.0.0"},
        {TYPE_INET_ADDR_SET, "1.0.0.0/8", "1.0.0.0/9"},
        {TYPE_INET_SOCK_ADDR, "1.2.3.4:80", "1.2.3.4:443"},
        {TYPE_TIME, "08:59", "09:00"},
        {TYPE_DATE_TIME, "03 Nov 2026 10:00:00 +0100", "03 Nov 2026 10:00:00 +0000"},
        {TYPE_BINARY_STRING, "YWI=", "YWJj"},
    };
    for (const auto& row : rows) {
        const auto other = make(ROOT);
        ASSERT_EQ(root->setStringValue(row.type, row.low), 0);
        ASSERT_EQ(other->setStringValue(row.type, row.high), 0);
        const Value& low = root->getValue(row.type);
        const Value& high = other->getValue(row.type);
        EXPECT_LT(handler(row.type).opCompare(low, high), 0) << row.low;
        EXPECT_GT(handler(row.type).opCompare(high, low), 0) << row.low;
    }
    EXPECT_EQ(handler(TYPE_STRING).opCompare(text("Same"), text("sAME")), 0);
}

TEST_F(ValuesTest, MenusReadNamesAndLists) {
    const Menu& services = *Menu::getMenu(1);
    const std::string tooLong = "(" + std::string(1024, 'x') + ")";
    unsigned value = 0;
    const std::pair<const char*, unsigned> good[] = {{"(log smtp)", 0xD}, {"smtp", 0xC},
                                                     {"()", 0},           {"( log  LOG )", 1},
                                                     {"(\tlog )", 1},     {"(log)", 1}};
    for (const auto& [text, expected] : good) {
        EXPECT_TRUE(services.nameToValue(text, value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
    for (const char* bad : {"(log", "(log) x", "(log) ", "(nothing)", "", "(", "(lo)",
                            "(log\tsmtp)", "log smtp", tooLong.c_str()}) {
        EXPECT_FALSE(services.nameToValue(bad, value)) << bad;
    }
}

TEST_F(ValuesTest, MenusPrintSingleBitsOnly) {
    const Menu& services = *Menu::getMenu(1);
    char buffer[64];
    ASSERT_TRUE(services.valueToName(0xC, buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "(smtpIncoming smtpOutgoing)");
    ASSERT_TRUE(services.valueToName(0x31, buffer, sizeof buffer));
    EXPECT_STREQ(buffer, "(log)") << "bits without a choice are dropped";
    EXPECT_TRUE(services.isValueCorrect(0x4F));
    EXPECT_FALSE(services.isValueCorrect(0x10));
    EXPECT_FALSE(Menu::getMenu(0)->valueToName(2, buffer, sizeof buffer));
    const char* names[] = {"smtp", "POP3"};
    EXPECT_EQ(root->setStringValue(TYPE_CHOICE_SET, names, 2), 0);
    EXPECT_EQ(root->getValue(TYPE_CHOICE_SET).asUnsigned(), 0x4Cu);
    names[1] = "nothing";
    EXPECT_EQ(root->setStringValue(TYPE_CHOICE_SET, names, 2), -1);
    EXPECT_EQ(root->getValue(TYPE_CHOICE_SET).asUnsigned(), 0x4Cu);
    EXPECT_EQ(root->setStringValue(TYPE_STRING, names, 1), -1);
}

TEST_F(ValuesTest, BinaryStringsAreCounted) {
    BinaryString all;
    for (const unsigned size : {0u, 1u, 4u, 7u, 172u}) {
        BinaryString made;
        BinaryString::generate(made, size);
        ASSERT_EQ(made.getSize(), size);
        char printed[256];
        BinaryString::bstrToStr(made, printed, sizeof printed);
        ASSERT_EQ(BinaryString::strToBstr(printed, all), 0);
        EXPECT_EQ(all.compareTo(made), 0) << size;
    }
    const BinaryString copy(all);
    EXPECT_EQ(BinaryString::strToBstr("=!", all), -1);
    EXPECT_EQ(all.compareTo(copy), 0) << "bad input changes nothing";
    char tiny[4] = "xxx";
    BinaryString::bstrToStr(copy, tiny, sizeof tiny);
    EXPECT_STREQ(tiny, "");
    BinaryString shorter;
    shorter.set(copy.getData(), 3);
    EXPECT_LT(shorter.compareTo(copy), 0);
    EXPECT_GT(copy.compareTo(shorter), 0);
}

} // namespace
