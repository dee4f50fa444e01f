// Attribute rows of mailing lists.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// The list's name and its three command names must differ: the constraint knows them as indexes 0,
// 14, 15 and 16 of Maillist, so those rows stay where they are.

#ifndef MORVEX_CONFIG_SCHEMA_MAILLIST_ROWS_H
#define MORVEX_CONFIG_SCHEMA_MAILLIST_ROWS_H

#include "config/schema/row.h"
#include "config/schema/texts.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row MaillistRows[] = {
    {"name",                          String,    REQUIRED | KEY, MaillistRcptName, CHANGED},
    {"services",                      ChoiseSet, MaillistServices, Uint(31), CHANGED},
    {"webmailData",                   O(MaillistWebmailData)},
    {"limits",                        O(MaillistLimits)},
    {"description",                   String,    StringLength(1024, 0)},
    {"subscribeRcpt",                 String,    MaillistRcptName},
    {"unsubscribeRcpt",               String,    MaillistRcptName},
    {"requestRcpt",                   String,    MaillistRcptName},
    {"enabledRcpts",                  ChoiseSet, listRcpts, Uint(7)},
    {"adminConfirm",                  Choice,    YesNo, Uint(0)},
    {"senderAllow",                   Choice,    listSender, Uint(0)},
    {"moderate",                      Choice,    listModeration, Uint(2)},
    {"ctypeAllow",                    Choice,    listCType, Uint(1)},
    {"adminEmail",                    String,    EmailAddress(true)},
    {"removeHeader",                  String},
    {"addHeader",                     String},
    {"bodyBegin",                     String},
    {"bodyEnd",                       String},
    {"unknownCommand",                String,    Text(texts::unknownCommand)},
    {"invalidUserName",               String,    Text(texts::invalidUserName)},
    {"notAUser",                      String,    Text(texts::notAUser)},
    {"badConfirmation",               String,    Text(texts::badConfirmation)},
    {"requestNeedsConfirmation",      String,    Text(texts::requestNeedsConfirmation)},
    {"requestNeedsAdminConfirmation", String,    Text(texts::requestNeedsAdminConfirmation)},
    {"userAlreadySubscribed",         String,    Text(texts::userAlreadySubscribed)},
    {"autoRejectResponse",            String,    Text(texts::autoRejectResponse)},
    {"welcome",                       String,    Text(texts::welcome)},
    {"goodbye",                       String,    Text(texts::goodbye)},
    {"invalidFormat",                 String,    Text(texts::invalidFormat)},
    {"subscribeDenied",               String,    Text(texts::subscribeDenied)},
    {"maillistUsers",                 OS(MaillistUser)},
};

inline constexpr NoRows MaillistLimitsRows;

inline constexpr Row MaillistUserRows[] = {
    {"email", String, REQUIRED | KEY},
    {"name",  String},
};

// clang-format on

} // namespace HConfig::schema

#endif
