// Attribute rows of what the reporting service collects and draws.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// Templates, databases and graphics refer to each other by name; the name is the key in each set.

#ifndef MORVEX_CONFIG_SCHEMA_REPORTING_ROWS_H
#define MORVEX_CONFIG_SCHEMA_REPORTING_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row ReportingTemplateRows[] = {
    {"name",           String,      REQUIRED | KEY, StringLength(64, 0)},
    {"sampleInterval", UnsignedInt, UintInterval(2592000, 1, false, false), Uint(300)},
    {"rotateCount",    UnsignedInt, UintInterval(1000000, 1, false, false), Uint(288)},
};

inline constexpr Row ReportingDatabaseRows[] = {
    {"name",      String, REQUIRED | KEY, StringLength(64, 0)},
    {"parameter", String},
    {"function",  Choice, ReportingFunctions, Uint(1)},
    {"template",  String, StringLength(64, 0)},
};

inline constexpr Row ReportingGraphicRows[] = {
    {"name",         String,                 REQUIRED | KEY, StringLength(64, 0)},
    {"database",     String,                 StringLength(64, 0)},
    {"type",         Choice,                 ReportingGraphicTypes, Uint(1)},
    {"fillColor",    String,                 StringLength(64, 0)},
    {"outlineColor", String,                 StringLength(64, 0)},
    {"onPage",       Choice,                 YesNo, Uint(1)},
    {"groupName",    String,                 StringLength(64, 0)},
    {"beginTime",    String,                 StringLength(64, 0)},
    {"endTime",      String,                 StringLength(64, 0)},
    {"style",        String,                 StringLength(64, 0)},
    {"parameters",   OS(ReportingParameter), Max(64)},
};

inline constexpr Row ReportingParameterRows[] = {
    {"id",               UnsignedInt, REQUIRED | KEY},
    {"name",             String},
    {"scope",            Choice,      ReportingParameterScope, Uint(0)},
    {"domainName",       String,      StringLength(255, 0)},
    {"domainObjectName", String,      StringLength(256, 0)},
    {"function",         Choice,      ReportingFunctions, Uint(1)},
    {"style",            String,      StringLength(64, 0)},
};

// clang-format on

} // namespace HConfig::schema

#endif
