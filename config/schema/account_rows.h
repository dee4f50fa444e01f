// Attribute rows of accounts and users and of what each of them owns.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// The name and aliases of a user are checked against each other: the constraint knows indexes 0
// and 1 of User and 0 and 11 of UserV41, so those rows stay where they are.

#ifndef MORVEX_CONFIG_SCHEMA_ACCOUNT_ROWS_H
#define MORVEX_CONFIG_SCHEMA_ACCOUNT_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row AccountRows[] = {
    {"services",              ChoiseSet, AccountServices, Uint(63)},
    {"password",              CSString,  ENCODABLE},
    {"mboxContainerQuota",    O(MboxContainerQuota)},
    {"mboxDataSet",           OS(MboxData)},
    {"subscribedFolders",     OS(SubscribedFolder)},
    {"sharedFolderProviders", OS(SharedFolderProvider)},
};

inline constexpr Row UserV41Rows[] = {
    {"aliases",                    VS(String), UserRcptName, Max(256)},
    {"webmailData",                O(UserWebmailData)},
    {"limits",                     O(UserLimitsV41)},
    {"contactInfo",                O(ContactInfo)},
    {"contacts",                   OS(Contact)},
    {"vacationMaps",               OS(VacationMap)},
    {"rpopConnections",            OS(RpopConnection)},
    {"senderNotInAbookActionType", Choice,     filteringOptions, Uint(0)},
};

inline constexpr Row DelegateAssignmentRows[] = {
    {"name",      String, REQUIRED | KEY},
    {"resource",  String, KEY},
    {"allowMask", UnsignedInt},
};

inline constexpr Row UserRows[] = {
    {"name",                               String,      REQUIRED | KEY, RcptName},
    {"aliases",                            VS(String),  UserRcptName, Max(256)},
    {"password",                           CSString,    ENCODABLE},
    {"accountClassName",                   String,      StringLength(256, 0)},
    {"accountClassId",                     UnsignedInt},
    {"limits",                             O(UserLimits)},
    {"quota",                              O(UserQuota)},
    {"filters",                            O(UserFilters)},
    {"sendRecvRestrictions",               O(UserSendRecvRestrictions)},
    {"webmailAdvertising",                 O(UserWebmailAdvertising)},
    {"contactInfo",                        O(ContactInfo)},
    {"webmailData",                        O(UserWebmailData)},
    {"mboxDataSet",                        OS(MboxData)},
    {"vacationMaps",                       OS(VacationMap)},
    {"subscribedFolders",                  OS(SubscribedFolder)},
    {"sharedFolderProviders",              OS(SharedFolderProvider)},
    {"contacts",                           OS(Contact)},
    {"rpopConnections",                    OS(RpopConnection)},
    {"filteringOption",                    Choice,      filteringOptions, Uint(0)},
    {"wmFilterEnabled",                    Choice,      YesNo, Uint(0)},
    {"temporaryAliases",                   OS(TemporaryAlias)},
    {"ldapUser",                           O(LdapUser), ON_DEMAND},
    {"customerReference",                  String,      StringLength(1024, 0)},
    {"contactFolderIds",                   OS(MboxId)},
    {"contactFolders",                     VS(String)},
    {"lastPasswordExpirationMailPushTime", UnsignedInt},
    {"passwordExpiration",                 UnsignedInt},
    {"passwordHistory",                    OS(PasswordHistory)},
    {"publishContactInfo",                 Choice,      YesNo, Uint(0)},
    {"publicFreeBusyStatus",               Choice,      YesNo, Uint(0)},
    {"delegates",                          OS(DelegateAssignment)},
    {"reserved31",                         UnsignedInt, INTERNAL | NOT_SAVED},
};

inline constexpr Row AccountLimitsRows[] = {
    {"sentMessagesCount",           UnsignedInt, LIMIT, NO_LIMIT},
    {"sentMessagesSize",            UnsignedInt, LIMIT, NO_LIMIT},
    {"sentMessagesInterval",        UnsignedInt, UintInterval(2592000, 1, false, false),
                                                 Uint(3600)},
    {"pop3ConnectionCount",         UnsignedInt, LIMIT, NO_LIMIT},
    {"imapConnectionCount",         UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailRCPTCount",            UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailSessionCount",         UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailAttSize",              UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailAttCount",             UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailMessageSize",          UnsignedInt, LIMIT, NO_LIMIT},
    {"overQuotaThreshold",          UnsignedInt, UintInterval(100, 0, true, false), Uint(90)},
    {"quotaSendMessageThreshold",   UnsignedInt, UintInterval(100, 0, true, false), Uint(0)},
    {"sentRecipientsCount",         UnsignedInt, LIMIT, NO_LIMIT},
    {"sentOverquotaFileName",       CSString,    StringLength(1024, 0)},
    {"sentOverquotaEmailAddress",   String,      EmailAddress(true)},
    {"sentRecipientsExceptions",    VS(String)},
    {"passwordRecoveryMethods",     ChoiseSet,   passwordRecoveryMethod, Uint(0)},
    {"usernameRecoveryMethods",     ChoiseSet,   usernameRecoveryMethod, Uint(0)},
    {"peaPasswordRecoveryFileName", CSString,    StringLength(1024, 0)},
    {"peaUsernameRecoveryFileName", CSString,    StringLength(1024, 0)},
};

inline constexpr Row UserLimitsV41Rows[] = {
    {"rpopConnectionCount",   UnsignedInt, UintInterval(1000, 0, true, true), Uint(10)},
    {"rpopRetrievalInterval", UnsignedInt, UintInterval(86400, 0, true, false), Uint(300)},
};

inline constexpr Row SubscribedFolderRows[] = {
    {"name",  String,    REQUIRED | KEY},
    {"flags", ChoiseSet, mboxFlags, Uint(0)},
};

inline constexpr Row SharedFolderProviderRows[] = {
    {"name",        String, REQUIRED | KEY},
    {"id",          UnsignedInt},
    {"containerId", UnsignedInt},
};

inline constexpr Row RpopConnectionRows[] = {
    {"hostname",          String,      KEY, StringLength(255, 0)},
    {"port",              UnsignedInt, KEY, UintInterval(65535, 1, false, false), Uint(110)},
    {"username",          String,      KEY, StringLength(256, 0)},
    {"password",          CSString,    ENCODABLE},
    {"retrievalInterval", UnsignedInt, UintInterval(86400, 0, true, false), Uint(300)},
    {"folderName",        String,      StringLength(1024, 0)},
    {"encryption",        Choice,      SSLEncryption, Uint(0)},
    {"enableAPOP",        Choice,      YesNo, Uint(0)},
    {"deleteOnRetrieval", Choice,      YesNo, Uint(0)},
    {"statusCode",        UnsignedInt},
    {"label",             String,      StringLength(256, 0)},
};

inline constexpr Row VacationMapRows[] = {
    {"hash", UnsignedInt, REQUIRED | KEY},
    {"date", DateTime},
};

inline constexpr Row UserClassRows[] = {
    {"name",                 String, REQUIRED | KEY, StringLength(256, 0)},
    {"id",                   UnsignedInt},
    {"limits",               O(UserLimits)},
    {"quota",                O(UserQuota)},
    {"filters",              O(UserFilters)},
    {"sendRecvRestrictions", O(UserSendRecvRestrictions)},
    {"webmailAdvertising",   O(UserWebmailAdvertising)},
    {"storageId",            UnsignedInt},
};

inline constexpr Row TemporaryAliasRows[] = {
    {"address",        String, REQUIRED | KEY},
    {"expiryDateTime", DateTime},
};

inline constexpr Row PasswordHistoryRows[] = {
    {"passwordChange", UnsignedInt, REQUIRED | KEY},
    {"password",       CSString,    ENCODABLE},
};

// clang-format on

} // namespace HConfig::schema

#endif
