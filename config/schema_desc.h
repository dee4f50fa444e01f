// The form of the schema's description tables: constant data from which the registry of classes
// and attributes is made. What the tables hold stands in config/schema/.
//
// The tables are built at compile time and are meant to be used in place, so they hold indexes
// and texts in place of pointers: a table without pointers needs no relocation and no page of its
// own at start-up. All indexes are relative to the ConfigDesc that the tables hang on.
//
// Texts are NUL-terminated. Nothing here is ever freed or changed.

#ifndef MORVEX_CONFIG_SCHEMA_DESC_H
#define MORVEX_CONFIG_SCHEMA_DESC_H

#include <cstdint>

namespace HConfig {

class Object;

// What an attribute holds.
enum ConfigTypes : std::uint32_t {
    KIND_VALUE = 0,
    KIND_OBJECT = 1,
    KIND_VALUE_SET = 2,
    KIND_OBJECT_SET = 3,
};

// Bits of AttributeDefinition::flags. 512 and 1024 stand on some rows too, for readers outside
// this library.
enum AttributeFlags : std::uint32_t {
    FLAG_INTERNAL = 1,     // kept by the system itself: not from files, not into files
    FLAG_REQUIRED = 2,     // must be given: there is no default to fall back on
    FLAG_KEY = 4,          // part of the object's key, and so of its identity within a set
    FLAG_ENCODABLE = 8,    // not in the class's list of plain attributes
    FLAG_COUNTED = 16,     // counted in the class, nothing else
    FLAG_OWN_LIFE = 32,    // a part with a life of its own: left out by shallow walks
    FLAG_ON_DEMAND = 64,   // the slot stays empty until first needed
    FLAG_DEPRECATED = 128, // a file that gives it is told so, and the value dropped
    FLAG_NOT_SAVED = 256,  // never written to a file
};

// Bits of ObjectClassDesc::flags. Bit 0 stands on some rows and is read by nothing here.
enum ObjectClassFlags : std::uint32_t {
    CLASS_ABSTRACT = 2, // has no instances: exactly the classes without newObject
};

// Ids of the value types, for AttributeDefinition::type of values and value sets.
enum ValueTypeIds : std::uint16_t {
    TYPE_INT = 0,
    TYPE_UNSIGNED_INT = 1,
    TYPE_CHOICE = 2,
    TYPE_CHOICE_SET = 3,
    TYPE_STRING = 4,
    TYPE_CS_STRING = 5,
    TYPE_INET_ADDR = 6,
    TYPE_INET_ADDR_SET = 7,
    TYPE_INET_SOCK_ADDR = 8,
    TYPE_DATE_TIME = 9,
    TYPE_BINARY_STRING = 10,
    TYPE_TIME = 11,
    TYPE_COUNT = 12,
};

// Ids of the constraints, with their parameters in slot order. 10 and 11 are not used.
enum ConstraintIds : std::uint16_t {
    CONSTRAINT_NONE = 0,
    CONSTRAINT_UINT_INTERVAL = 1, // maxValue, minValue, allowZero, allowInfinite
    CONSTRAINT_STRING_LENGTH = 2, // maxLength, minLength
    CONSTRAINT_EMAIL_ADDRESS = 3, // allowEmpty
    CONSTRAINT_PATH = 4,
    CONSTRAINT_MBOX_PATH = 5, // allowWildcard
    CONSTRAINT_DOMAIN_NAME = 6,
    CONSTRAINT_RCPT_NAME = 7,
    CONSTRAINT_USER_RCPT_NAME = 8,
    CONSTRAINT_MAILLIST_RCPT_NAME = 9,
    CONSTRAINT_TIME_ZONE = 12,
    CONSTRAINT_OBJECT_NAME = 13, // maxLength, minLength, allowNone
    CONSTRAINT_LDAP_URI = 14,    // described, but with no class: checks nothing
    CONSTRAINT_TIME_ZONE_TRANSFORM = 15,
    CONSTRAINT_SEARCH_CONDITION = 16, // allowEmpty
    CONSTRAINT_COUNT = 17,
};

// Ids of the defaults, with their parameters in slot order. 4 to 10 have no class here; a storage
// or server layer may register one.
enum DefaultIds : std::uint16_t {
    DEFAULT_NONE = 0,
    DEFAULT_UINT_CONSTANT = 1,           // value
    DEFAULT_STRING_CONSTANT = 2,         // value
    DEFAULT_INET_SOCK_ADDR_CONSTANT = 3, // value
    DEFAULT_PRIMARY_DOMAIN = 4,
    DEFAULT_DOMAIN_OBJECT_STORAGE_LOCATION = 5,
    DEFAULT_MESSAGE_STORAGE_LOCATION = 6,
    DEFAULT_DNS = 7,
    DEFAULT_UDP_LISTENER = 8,            // port
    DEFAULT_TCP_LISTENER = 9,            // port
    DEFAULT_TCP_LISTENER_PARAMETER = 10, // smtp, pop3, imap, webmail, webadmin, cli, ftpBackup
    DEFAULT_PURGE_FOLDERS = 11,
    DEFAULT_TIME_CONSTANT = 12, // value
    DEFAULT_COUNT = 13,
};

// One parameter of a constraint: a number, a truth value or a text, by what it was made from.
class ConstraintParamValue {
public:
    constexpr ConstraintParamValue(unsigned value) : number(value) {}
    constexpr ConstraintParamValue(int value) : number(static_cast<unsigned>(value)) {}
    constexpr ConstraintParamValue(bool value) : number(value ? 1 : 0) {}
    constexpr ConstraintParamValue(const char* value) : text(value) {}

    // Requires for each: made from that kind of thing.
    constexpr std::uint32_t asUnsigned() const { return static_cast<std::uint32_t>(number); }
    constexpr bool asBool() const { return number != 0; }
    constexpr const char* asText() const { return text; }

private:
    union {
        std::uint64_t number;
        const char* text;
    };
};

// One parameter of a default: a number or a text.
class DefaultParamValue {
public:
    constexpr DefaultParamValue(unsigned value) : number(value) {}
    constexpr DefaultParamValue(int value) : number(static_cast<unsigned>(value)) {}
    constexpr DefaultParamValue(const char* value) : text(value) {}

    // Requires for each: made from that kind of thing.
    constexpr std::uint32_t asUnsigned() const { return static_cast<std::uint32_t>(number); }
    constexpr const char* asText() const { return text; }

private:
    union {
        std::uint64_t number;
        const char* text;
    };
};

// One attribute as the class that introduces it defines it; shared by that class's subclasses.
struct AttributeDefinition {
    std::uint32_t kind; // ConfigTypes
    std::uint32_t uid;  // stable within the class tree; not the index
    char name[40];      // as in text files
    std::uint16_t type; // values: ValueTypeIds; objects: uid of the child class
    std::uint16_t flags;
};

// One row of a class. A class's rows start with the rows of its base class, in the same order and
// with the same definitions, so an index means the same attribute in a class and its subclasses.
// Constraint, default and limit may differ from those of the base's row.
struct AttributeDesc {
    static constexpr std::uint16_t NO_PARAMS = 0xFFFF;

    std::uint16_t definition;       // into ConfigDesc::definitions
    std::uint16_t constraintId;     // ConstraintIds; for choices the menu's id
    std::uint16_t constraintParams; // first slot in ConfigDesc::constraintParams, or NO_PARAMS
    std::uint16_t defaultId;        // DefaultIds
    std::uint16_t defaultParams;    // first slot in ConfigDesc::defaultParams, or NO_PARAMS
    std::uint16_t maxCount;         // largest size of a set; 0 for no limit
};

struct ObjectClassDesc {
    std::uint32_t uid;            // stable and unique, not dense, never 0
    char name[32];                // as in text files
    std::uint32_t flags;          // ObjectClassFlags
    std::uint32_t baseUid;        // 0 for none
    std::uint32_t firstAttribute; // into ConfigDesc::attributes
    std::uint32_t attributeCount; // at most 256
    Object* (*newObject)();       // null for an abstract class
};

struct ChoiceDesc {
    std::uint32_t value;
    char name[32];
};

// A named set of choices. With `multiple` a value is a bit set of choices; a choice of several
// bits is then a shorthand that is read but never written.
struct MenuDesc {
    char name[28]; // empty for an id that is not used
    bool multiple;
    std::uint16_t firstChoice; // into ConfigDesc::choices
    std::uint16_t choiceCount;
};

// The whole schema. The pools have no counts: the rows that point into them are the only users.
struct ConfigDesc {
    std::uint32_t version;
    const char* versionName;
    const char* title;
    const char* date;
    const ObjectClassDesc* classes;
    std::uint32_t classCount;
    const AttributeDesc* attributes;
    const AttributeDefinition* definitions;
    const ConstraintParamValue* constraintParams;
    const DefaultParamValue* defaultParams;
    const MenuDesc* menus; // the id of a menu is its row
    std::uint32_t menuCount;
    const ChoiceDesc* choices;
};

// The server's schema.
extern const ConfigDesc CONFIG_DESC;

} // namespace HConfig

#endif
