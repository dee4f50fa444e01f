// Attribute rows of webmail settings, from the domain's down to those of a user or a list.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.

#ifndef MORVEX_CONFIG_SCHEMA_WEBMAIL_ROWS_H
#define MORVEX_CONFIG_SCHEMA_WEBMAIL_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row DomainWebmailDataRows[] = {
    {"skin",                String,      StringLength(64, 0)},
    {"language",            String,      StringLength(512, 0)},
    {"pageSize",            UnsignedInt, UintInterval(1000, 1, false, false), Uint(20)},
    {"confirmMailDelete",   Choice,      YesNo, Uint(1)},
    {"htmlFilterLevel",     UnsignedInt, UintInterval(10, 0, true, false), Uint(2)},
    {"confirmFolderEmpty",  Choice,      YesNo, Uint(1)},
    {"saveToSent",          Choice,      YesNo, Uint(1)},
    {"deleteToTrash",       Choice,      YesNo, Uint(1)},
    {"hideDeletedMessages", Choice,      YesNo, Uint(1)},
    {"autoRefreshInterval", UnsignedInt, UintInterval(86400, 0, true, false), Uint(60)},
    {"replyTo",             String,      EmailAddress(true)},
};

inline constexpr Row AccountWebmailDataRows[] = {
    {"signature",                  String},
    {"enableNewEmailNotification", Choice, YesNo, Uint(1)},
};

inline constexpr Row UserWebmailDataRows[] = {
    {"usePublicContacts",         Choice,       YesNo, Uint(1)},
    {"useRcptContacts",           Choice,       YesNo, Uint(1)},
    {"timeZone",                  String,       TimeZoneTransform, Text("GMT")},
    {"timeZoneSpec",              BinaryString, FLAG_512, StringLength(172, 0)},
    {"weekStartDay",              Choice,       WeekDay, Uint(1)},
    {"requestReadReceipts",       Choice,       YesNo, Uint(0)},
    {"sendReadReceipts",          Choice,       sendReadReceipts, Uint(2)},
    {"UISettings",                String},
    {"workingDays",               ChoiseSet,    WeekMask, Uint(62)},
    {"startWorkingTime",          Time,         TimeConstant("08:00")},
    {"endWorkingTime",            Time,         TimeConstant("17:00")},
    {"purgeTrashMessageSelector", String},
    {"purgeSpamMessageSelector",  String},
    {"dateFormat",                String,       StringLength(64, 0)},
    {"timeFormat",                String,       StringLength(64, 0)},
    {"secretQuestion",            String,       StringLength(1024, 0)},
    {"secretAnswer",              String,       StringLength(1024, 0)},
};

inline constexpr Row MaillistWebmailDataRows[] = {
    {"timeZone",   String, TimeZoneTransform, Text("GMT")},
    {"UISettings", String},
};

// clang-format on

} // namespace HConfig::schema

#endif
