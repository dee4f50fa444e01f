// Menus: the named choices behind the two choice types. A menu reads the schema's constant tables
// in place.
//
// Menus are made by Menu::init and immutable until Menu::destroy; any thread may read them.
// Lookups answer with a bool or null and set no error.

#ifndef MORVEX_CONFIG_MENU_H
#define MORVEX_CONFIG_MENU_H

#include "config/constraint.h"
#include "config/schema_desc.h"

#include <cstdint>

namespace HConfig {

using Choice = ChoiceDesc;
class MenuConstraint;

class Menu {
public:
    Menu() = default;

    // Makes the menus of the server's schema, or of the given one. Called by Config::init.
    // Requires: no menus are there.
    static void init();
    static void init(const ConfigDesc& schema);
    static void destroy();

    // The menu of an id, null for an id beyond the table. An id of the table that is not used
    // gives a menu without choices.
    static const Menu* getMenu(unsigned id);

    // A new constraint bound to that menu, owned by the caller; null where there is no such menu.
    static MenuConstraint* getMenuConstraint(unsigned id);

    const char* getName() const { return desc->name; }
    bool isMultiple() const { return desc->multiple; }
    const MenuDesc& getDesc() const { return *desc; }
    unsigned getChoiceCount() const { return desc->choiceCount; }
    const Choice& getChoice(unsigned index) const { return choices[index]; }

    // By name, in any case, and by exact value; null on a miss.
    const Choice* findChoice(const char* name) const;
    const Choice* findChoice(std::uint32_t value) const;

    // Reads a choice's name or, for a multiple menu, also names in parentheses: "(a b)", "()".
    // Blanks separate the names, and only a space ends one. False, with `value` undefined, for an
    // unknown name, a name of 1024 bytes or more, or a list that does not end with its ")".
    bool nameToValue(const char* text, unsigned& value) const;

    // Writes the name of exactly this value or, for a multiple menu, the names of its single bits
    // from the lowest as "(a b)"; a bit without a choice of its own is dropped. False when the
    // value has no name or the text does not fit `size`; the buffer then holds no result.
    bool valueToName(unsigned value, char* buffer, unsigned size) const;

    // Whether the value, or each of its bits in a multiple menu, is the value of a choice.
    bool isValueCorrect(std::uint32_t value) const;

    // The description that a constraint bound to this menu gives of itself.
    const ConstraintDesc& getConstraintDesc() const { return constraintDesc; }

private:
    const MenuDesc* desc = nullptr;
    const ChoiceDesc* choices = nullptr;
    ConstraintDesc constraintDesc = {};

    const Choice* findChoice(const char* name, unsigned length) const;
    bool listToValue(const char* text, unsigned& value) const;
};

// Keeps a value to the choices of a menu. Every attribute of a choice type has one.
class MenuConstraint final : public Constraint {
public:
    explicit MenuConstraint(const Menu* boundMenu) : Constraint(CONSTRAINT_NONE), menu(boundMenu) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* classId) const override;
    CastableId* getOwnCastableId() const override;

    const ConstraintDesc& getConstraintDesc() const override { return menu->getConstraintDesc(); }
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override {
        return menu->isValueCorrect(value.asUnsigned());
    }
    const Menu* getMenu() const { return menu; }

private:
    const Menu* menu;
};

} // namespace HConfig

#endif
