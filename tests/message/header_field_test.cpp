#include "message/header_field.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

std::string show(const HeaderField& field) {
    return std::string(field.getName()) + "|" + field.getSeparator() + "|" + field.getValue() +
           "|" + std::to_string(field.getNameLength()) + "," +
           std::to_string(field.getValueLength());
}

TEST(HeaderField, KeepsExactlyTheLengthsGiven) {
    HeaderField field("Subject:   hello", 7, "hello world", 5, ":   \t", 4);
    EXPECT_EQ(show(field), "Subject|:   |hello|7,5");
    field.changeValue("");
    EXPECT_EQ(show(field), "Subject|:   ||7,0");
    field.changeValue("new");
    EXPECT_EQ(show(field), "Subject|:   |new|7,3");
    field.changeHeader("X", "y");
    EXPECT_EQ(show(field), "X|: |y|1,1");
}

TEST(HeaderField, ChangesFromItsOwnText) {
    HeaderField field("Name", "some value");
    field.changeValue(field.getValue() + 5);
    EXPECT_EQ(show(field), "Name|: |value|4,5");
    field.changeHeader(field.getValue(), field.getName());
    EXPECT_EQ(show(field), "value|: |Name|5,4");
}

TEST(HeaderField, CopiesDeepOrShowsAnothersText) {
    HeaderField field("A", 1, "b", 1, ":", 1);
    {
        const HeaderField deep(field, true);
        const HeaderField shared(field, false);
        EXPECT_NE(deep.getName(), field.getName());
        EXPECT_EQ(shared.getName(), field.getName());
        EXPECT_EQ(show(deep), show(field));
        HeaderField changed(field, false);
        changed.changeValue("c");
        EXPECT_EQ(show(changed), "A|:|c|1,1");
    }
    EXPECT_EQ(show(field), "A|:|b|1,1");
}

TEST(HeaderText, JoinsUpToElevenStrings) {
    char* out = nullptr;
    const auto joined = [&out] {
        const std::unique_ptr<char[]> guard(out);
        return std::string(out);
    };
    EXPECT_EQ(hstrmappend(out, nullptr, nullptr), 0);
    EXPECT_EQ(joined(), "");
    hstrmappend(out, nullptr, "b", "", "c", nullptr);
    EXPECT_EQ(joined(), "bc");
    hstrmappend(out, "0", "1", "2", "3", "4", "5", "6", "7", "8", "9", "A", "B", nullptr);
    EXPECT_EQ(joined(), "0123456789A");
}

TEST(HeaderText, LeavesOutComments) {
    const struct {
        const char* value;
        const char* plain;
    } rows[] = {
        {"", ""},
        {"(a(b)c)d", "d"},
        {"a\\(b", "a\\(b"},
        {"\"(x)\"", "\"(x)\""},
        {"a(b", "a"},
        {"a (x) b", "a b"},
        {"a(x)b", "ab"},
        {"a)b", "a)b"},
        {"  a \t b  ", " a b "},
        {"\"a  b\"  c", "\"a  b\" c"},
        {"(a\\)b)c", "c"},       // an escaped parenthesis closes nothing
        {"(a\\\\)b", "b"},       // an escaped backslash escapes nothing
        {"(\")\")x", "\")x"},    // quotes mean nothing in a comment
        {"\\\"(x)", "\\\""},     // an escaped quote opens nothing
        {"a \\  b", "a \\  b"},  // the escape lasts over blanks
        {"a\r\n(x)b", "a\r\nb"}, // CR and LF each toggle the quotes, so both together do not
        {"a\n(x)b", "a\n(x)b"},
    };
    for (const auto& row : rows) {
        const std::unique_ptr<char[]> plain(hstrdupNoComments(row.value));
        EXPECT_STREQ(plain.get(), row.plain) << row.value;
    }
    EXPECT_EQ(hstrdupNoComments(nullptr), nullptr);
    const std::unique_ptr<char[]> deep(
        hstrdupNoComments((std::string(100000, '(') + std::string(100000, ')') + "x").c_str()));
    EXPECT_STREQ(deep.get(), "x");
}

} // namespace
