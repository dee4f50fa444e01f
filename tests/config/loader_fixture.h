// What the tests of the loader and of the tables share: the library's life around each test, the
// lines that Thread::log was given, a load from a text, and attribute values by path.

#ifndef MORVEX_TESTS_CONFIG_LOADER_FIXTURE_H
#define MORVEX_TESTS_CONFIG_LOADER_FIXTURE_H

#include "config/classes.h"

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

class LoaderTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The server's schema.
    virtual void initConfig();

    // Loads a text; with `root` into that object, otherwise into a new one kept in `loaded`.
    int load(std::string text, const char* className = "Server", bool strict = false,
             HConfig::Object* root = nullptr);

    // The error of a load that failed.
    static unsigned errorOf(int result);

    // An attribute as text, by its path of names: a value as it prints, a set in parentheses,
    // objects of a set by their keys; "-" for a child or set that is not there.
    std::string show(const std::string& path) const;

    // The lines logged so far as "level text", and none left.
    static std::vector<std::string> takeLog();

    std::unique_ptr<HConfig::Object> loaded;
};

inline std::span<const HConfig::Attribute> attributesOf(const HConfig::ObjectClass& objectClass) {
    return {objectClass.attributesBegin(), objectClass.attributesEnd()};
}

std::string showAttribute(const HConfig::Object& object, const HConfig::Attribute& attribute);

#endif
