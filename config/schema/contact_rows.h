// Attribute rows of address book entries.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// Entries are what people type: their texts carry no constraint.

#ifndef MORVEX_CONFIG_SCHEMA_CONTACT_ROWS_H
#define MORVEX_CONFIG_SCHEMA_CONTACT_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row ContactInfoRows[] = {
    {"firstName",            String},
    {"lastName",             String},
    {"nickName",             String},
    {"personalEmail",        String},
    {"businessEmail",        String},
    {"phone",                String},
    {"mobilePhone",          String},
    {"homePhone",            String},
    {"businessPhone",        String},
    {"homeAddress",          String},
    {"businessAddress",      String},
    {"photo",                String},
    {"personalVoIPAddress",  String},
    {"birthday",             String},
    {"spouseName",           String},
    {"businessVoIPAddress",  String},
    {"company",              String},
    {"department",           String},
    {"office",               String},
    {"position",             String},
    {"profession",           String},
    {"managerName",          String},
    {"assistantName",        String},
    {"website",              String},
    {"yahooMessengerId",     String},
    {"googleTalkId",         String},
    {"liveMessengerAddress", String},
    {"icqNumber",            String},
    {"aolScreenName",        String},
    {"skypeId",              String},
    {"title",                String},
    {"middleName",           String},
    {"suffix",               String},
    {"businessFax",          String},
    {"contactNotes",         String},
};

inline constexpr Row ContactRows[] = {
    {"email",   String, KEY},
    {"notes",   String},
    {"details", OS(ContactDetail)},
};

inline constexpr Row ContactDetailRows[] = {
    {"name",  String, REQUIRED | KEY},
    {"value", String},
};

// clang-format on

} // namespace HConfig::schema

#endif
