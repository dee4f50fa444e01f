// Attribute rows of mail filters and of where they are active.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// A filter is known by its name, an active filter by its priority: both are the key in their set.

#ifndef MORVEX_CONFIG_SCHEMA_FILTER_ROWS_H
#define MORVEX_CONFIG_SCHEMA_FILTER_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row ScriptFilterRows[] = {
    {"name", String,   REQUIRED | KEY},
    {"type", Choice,   SFTypes, Uint(0)},
    {"file", CSString, REQUIRED},
};

inline constexpr Row SocketFilterRows[] = {
    {"name",           String,      REQUIRED | KEY},
    {"address",        CSString,    REQUIRED},
    {"protocolFile",   CSString,    REQUIRED},
    {"idleTimeout",    UnsignedInt, UintInterval(86400, 0, true, true), Uint(300)},
    {"actionOnMatch",  Choice,      MatchActions, Uint(2)},
    {"maxConnections", UnsignedInt, UintInterval(512, 0, true, true), Uint(10)},
    {"maxMessageSize", UnsignedInt, UintInterval(102400, 0, true, true), Uint(10240)},
};

inline constexpr Row ActiveFilterRows[] = {
    {"filterName", String, REQUIRED, StringLength(256, 0)},
    {"filterType", Choice, REQUIRED, FilterTypes},
};

inline constexpr Row ServerActiveFilterRows[] = {
    {"priority", UnsignedInt, REQUIRED | KEY, UintInterval(500, 0, true, false)},
    {"applyOn",  ChoiseSet,   applyOnRelayTypes, Uint(1)},
};

inline constexpr Row DomainActiveFilterRows[] = {
    {"priority",    UnsignedInt, REQUIRED | KEY, UintInterval(500, 0, true, false)},
    {"filteringOn", Choice,      filteringOn, Uint(0)},
};

inline constexpr Row AccountActiveFilterRows[] = {
    {"priority",    UnsignedInt, REQUIRED | KEY, UintInterval(500, 0, true, false)},
    {"filteringOn", Choice,      filteringOn, Uint(0)},
};

inline constexpr Row IntegratedFilterRows[] = {
    {"name",           String,                    REQUIRED | KEY, StringLength(256, 0)},
    {"enable",         Choice,                    YesNo, Uint(1)},
    {"type",           Choice,                    integratedFilterType, Uint(1)},
    {"command",        CSString},
    {"requestTimeout", UnsignedInt,               UintInterval(86400, 0, true, true), Uint(300)},
    {"configParams",   OS(IntegratedFilterParam), Max(256)},
};

inline constexpr Row IntegratedFilterParamRows[] = {
    {"name",  String, REQUIRED | KEY, StringLength(256, 0)},
    {"value", CSString},
};

// clang-format on

} // namespace HConfig::schema

#endif
