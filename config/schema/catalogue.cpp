// The server's schema: packs the rows of config/schema/*_rows.h and the menus into the tables that
// CONFIG_DESC hangs on.
//
// All of it happens while compiling. What reaches the program is constant data in index order, in
// which equal parameter lists are kept once; the only addresses in it are those of the classes'
// newObject and of the default texts, so that starting a program relocates next to nothing. The
// rows as written do not reach the program.
//
// Inheritance is resolved here: the rows of a class start with those of its base. A class whose
// rows do not add up to the count in config/schema/class_tree.h does not compile.

#include "config/classes.h"
#include "config/schema/account_rows.h"
#include "config/schema/contact_rows.h"
#include "config/schema/domain_rows.h"
#include "config/schema/filter_rows.h"
#include "config/schema/ldap_rows.h"
#include "config/schema/limits_rows.h"
#include "config/schema/listener_rows.h"
#include "config/schema/mailbox_rows.h"
#include "config/schema/maillist_rows.h"
#include "config/schema/reporting_rows.h"
#include "config/schema/server_rows.h"
#include "config/schema/service_rows.h"
#include "config/schema/webmail_rows.h"
#include "config/schema_desc.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace HConfig {
namespace schema {
namespace {

// ---- The class tree -----------------------------------------------------------------------------

struct ClassSource {
    ClassUid uid;
    ClassUid base;
    std::uint32_t rowCount; // as the tree tells it
    std::uint32_t flags;
    const char* name;
    std::span<const Row> rows; // its own and its changed ones
    HConfig::Object* (*newObject)();
};

// Each class under the name that it has in text files.
template <ClassUid> constexpr const char* textName = "";
#define MORVEX_CLASS_NAME(name, text) template <> constexpr const char* textName<name> = text;
MORVEX_CONFIG_CLASS_NAMES(MORVEX_CLASS_NAME)
#undef MORVEX_CLASS_NAME

consteval const char* nameOr(const char* text, const char* name) {
    return text[0] != '\0' ? text : name;
}

constexpr ClassSource CLASS_SOURCES[] = {
#define MORVEX_CONCRETE(uid, count, name, base)                                                    \
    {name, base, count, 0, nameOr(textName<name>, #name), name##Rows, &HConfig::name::newObject},
#define MORVEX_ABSTRACT(uid, count, name, base)                                                    \
    {name, base, count, CLASS_ABSTRACT, nameOr(textName<name>, #name), name##Rows, nullptr},
    MORVEX_CONFIG_CLASSES(MORVEX_CONCRETE, MORVEX_ABSTRACT)
#undef MORVEX_CONCRETE
#undef MORVEX_ABSTRACT
};
constexpr std::size_t CLASS_COUNT = std::size(CLASS_SOURCES);

consteval std::size_t sumOfRowCounts() {
    std::size_t sum = 0;
    for (const ClassSource& source : CLASS_SOURCES) {
        sum += source.rowCount;
    }
    return sum;
}

consteval std::size_t sumOfWrittenRows() {
    std::size_t sum = 0;
    for (const ClassSource& source : CLASS_SOURCES) {
        sum += source.rows.size();
    }
    return sum;
}

// ---- Packing ------------------------------------------------------------------------------------

// Lists of parameters, one behind the other, each distinct list once. A slot keeps number and text
// side by side, since only one of a slot's two faces can be compared while compiling.
struct Slot {
    bool isText = false;
    std::uint32_t number = 0;
    const char* text = nullptr;
};

template <std::size_t Capacity> struct SlotPool {
    std::array<Slot, Capacity> slots = {};
    std::size_t size = 0;

    // The first slot of a list of numbers equal to this one.
    constexpr std::uint16_t place(std::span<const std::uint32_t> numbers) {
        if (numbers.empty()) {
            return AttributeDesc::NO_PARAMS;
        }
        for (std::size_t first = 0; first + numbers.size() <= size; first++) {
            std::size_t same = 0;
            while (same < numbers.size() && !slots[first + same].isText &&
                   slots[first + same].number == numbers[same]) {
                same++;
            }
            if (same == numbers.size()) {
                return static_cast<std::uint16_t>(first);
            }
        }
        const std::size_t first = size;
        for (const std::uint32_t number : numbers) {
            slots[size++].number = number;
        }
        return static_cast<std::uint16_t>(first);
    }

    constexpr std::uint16_t placeText(const char* text) {
        slots[size].isText = true;
        slots[size].text = text;
        return static_cast<std::uint16_t>(size++);
    }
};

struct PackedClass {
    std::size_t first = 0;
    std::size_t count = 0;
};

struct Packed {
    std::array<PackedClass, CLASS_COUNT> classes = {};
    std::array<AttributeDefinition, sumOfWrittenRows()> definitions = {};
    std::size_t definitionCount = 0;
    std::array<AttributeDesc, sumOfRowCounts()> rows = {};
    std::size_t rowCount = 0;
    SlotPool<4 * sumOfWrittenRows()> constraints;
    SlotPool<2 * sumOfWrittenRows()> defaults;
};

constexpr bool sameText(const char* a, const char* b) {
    while (*a != '\0' && *a == *b) {
        a++;
        b++;
    }
    return *a == *b;
}

constexpr std::size_t rowOfClass(ClassUid uid) {
    std::size_t row = 0;
    while (row < CLASS_COUNT && CLASS_SOURCES[row].uid != uid) {
        row++;
    }
    return row;
}

// The attribute of that name among the rows of `packedClass`, or null.
constexpr AttributeDesc* findRow(Packed& packed, const PackedClass& packedClass, const Row& row) {
    for (std::size_t i = 0; i < packedClass.count; i++) {
        AttributeDesc& candidate = packed.rows[packedClass.first + i];
        if (sameText(packed.definitions[candidate.definition].name, row.name)) {
            return &candidate;
        }
    }
    return nullptr;
}

constexpr AttributeDesc packDetails(Packed& packed, const Row& row, std::uint16_t definition) {
    const Constraint& constraint = row.constraint;
    const Default& fallback = row.fallback;
    return {
        definition,
        constraint.id,
        packed.constraints.place({constraint.params, constraint.paramCount}),
        fallback.id,
        fallback.isText ? packed.defaults.placeText(fallback.text)
                        : packed.defaults.place({fallback.numbers, fallback.numberCount}),
        row.maxCount,
    };
}

// An attribute's uid is made of the class that introduces it and its place among the rows which
// that class adds: rows that come to a base class later change no uid.
constexpr AttributeDefinition define(ClassUid uid, std::size_t place, const Row& row) {
    AttributeDefinition definition = {row.content.kind,
                                      static_cast<std::uint32_t>(uid) << 8U |
                                          static_cast<std::uint32_t>(place),
                                      {},
                                      row.content.type,
                                      row.flags.bits};
    for (std::size_t i = 0; i < sizeof(row.name); i++) {
        definition.name[i] = row.name[i];
    }
    return definition;
}

constexpr void changeRow(Packed& packed, const PackedClass& packedClass, const Row& row) {
    AttributeDesc* inherited = findRow(packed, packedClass, row);
    if (inherited == nullptr) {
        return changedRowIsNotInherited();
    }
    const AttributeDefinition& definition = packed.definitions[inherited->definition];
    if (definition.kind != row.content.kind || definition.type != row.content.type ||
        definition.flags != row.flags.bits) {
        return changedRowHasAnotherDefinition();
    }
    *inherited = packDetails(packed, row, inherited->definition);
}

constexpr void addRow(Packed& packed, PackedClass& packedClass, const Row& row, ClassUid uid,
                      std::size_t place) {
    if (findRow(packed, packedClass, row) != nullptr) {
        return moreThanOneRowOfThatName();
    }
    const auto definition = static_cast<std::uint16_t>(packed.definitionCount++);
    packed.definitions[definition] = define(uid, place, row);
    packed.rows[packed.rowCount++] = packDetails(packed, row, definition);
    packedClass.count++;
}

constexpr void packClass(Packed& packed, std::size_t index) {
    const ClassSource& source = CLASS_SOURCES[index];
    PackedClass& packedClass = packed.classes[index];
    packedClass.first = packed.rowCount;
    if (source.base != Object) {
        const std::size_t base = rowOfClass(source.base);
        if (base >= index) {
            return baseClassDoesNotStandBeforeItsSubclass();
        }
        for (std::size_t i = 0; i < packed.classes[base].count; i++) {
            packed.rows[packed.rowCount++] = packed.rows[packed.classes[base].first + i];
        }
        packedClass.count = packed.classes[base].count;
    }
    std::size_t place = 0;
    for (const Row& row : source.rows) {
        if (row.changed) {
            changeRow(packed, packedClass, row);
        } else if (packedClass.count == source.rowCount) {
            moreRowsThanTheClassTreeTells();
        } else {
            addRow(packed, packedClass, row, source.uid, place++);
        }
    }
}

consteval Packed pack() {
    Packed packed;
    for (std::size_t i = 0; i < CLASS_COUNT; i++) {
        packClass(packed, i);
    }
    return packed;
}

constexpr Packed PACKED = pack();

#define MORVEX_CHECK_COUNT(uid, rows, name, base)                                                  \
    static_assert(PACKED.classes[rowOfClass(name)].count == (rows),                                \
                  #name ": the rows written do not add up to the count of the class tree");
MORVEX_CONFIG_CLASSES(MORVEX_CHECK_COUNT, MORVEX_CHECK_COUNT)
#undef MORVEX_CHECK_COUNT

// ---- The tables ---------------------------------------------------------------------------------

template <std::size_t Count, class T, std::size_t Capacity>
consteval std::array<T, Count> firstOf(const std::array<T, Capacity>& items) {
    std::array<T, Count> result = {};
    for (std::size_t i = 0; i < Count; i++) {
        result[i] = items[i];
    }
    return result;
}

constexpr auto DEFINITIONS = firstOf<PACKED.definitionCount>(PACKED.definitions);
constexpr auto ATTRIBUTES = firstOf<PACKED.rowCount>(PACKED.rows);

template <std::size_t... I>
consteval std::array<ConstraintParamValue, sizeof...(I)>
constraintParams(std::index_sequence<I...>) {
    return {ConstraintParamValue(PACKED.constraints.slots[I].number)...};
}
constexpr auto CONSTRAINT_PARAMS =
    constraintParams(std::make_index_sequence<PACKED.constraints.size>());

consteval DefaultParamValue defaultParam(const Slot& slot) {
    return slot.isText ? DefaultParamValue(slot.text) : DefaultParamValue(slot.number);
}
template <std::size_t... I>
consteval std::array<DefaultParamValue, sizeof...(I)> defaultParams(std::index_sequence<I...>) {
    return {defaultParam(PACKED.defaults.slots[I])...};
}
constexpr auto DEFAULT_PARAMS = defaultParams(std::make_index_sequence<PACKED.defaults.size>());

template <std::size_t Size> constexpr void copyName(char (&to)[Size], const char* from) {
    for (std::size_t i = 0; from[i] != '\0'; i++) {
        if (i + 1 == Size) {
            return nameDoesNotFitTheTable();
        }
        to[i] = from[i];
    }
}

consteval std::array<ObjectClassDesc, CLASS_COUNT> describeClasses() {
    std::array<ObjectClassDesc, CLASS_COUNT> result = {};
    for (std::size_t i = 0; i < CLASS_COUNT; i++) {
        const ClassSource& source = CLASS_SOURCES[i];
        ObjectClassDesc& desc = result[i];
        desc.uid = source.uid;
        copyName(desc.name, source.name);
        desc.flags = source.flags;
        desc.baseUid = source.base;
        desc.firstAttribute = static_cast<std::uint32_t>(PACKED.classes[i].first);
        desc.attributeCount = static_cast<std::uint32_t>(PACKED.classes[i].count);
        desc.newObject = source.newObject;
    }
    return result;
}
constexpr auto OBJECT_CLASS_DESC = describeClasses();

// ---- Menus --------------------------------------------------------------------------------------

struct MenuSource {
    MenuId id;
    bool multiple;
    const char* name;
    std::span<const ChoiceDesc> choices;
};

constexpr MenuSource MENU_SOURCES[] = {
#define MORVEX_SINGLE(id, name) {name, false, #name, name##Choices},
#define MORVEX_MULTIPLE(id, name) {name, true, #name, name##Choices},
    MORVEX_CONFIG_MENUS(MORVEX_SINGLE, MORVEX_MULTIPLE)
#undef MORVEX_SINGLE
#undef MORVEX_MULTIPLE
};
constexpr std::size_t MENU_COUNT = MENU_SOURCES[std::size(MENU_SOURCES) - 1].id + std::size_t{1};

consteval std::size_t sumOfChoices() {
    std::size_t sum = 0;
    for (const MenuSource& source : MENU_SOURCES) {
        sum += source.choices.size();
    }
    return sum;
}

struct PackedMenus {
    std::array<MenuDesc, MENU_COUNT> menus = {};
    std::array<ChoiceDesc, sumOfChoices()> choices = {};
};

consteval PackedMenus packMenus() {
    PackedMenus packed;
    std::size_t next = 0;
    for (const MenuSource& source : MENU_SOURCES) {
        MenuDesc& menu = packed.menus[source.id];
        copyName(menu.name, source.name);
        menu.multiple = source.multiple;
        menu.firstChoice = static_cast<std::uint16_t>(next);
        menu.choiceCount = static_cast<std::uint16_t>(source.choices.size());
        for (const ChoiceDesc& choice : source.choices) {
            packed.choices[next++] = choice;
        }
    }
    return packed;
}
constexpr PackedMenus PACKED_MENUS = packMenus();
constexpr auto MENU_DESC = PACKED_MENUS.menus;
constexpr auto CHOICE_DESC = PACKED_MENUS.choices;

} // namespace
} // namespace schema

const ConfigDesc CONFIG_DESC = {
    1,
    "V2.0",
    "Morvex Config V2.0",
    "2006-11-20",
    schema::OBJECT_CLASS_DESC.data(),
    schema::CLASS_COUNT,
    schema::ATTRIBUTES.data(),
    schema::DEFINITIONS.data(),
    schema::CONSTRAINT_PARAMS.data(),
    schema::DEFAULT_PARAMS.data(),
    schema::MENU_DESC.data(),
    schema::MENU_COUNT,
    schema::CHOICE_DESC.data(),
};

} // namespace HConfig
