// Attribute rows of a domain and of the objects that live in it, but for users and lists.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// Domain names and aliases are checked against each other: the constraint knows indexes 0 and 1 of
// Domain, so those two rows stay where they are.

#ifndef MORVEX_CONFIG_SCHEMA_DOMAIN_ROWS_H
#define MORVEX_CONFIG_SCHEMA_DOMAIN_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row DomainRows[] = {
    {"name",                               String,                 REQUIRED | KEY, DomainName},
    {"aliases",                            VS(String),             DomainName, Max(256)},
    {"assignedIP",                         InetAddr},
    {"showWebmailLogin",                   Choice,                 YesNo, Uint(1)},
    {"services",                           ChoiseSet,              DomainServices, Uint(63)},
    {"scriptFilters",                      OS(ScriptFilter),       Max(64)},
    {"socketFilters",                      OS(SocketFilter),       Max(64)},
    {"activeFilters",                      OS(DomainActiveFilter), Max(64)},
    {"webmailData",                        O(DomainWebmailData)},
    {"migrationData",                      O(DomainMigrationData)},
    {"publishRcptContacts",                Choice,                 YesNo, Uint(0)},
    {"contacts",                           OS(Contact)},
    {"enableAppender",                     Choice,                 YesNo, Uint(0)},
    {"appenderText",                       String},
    {"accountLimitsDefault",               O(UserLimitsSetting)},
    {"accountQuotaDefault",                O(UserQuotaSetting)},
    {"accountFiltersDefault",              O(UserFiltersSetting)},
    {"accountSendRecvRestrictionsDefault", O(UserSendRecvRestrictionsSetting)},
    {"accountwebmailAdvertisingDefault",   O(UserWebmailAdvertisingSetting)},
    {"accountClasses",                     OS(UserClass)},
    {"catchAllType",                       Choice,                 catchAllType, Uint(0)},
    {"catchAllAccountName",                String,                 StringLength(256, 0)},
    {"catchAllAccountId",                  UnsignedInt},
    {"catchAllFolderName",                 String,                 StringLength(1024, 0)},
    {"catchAllFolderId",                   UnsignedInt},
    {"administrativeLimits",               O(DomainAdminLimits)},
    {"sharedFoldersNamespace",             String,                 StringLength(255, 0),
                                                                   Text("Other users' folders")},
    {"createUsersFromLdap",                Choice,                 YesNo, Uint(0)},
    {"parentName",                         String,                 StringLength(255, 0)},
    {"enableLDAPSync",                     Choice,                 YesNo, Uint(0)},
    {"ldapSyncConnectorName",              String,                 StringLength(64, 0)},
    {"customerReference",                  String,                 StringLength(1024, 0)},
    {"defaultTimeZone",                    String},
    {"defaultLanguage",                    String,                 StringLength(512, 0)},
    {"domainUniversalUniqueID",            String,                 FLAG_512, StringLength(16, 16),
                                                                   Text("FFFFFFFFFFFFFFFF")},
    {"domainParentUniversalUniqueID",      String,                 FLAG_512, StringLength(16, 16),
                                                                   Text("FFFFFFFFFFFFFFFF")},
    {"disposableMetadataQuotaThreshold",   UnsignedInt},
    {"lastBackupLabelId",                  UnsignedInt,            INTERNAL | FLAG_512},
    {"backupLabels",                       OS(DomainBackupLabel),  INTERNAL | FLAG_512, Max(256)},
};

inline constexpr Row DomainMigrationDataRows[] = {
    {"enable",                    Choice,      YesNo, Uint(0)},
    {"remoteImapHost",            String,      StringLength(255, 0)},
    {"remoteImapPort",            UnsignedInt, UintInterval(65535, 1, false, false), Uint(143)},
    {"remoteSmtpHost",            String,      StringLength(255, 0)},
    {"remoteSmtpPort",            UnsignedInt, UintInterval(65535, 1, false, false), Uint(25)},
    {"defaultAccountClassName",   String,      StringLength(256, 0)},
    {"createPremiumAccounts",     Choice,      YesNo, Uint(0)},
    {"enableContinuousMigration", Choice,      YesNo, Uint(0)},
};

inline constexpr Row DomainPasswordEnforcementRows[] = {
    {"enable",             Choice,      YesNo, Uint(0)},
    {"minimumLength",      UnsignedInt, UintInterval(255, 0, true, false), Uint(0)},
    {"maximumLength",      UnsignedInt, UintInterval(255, 1, false, false), Uint(64)},
    {"requiredCharacters", Choice,      SPECharacters, Uint(0)},
};

inline constexpr Row PublicFolderRows[] = {
    {"name",               String, REQUIRED | KEY, RcptName},
    {"mboxContainerQuota", O(MboxContainerQuota)},
    {"mboxDataSet",        OS(MboxData)},
};

inline constexpr Row DomainObjectRows[] = {
    {"name",                 String,                  REQUIRED | KEY, RcptName},
    {"scriptFilters",        OS(ScriptFilter),        Max(64)},
    {"socketFilters",        OS(SocketFilter),        Max(64)},
    {"accountActiveFilters", OS(AccountActiveFilter), Max(64)},
    {"publishContactInfo",   Choice,                  YesNo, Uint(0)},
};

inline constexpr Row GroupRows[] = {
    {"enable",                 Choice,       YesNo, Uint(1)},
    {"adresses",               VS(String)},
    {"members",                OS(GroupMember)},
    {"localMembers",           VS(String)},
    {"ldapMembers",            VS(String)},
    {"ldapGroup",              O(LdapGroup), ON_DEMAND},
    {"membersPostdockAsGroup", Choice,       YesNo, Uint(0)},
    {"distributeEmailTo",      Choice,       distributeTo, Uint(0)},
    {"receiveEmailFrom",       Choice,       receiveFrom, Uint(0)},
};

inline constexpr Row FolderRecipientRows[] = {
    {"mboxName", String, StringLength(1024, 0)},
    {"enable",   Choice, YesNo, Uint(1)},
    {"mboxId",   UnsignedInt},
};

inline constexpr Row GroupMemberRows[] = {
    {"id",   UnsignedInt, KEY},
    {"name", String,      KEY},
    {"type", UnsignedInt},
};

inline constexpr Row DomainAdminLimitsRows[] = {
    {"maxAccounts",                            UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxMaillists",                           UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxGroups",                              UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxFolderRecipients",                    UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxAccountClasses",                      UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxAccountMessageSizeQuota",             UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxAccountMessageCountQuota",            UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxAccountFolderCountQuota",             UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxAccountFolderMessageSizeQuota",       UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxAccountFolderMessageCountQuota",      UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxMaillistMessageSizeQuota",            UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxMaillistMessageCountQuota",           UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxMaillistFolderCountQuota",            UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxMaillistFolderMessageSizeQuota",      UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxMaillistFolderMessageCountQuota",     UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxPublicFolderMessageSizeQuota",        UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxPublicFolderMessageCountQuota",       UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxPublicFolderFolderCountQuota",        UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxPublicFolderFolderMessageSizeQuota",  UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxPublicFolderFolderMessageCountQuota", UnsignedInt,  LIMIT, NO_LIMIT},
    {"availableServices",                      ChoiseSet,    DomainServices, Uint(63)},
    {"maxSubdomains",                          UnsignedInt,  LIMIT, NO_LIMIT},
    {"subdomainStorageLocation",               String,       StringLength(1024, 0),
                                                             Text("%L/subdomains/%D")},
    {"subdomainObjectStorageLocation",         String,       StringLength(1024, 0),
                                                             Text("%L/subdomains/%D")},
    {"subdomainMessageStorageLocations",       VS(CSString), Max(255)},
    {"reservedRcpts",                          VS(String)},
    {"purgeFolders",                           VS(String),   StringLength(1024, 0), PurgeFolders},
    {"purgeConstraint",                        String,       SearchCondition(false),
                                                             Text("BEFORE 2w")},
    {"maxPremiumMailboxCount",                 UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxSharingMailboxCount",                 UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxPersonalOrganizerMailboxCount",       UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxOutlookConnectorMailboxCount",        UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxActiveSyncMailboxCount",              UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxKAVMailboxCount",                     UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxKASMailboxCount",                     UnsignedInt,  LIMIT, NO_LIMIT},
    {"maxIAMailboxCount",                      UnsignedInt,  LIMIT, NO_LIMIT},
};

inline constexpr Row DomainBackupLabelRows[] = {
    {"backupLabelId",   UnsignedInt, REQUIRED | KEY},
    {"backupLabelName", String,      StringLength(256, 0)},
    {"backupDate",      DateTime},
};

// clang-format on

} // namespace HConfig::schema

#endif
