#include "tests/config/test_schema.h"

using namespace HConfig;

namespace testschema {

namespace {

template <unsigned ROW> Object* make() {
    return RowObject::newRowObject(ROW);
}

enum Definitions : std::uint16_t {
    D_NAME,
    D_LEVEL,
    D_NOTE,
    D_FIRST_VALUE,
    D_CHILD = D_FIRST_VALUE + TYPE_COUNT,
    D_PART,
    D_LAZY,
    D_TAGS,
    D_CS_TAGS,
    D_MEMBERS,
    D_OWN_MEMBERS,
    D_FOLDERS,
    D_LIMITED,
    D_SHORT_TEXT,
    D_SERVER_DEFAULT,
    D_ADDRESS,
    D_REFUSED_DEFAULT,
    D_INTERNAL_NUMBER,
    D_KEY_A,
    D_KEY_B,
    D_NO_CLASS,
    D_IDLE,
};

constexpr std::uint16_t LEAF_UID = 11;
constexpr std::uint16_t PAIR_UID = 21;
constexpr std::uint16_t IDLE_UID = 22;

constexpr AttributeDefinition DEFINITIONS[] = {
    {KIND_VALUE, 1, "name", TYPE_STRING, FLAG_REQUIRED | FLAG_KEY},
    {KIND_VALUE, 2, "level", TYPE_UNSIGNED_INT, FLAG_COUNTED},
    {KIND_VALUE, 300, "note", TYPE_CS_STRING, FLAG_ENCODABLE},
    {KIND_VALUE, 10, "int", TYPE_INT, 0},
    {KIND_VALUE, 11, "unsigned", TYPE_UNSIGNED_INT, 0},
    {KIND_VALUE, 12, "choice", TYPE_CHOICE, 0},
    {KIND_VALUE, 13, "choices", TYPE_CHOICE_SET, 0},
    {KIND_VALUE, 14, "string", TYPE_STRING, 0},
    {KIND_VALUE, 15, "csString", TYPE_CS_STRING, 0},
    {KIND_VALUE, 16, "inetAddr", TYPE_INET_ADDR, 0},
    {KIND_VALUE, 17, "inetAddrSet", TYPE_INET_ADDR_SET, 0},
    {KIND_VALUE, 18, "inetSockAddr", TYPE_INET_SOCK_ADDR, 0},
    {KIND_VALUE, 19, "dateTime", TYPE_DATE_TIME, 0},
    {KIND_VALUE, 20, "binary", TYPE_BINARY_STRING, 0},
    {KIND_VALUE, 21, "time", TYPE_TIME, 0},
    {KIND_OBJECT, 30, "child", LEAF_UID, 0},
    {KIND_OBJECT, 31, "part", LEAF_UID, FLAG_OWN_LIFE},
    {KIND_OBJECT, 32, "lazy", PAIR_UID, FLAG_ON_DEMAND},
    {KIND_VALUE_SET, 33, "tags", TYPE_STRING, 0},
    {KIND_VALUE_SET, 34, "csTags", TYPE_CS_STRING, 0},
    {KIND_OBJECT_SET, 35, "members", LEAF_UID, 0},
    {KIND_OBJECT_SET, 36, "ownMembers", PAIR_UID, FLAG_OWN_LIFE},
    {KIND_VALUE_SET, 37, "folders", TYPE_STRING, 0},
    {KIND_VALUE, 38, "limited", TYPE_UNSIGNED_INT, 0},
    {KIND_VALUE, 39, "shortText", TYPE_STRING, 0},
    {KIND_VALUE, 40, "serverDefault", TYPE_STRING, 0},
    {KIND_VALUE, 41, "address", TYPE_INET_SOCK_ADDR, 0},
    {KIND_VALUE, 42, "refusedDefault", TYPE_UNSIGNED_INT, 0},
    {KIND_VALUE, 43, "internal", TYPE_UNSIGNED_INT, FLAG_INTERNAL},
    {KIND_VALUE, 50, "a", TYPE_UNSIGNED_INT, FLAG_KEY},
    {KIND_VALUE, 51, "b", TYPE_UNSIGNED_INT, FLAG_KEY},
    {KIND_OBJECT, 52, "noClass", 999, 0},
    {KIND_OBJECT, 44, "idle", IDLE_UID, 0},
};

constexpr ConstraintParamValue CONSTRAINT_PARAMS[] = {
    31u, 0u, true,  false, // 0: an interval
    10u, 5u, false, false, // 4: a narrow one
    4u,  0u,               // 8: a length
};
constexpr DefaultParamValue DEFAULT_PARAMS[] = {
    15u,              // 0
    20u,              // 1
    "a note",         // 2
    "127.0.0.1:2000", // 3
    99u,              // 4: outside of the interval
    7u,               // 5
    "12:30",          // 6
};
constexpr std::uint16_t NONE = AttributeDesc::NO_PARAMS;

constexpr AttributeDesc plain(std::uint16_t definition, std::uint16_t maxCount = 0) {
    return {definition, 0, NONE, 0, NONE, maxCount};
}
constexpr AttributeDesc constrained(std::uint16_t definition, std::uint16_t constraint) {
    return {definition, constraint, NONE, 0, NONE, 0};
}
constexpr AttributeDesc interval(std::uint16_t definition, std::uint16_t params,
                                 std::uint16_t defaultParams) {
    return {definition, CONSTRAINT_UINT_INTERVAL, params, DEFAULT_UINT_CONSTANT, defaultParams, 0};
}
constexpr AttributeDesc withDefault(std::uint16_t definition, std::uint16_t defaultId,
                                    std::uint16_t params = NONE) {
    return {definition, 0, NONE, defaultId, params, 0};
}

constexpr AttributeDesc ATTRIBUTES[] = {
    // Base, from 0
    plain(D_NAME),
    interval(D_LEVEL, 0, 0),
    // Leaf, from 2
    plain(D_NAME),
    interval(D_LEVEL, 0, 1),
    withDefault(D_NOTE, DEFAULT_STRING_CONSTANT, 2),
    // Root, from 5
    plain(D_FIRST_VALUE),
    plain(D_FIRST_VALUE + 1),
    constrained(D_FIRST_VALUE + 2, 0),
    constrained(D_FIRST_VALUE + 3, 1),
    plain(D_FIRST_VALUE + 4),
    plain(D_FIRST_VALUE + 5),
    plain(D_FIRST_VALUE + 6),
    plain(D_FIRST_VALUE + 7),
    plain(D_FIRST_VALUE + 8),
    plain(D_FIRST_VALUE + 9),
    plain(D_FIRST_VALUE + 10),
    withDefault(D_FIRST_VALUE + 11, DEFAULT_TIME_CONSTANT, 6),
    plain(D_CHILD),
    plain(D_PART),
    plain(D_LAZY),
    plain(D_TAGS, 3),
    plain(D_CS_TAGS),
    plain(D_MEMBERS, 3),
    plain(D_OWN_MEMBERS),
    withDefault(D_FOLDERS, DEFAULT_PURGE_FOLDERS),
    interval(D_LIMITED, 4, 5),
    {D_SHORT_TEXT, CONSTRAINT_STRING_LENGTH, 8, 0, NONE, 0},
    withDefault(D_SERVER_DEFAULT, DEFAULT_PRIMARY_DOMAIN),
    withDefault(D_ADDRESS, DEFAULT_INET_SOCK_ADDR_CONSTANT, 3),
    interval(D_REFUSED_DEFAULT, 4, 4),
    plain(D_INTERNAL_NUMBER),
    plain(D_IDLE),
    // Pair, from 32
    plain(D_KEY_A),
    plain(D_KEY_B),
    plain(D_NOTE),
    // Domain, from 35
    constrained(D_NAME, CONSTRAINT_DOMAIN_NAME),
    constrained(D_TAGS, CONSTRAINT_DOMAIN_NAME),
    constrained(D_SHORT_TEXT, CONSTRAINT_DOMAIN_NAME),
    // User, from 38
    constrained(D_NAME, CONSTRAINT_USER_RCPT_NAME),
    constrained(D_TAGS, CONSTRAINT_USER_RCPT_NAME),
    constrained(D_SHORT_TEXT, CONSTRAINT_USER_RCPT_NAME),
    // Maillist, from 41: names at 0, 14, 15, 16
    constrained(D_NAME, CONSTRAINT_MAILLIST_RCPT_NAME),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    plain(D_LEVEL),
    constrained(D_SHORT_TEXT, CONSTRAINT_MAILLIST_RCPT_NAME),
    constrained(D_SHORT_TEXT, CONSTRAINT_MAILLIST_RCPT_NAME),
    constrained(D_SHORT_TEXT, CONSTRAINT_MAILLIST_RCPT_NAME),
    constrained(D_SHORT_TEXT, CONSTRAINT_MAILLIST_RCPT_NAME),
    // Orphan, from 58
    plain(D_NO_CLASS),
    constrained(D_SHORT_TEXT, CONSTRAINT_LDAP_URI),
    // Idle, from 60
    interval(D_LEVEL, 0, 0),
    withDefault(D_NOTE, DEFAULT_STRING_CONSTANT, 2),
};

constexpr ObjectClassDesc CLASSES[] = {
    {10, "Base", CLASS_ABSTRACT, 0, 0, BASE_COUNT, nullptr},
    {LEAF_UID, "Leaf", 0, 10, 2, LEAF_COUNT, make<LEAF>},
    {20, "Root", 1, 0, 5, ROOT_COUNT, make<ROOT>},
    {PAIR_UID, "Pair", 0, 0, 32, 3, make<PAIR>},
    {128, "Domain", 0, 0, 35, 3, make<DOMAIN_ROW>},
    {135, "User", 0, 0, 38, 3, make<USER>},
    {132, "Maillist", 0, 0, 41, 17, make<MAILLIST>},
    {771, "Orphan", 0, 998, 58, 2, make<ORPHAN>},
    {IDLE_UID, "Idle", 0, 0, 60, 2, make<IDLE_ROW>},
};

constexpr ChoiceDesc CHOICES[] = {
    {0, "no"},
    {1, "yes"},
    {0x1, "log"},
    {0x2, "processing"},
    {0x4, "smtpIncoming"},
    {0x8, "smtpOutgoing"},
    {0xC, "smtp"},
    {0x40, "pop3"},
};

constexpr MenuDesc MENUS[] = {
    {"YesNo", false, 0, 2},
    {"Services", true, 2, 6},
    {"", false, 0, 0},
};

} // namespace

const ConfigDesc SCHEMA = {
    1,          "T1",        "Test schema",     "2006-11-20",   CLASSES, std::size(CLASSES),
    ATTRIBUTES, DEFINITIONS, CONSTRAINT_PARAMS, DEFAULT_PARAMS, MENUS,   std::size(MENUS),
    CHOICES,
};

} // namespace testschema
