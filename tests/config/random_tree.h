// Random configuration trees of any class, made from the schema alone: each value is drawn from
// what its type and its constraint allow.

#ifndef MORVEX_TESTS_CONFIG_RANDOM_TREE_H
#define MORVEX_TESTS_CONFIG_RANDOM_TREE_H

#include "config/object.h"

#include <memory>
#include <random>
#include <string>

class RandomTree {
public:
    // With `forFiles` only what a file can hold is drawn.
    RandomTree(std::mt19937_64& generator, bool forFiles) : random(generator), holdable(forFiles) {}

    // A new object of a concrete class, complete and with all its attributes drawn.
    std::unique_ptr<HConfig::Object> make(const HConfig::ObjectClass& objectClass);
    // Draws all attributes anew, or each with a chance of one in `oneIn`.
    void fill(HConfig::Object& object, unsigned oneIn = 1, unsigned depth = 0);

private:
    std::mt19937_64& random;
    bool holdable;
    unsigned names = 0;

    void fillAttribute(HConfig::Object& object, const HConfig::Attribute& attribute, unsigned oneIn,
                       unsigned depth);
    // Whether a value was drawn that the constraint takes.
    bool setValue(HConfig::Object& object, const HConfig::Attribute& attribute, bool asMember);
    std::string number(const HConfig::Object& object, const HConfig::Attribute& attribute);
    std::string choice(const HConfig::Attribute& attribute, bool multiple);
    std::string text(const HConfig::Object& object, const HConfig::Attribute& attribute);
    std::string anyText(unsigned shortest, unsigned longest);
    std::string newName() { return "n" + std::to_string(++names) + "x"; }
    unsigned below(unsigned bound) { return static_cast<unsigned>(random() % bound); }
};

// All that an update deals with, as text: what is INTERNAL counts, case does not count in a String,
// and parts with a life of their own count with `ownLife` only.
std::string dump(const HConfig::Object& object, bool ownLife);
std::string dump(const HConfig::Object& object, const HConfig::Attribute& attribute, bool ownLife);

#endif
