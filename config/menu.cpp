#include "config/menu.h"

#include <strings.h>

#include <cctype>
#include <cstring>

namespace HConfig {

namespace {
constexpr unsigned MAX_NAME = 1024; // a name in a list has fewer bytes than this

const Menu* menus = nullptr;
unsigned menuCount = 0;
} // namespace

void Menu::init() {
    init(CONFIG_DESC);
}

void Menu::init(const ConfigDesc& schema) {
    Menu* made = new Menu[schema.menuCount];
    for (unsigned id = 0; id < schema.menuCount; ++id) {
        made[id].desc = &schema.menus[id];
        made[id].choices = schema.choices + schema.menus[id].firstChoice;
        made[id].constraintDesc = {schema.menus[id].name, "", nullptr, 0};
    }
    menus = made;
    menuCount = schema.menuCount;
}

void Menu::destroy() {
    delete[] menus;
    menus = nullptr;
    menuCount = 0;
}

const Menu* Menu::getMenu(unsigned id) {
    return id < menuCount ? &menus[id] : nullptr;
}

MenuConstraint* Menu::getMenuConstraint(unsigned id) {
    const Menu* menu = getMenu(id);
    return menu != nullptr ? new MenuConstraint(menu) : nullptr;
}

const Choice* Menu::findChoice(const char* name, unsigned length) const {
    for (unsigned i = 0; i < desc->choiceCount; ++i) {
        if (strncasecmp(choices[i].name, name, length) == 0 && choices[i].name[length] == '\0') {
            return &choices[i];
        }
    }
    return nullptr;
}

const Choice* Menu::findChoice(const char* name) const {
    const std::size_t length = std::strlen(name);
    return length < sizeof(Choice::name) ? findChoice(name, static_cast<unsigned>(length))
                                         : nullptr;
}

const Choice* Menu::findChoice(std::uint32_t value) const {
    for (unsigned i = 0; i < desc->choiceCount; ++i) {
        if (choices[i].value == value) {
            return &choices[i];
        }
    }
    return nullptr;
}

bool Menu::nameToValue(const char* text, unsigned& value) const {
    if (desc->multiple && *text == '(') {
        return listToValue(text + 1, value);
    }
    const Choice* choice = findChoice(text);
    if (choice == nullptr) {
        return false;
    }
    value = choice->value;
    return true;
}

bool Menu::listToValue(const char* text, unsigned& value) const {
    value = 0;
    for (;;) {
        while (std::isspace(static_cast<unsigned char>(*text)) != 0) {
            ++text;
        }
        if (*text == ')') {
            return text[1] == '\0';
        }
        const std::size_t length = std::strcspn(text, " )");
        if (text[length] == '\0' || length >= MAX_NAME || length >= sizeof(Choice::name)) {
            return false;
        }
        const Choice* choice = findChoice(text, static_cast<unsigned>(length));
        if (choice == nullptr) {
            return false;
        }
        value |= choice->value;
        text += length;
    }
}

bool Menu::valueToName(unsigned value, char* buffer, unsigned size) const {
    if (!desc->multiple) {
        const Choice* choice = findChoice(value);
        const std::size_t length = choice != nullptr ? std::strlen(choice->name) : 0;
        if (choice == nullptr || length >= size) {
            return false;
        }
        std::memcpy(buffer, choice->name, length + 1);
        return true;
    }
    std::size_t length = 0; // of "(" and the names so far, each with a blank before all but one
    for (unsigned bits = value; bits != 0; bits &= bits - 1) {
        const Choice* choice = findChoice(bits & -bits);
        if (choice == nullptr) {
            continue;
        }
        const std::size_t nameLength = std::strlen(choice->name);
        if (length + 1 + nameLength + 2 > size) { // with the ")" and the terminator
            return false;
        }
        buffer[length] = length == 0 ? '(' : ' ';
        std::memcpy(buffer + length + 1, choice->name, nameLength);
        length += 1 + nameLength;
    }
    if (length == 0) {
        if (size < sizeof "()") {
            return false;
        }
        buffer[length++] = '(';
    }
    buffer[length] = ')';
    buffer[length + 1] = '\0';
    return true;
}

bool Menu::isValueCorrect(std::uint32_t value) const {
    if (!desc->multiple) {
        return findChoice(value) != nullptr;
    }
    for (; value != 0; value &= value - 1) {
        if (findChoice(value & -value) == nullptr) {
            return false;
        }
    }
    return true;
}

CastableId* MenuConstraint::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* MenuConstraint::doCastInternal(CastableId* classId) const {
    if (classId == getCastableClassId()) {
        return const_cast<MenuConstraint*>(this);
    }
    return Constraint::doCastInternal(classId);
}

CastableId* MenuConstraint::getOwnCastableId() const {
    return getCastableClassId();
}

} // namespace HConfig
