// A small schema for the tests of the configuration model, with one attribute of each kind and
// type, and the fixture that brings it up.

#ifndef MORVEX_TESTS_CONFIG_TEST_SCHEMA_H
#define MORVEX_TESTS_CONFIG_TEST_SCHEMA_H

#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/config.h"

#include <gtest/gtest.h>

#include <memory>

namespace testschema {

enum Rows : unsigned { BASE, LEAF, ROOT, PAIR, DOMAIN_ROW, USER, MAILLIST, ORPHAN, IDLE_ROW, ROWS };

// Attributes of Base and Leaf.
enum : unsigned { NAME, LEVEL, NOTE, BASE_COUNT = 2, LEAF_COUNT = 3 };

// Attributes of Root. The first twelve are one VALUE of each type, in the order of the types.
enum RootAttributes : unsigned {
    FIRST_VALUE = 0,
    CHILD = 12,
    PART,
    LAZY,
    TAGS,
    CS_TAGS,
    MEMBERS,
    OWN_MEMBERS,
    FOLDERS,
    LIMITED,
    SHORT_TEXT,
    SERVER_DEFAULT,
    ADDRESS,
    REFUSED_DEFAULT,
    INTERNAL_NUMBER,
    IDLE, // a child that can wait until it is looked at
    ROOT_COUNT,
};

// Attributes of Pair: two keys and a text.
enum : unsigned { PAIR_A, PAIR_B, PAIR_TEXT };

// Attributes of Idle.
enum : unsigned { IDLE_LEVEL, IDLE_NOTE };

extern const HConfig::ConfigDesc SCHEMA;

class ConfigTest : public testing::Test {
protected:
    ConfigTest() { HConfig::Config::init(SCHEMA); }
    ~ConfigTest() override { HConfig::Config::destroy(); }

    static std::unique_ptr<HConfig::Object> make(unsigned row) {
        return std::unique_ptr<HConfig::Object>(HConfig::RowObject::newRowObject(row));
    }
    static const HConfig::ObjectClass& classOf(unsigned row) {
        return *HConfig::Config::theConfig->getClass(row);
    }
    static const HConfig::Attribute& attribute(unsigned row, unsigned index) {
        return *classOf(row).getAttribute(index);
    }
    // A text in the form that setValue and addValue borrow. It may be changed by some constraints.
    static HConfig::Value text(const char* characters) {
        return HConfig::Value(static_cast<const void*>(characters));
    }
    static std::unique_ptr<HConfig::Object> leaf(const char* name, unsigned level = 1) {
        auto object = make(LEAF);
        object->setStringValue(NAME, name);
        object->setValue(LEVEL, HConfig::Value(level));
        return object;
    }
    static std::unique_ptr<HConfig::Object> pair(unsigned a, unsigned b) {
        auto object = make(PAIR);
        object->setValue(PAIR_A, HConfig::Value(a));
        object->setValue(PAIR_B, HConfig::Value(b));
        return object;
    }
    static unsigned errorOf(int result) {
        EXPECT_EQ(result, -1);
        return Thread::getLastError();
    }
};

} // namespace testschema

#endif
