// The vocabulary in which the attribute rows of config/schema/*_rows.h are written.
//
// A row reads   {name, type, details...}
//
//   type      of a value: the value type's name; O(Class), OS(Class) and VS(Type) stand for an
//             object, a set of objects and a set of values.
//   details   in any order, each at most once: flags, a constraint (for a choice its menu), a
//             default, Max(n) for the largest size of a set, and CHANGED.
//
// Rows stand in index order and index means position, so a new row goes to the end of its class.
// A row marked CHANGED gives no new attribute: it replaces constraint, default and limit of the
// inherited attribute of that name, whose definition stays that of the base class.
//
// All of this exists while compiling only; config/schema/catalogue.cpp packs it into the tables
// of config/schema_desc.h. A row that makes no sense does not compile.

#ifndef MORVEX_CONFIG_SCHEMA_ROW_H
#define MORVEX_CONFIG_SCHEMA_ROW_H

#include "config/schema/class_tree.h"
#include "config/schema/menus.h"
#include "config/schema_desc.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace HConfig::schema {

// Uids of the classes, by the name of the C++ class. 0 is no class.
enum ClassUid : std::uint16_t {
    Object = 0,
#define MORVEX_CLASS_UID(uid, rows, name, base) name = (uid),
    MORVEX_CONFIG_CLASSES(MORVEX_CLASS_UID, MORVEX_CLASS_UID)
#undef MORVEX_CLASS_UID
};

// The value types, by their names in the schema.
enum ValueTypeName : std::uint16_t {
    Int = TYPE_INT,
    UnsignedInt = TYPE_UNSIGNED_INT,
    Choice = TYPE_CHOICE,
    ChoiseSet = TYPE_CHOICE_SET,
    String = TYPE_STRING,
    CSString = TYPE_CS_STRING,
    InetAddr = TYPE_INET_ADDR,
    InetAddrSet = TYPE_INET_ADDR_SET,
    InetSockAddr = TYPE_INET_SOCK_ADDR,
    DateTime = TYPE_DATE_TIME,
    BinaryString = TYPE_BINARY_STRING,
    Time = TYPE_TIME,
};

// Kind and type of an attribute. A value type alone is a single value of it.
struct Content {
    ConfigTypes kind;
    std::uint16_t type;

    consteval Content(ConfigTypes k, std::uint16_t t) : kind(k), type(t) {}
    consteval Content(ValueTypeName t) : kind(KIND_VALUE), type(t) {}
};

consteval Content O(ClassUid child) {
    return {KIND_OBJECT, child};
}
consteval Content OS(ClassUid child) {
    return {KIND_OBJECT_SET, child};
}
consteval Content VS(ValueTypeName member) {
    return {KIND_VALUE_SET, member};
}

struct Flags {
    std::uint16_t bits = 0;

    consteval Flags operator|(Flags other) const {
        return {static_cast<std::uint16_t>(bits | other.bits)};
    }
};

inline constexpr Flags INTERNAL{FLAG_INTERNAL};
inline constexpr Flags REQUIRED{FLAG_REQUIRED};
inline constexpr Flags KEY{FLAG_KEY};
inline constexpr Flags ENCODABLE{FLAG_ENCODABLE};
inline constexpr Flags OWN_LIFE{FLAG_OWN_LIFE};
inline constexpr Flags ON_DEMAND{FLAG_ON_DEMAND};
inline constexpr Flags NOT_SAVED{FLAG_NOT_SAVED};
inline constexpr Flags FLAG_512{512}; // for readers outside this library

struct Constraint {
    std::uint16_t id = CONSTRAINT_NONE;
    bool isMenu = false;
    std::uint8_t paramCount = 0;
    std::uint32_t params[4] = {};

    consteval Constraint() = default;
    consteval Constraint(ConstraintIds constraintId) : id(constraintId) {}
    consteval Constraint(MenuId menu) : id(menu), isMenu(true) {}
    template <class... Params>
    consteval Constraint(ConstraintIds constraintId, Params... values)
        : id(constraintId), paramCount(sizeof...(Params)), params{values...} {}
};

consteval Constraint UintInterval(std::uint32_t maxValue, std::uint32_t minValue, bool allowZero,
                                  bool allowInfinite) {
    return {CONSTRAINT_UINT_INTERVAL, maxValue, minValue, std::uint32_t{allowZero},
            std::uint32_t{allowInfinite}};
}
consteval Constraint StringLength(std::uint32_t maxLength, std::uint32_t minLength) {
    return {CONSTRAINT_STRING_LENGTH, maxLength, minLength};
}
consteval Constraint EmailAddress(bool allowEmpty) {
    return {CONSTRAINT_EMAIL_ADDRESS, std::uint32_t{allowEmpty}};
}
consteval Constraint SearchCondition(bool allowEmpty) {
    return {CONSTRAINT_SEARCH_CONDITION, std::uint32_t{allowEmpty}};
}

inline constexpr Constraint Path{CONSTRAINT_PATH};
inline constexpr Constraint DomainName{CONSTRAINT_DOMAIN_NAME};
inline constexpr Constraint RcptName{CONSTRAINT_RCPT_NAME};
inline constexpr Constraint UserRcptName{CONSTRAINT_USER_RCPT_NAME};
inline constexpr Constraint MaillistRcptName{CONSTRAINT_MAILLIST_RCPT_NAME};
inline constexpr Constraint TimeZone{CONSTRAINT_TIME_ZONE};
inline constexpr Constraint TimeZoneTransform{CONSTRAINT_TIME_ZONE_TRANSFORM};
inline constexpr Constraint LdapURI{CONSTRAINT_LDAP_URI};

struct Default {
    std::uint16_t id = DEFAULT_NONE;
    std::uint8_t numberCount = 0;
    std::uint32_t numbers[7] = {};
    bool isText = false;
    const char* text = nullptr; // the one parameter of a default that takes a text

    consteval Default() = default;
    consteval Default(DefaultIds defaultId) : id(defaultId) {}
    consteval Default(DefaultIds defaultId, const char* value)
        : id(defaultId), isText(true), text(value) {}
    template <class... Numbers>
    consteval Default(DefaultIds defaultId, std::uint32_t first, Numbers... more)
        : id(defaultId), numberCount(1 + sizeof...(Numbers)), numbers{first, more...} {}
};

consteval Default Uint(std::uint32_t value) {
    return {DEFAULT_UINT_CONSTANT, value};
}
consteval Default Text(const char* value) {
    return {DEFAULT_STRING_CONSTANT, value};
}
consteval Default InetSocketAddrConstant(const char* value) {
    return {DEFAULT_INET_SOCK_ADDR_CONSTANT, value};
}
consteval Default TimeConstant(const char* value) {
    return {DEFAULT_TIME_CONSTANT, value};
}
consteval Default UDPListener(std::uint32_t port) {
    return {DEFAULT_UDP_LISTENER, port};
}
consteval Default TCPListener(std::uint32_t port) {
    return {DEFAULT_TCP_LISTENER, port};
}
consteval Default TCPListenerParameter(std::uint32_t smtp, std::uint32_t pop3, std::uint32_t imap,
                                       std::uint32_t webmail, std::uint32_t webadmin,
                                       std::uint32_t cli, std::uint32_t ftpBackup) {
    return {DEFAULT_TCP_LISTENER_PARAMETER, smtp, pop3, imap, webmail, webadmin, cli, ftpBackup};
}

inline constexpr Default PrimaryDomain{DEFAULT_PRIMARY_DOMAIN};
inline constexpr Default DomainObjectStorageLocation{DEFAULT_DOMAIN_OBJECT_STORAGE_LOCATION};
inline constexpr Default MessageStorageLocation{DEFAULT_MESSAGE_STORAGE_LOCATION};
inline constexpr Default Dns{DEFAULT_DNS};
inline constexpr Default PurgeFolders{DEFAULT_PURGE_FOLDERS};

// A count or size that may also be "no limit", and is so by default.
inline constexpr std::uint32_t infinite = 0xFFFFFFFFU;
inline constexpr Constraint LIMIT = UintInterval(infinite - 1, 0, true, true);
inline constexpr Default NO_LIMIT = Uint(infinite);

struct Max {
    std::uint16_t count = 0;

    consteval explicit Max(std::uint16_t members) : count(members) {}
};

struct Changed {};
inline constexpr Changed CHANGED{};

// Never defined: where the tables make the compiler call one, compiling stops with its name.
void rowsOfChoicesNeedAMenuAndOthersNone();
void baseClassDoesNotStandBeforeItsSubclass();
void moreRowsThanTheClassTreeTells();
void moreThanOneRowOfThatName();
void changedRowIsNotInherited();
void changedRowHasAnotherDefinition();
void nameDoesNotFitTheTable();

struct Row {
    char name[sizeof(AttributeDefinition::name)] = {};
    Content content;
    Flags flags;
    Constraint constraint;
    Default fallback;
    std::uint16_t maxCount = 0;
    bool changed = false;

    template <std::size_t N, class... Details>
    consteval Row(const char (&attributeName)[N], Content what, Details... details)
        : content(what) {
        static_assert(N <= sizeof(name));
        for (std::size_t i = 0; i < N; i++) {
            name[i] = attributeName[i];
        }
        (set(details), ...);
        const bool isChoice = content.kind == KIND_VALUE &&
                              (content.type == TYPE_CHOICE || content.type == TYPE_CHOICE_SET);
        if (isChoice != constraint.isMenu) {
            rowsOfChoicesNeedAMenuAndOthersNone();
        }
    }

private:
    consteval void set(Flags value) { flags = value; }
    consteval void set(Constraint value) { constraint = value; }
    consteval void set(MenuId value) { constraint = value; }
    consteval void set(Default value) { fallback = value; }
    consteval void set(Max value) { maxCount = value.count; }
    consteval void set(Changed) { changed = true; }
};

// The rows of a class that adds none.
using NoRows = std::span<const Row>;

} // namespace HConfig::schema

#endif
