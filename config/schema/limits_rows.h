// Attribute rows of what users may do: limits, quotas, filters, restrictions and advertising.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// Each family comes twice: a Setting with the values, as a domain holds it for all its accounts,
// and a class built on it that adds, value by value and in the same order, whether a user inherits
// it.

#ifndef MORVEX_CONFIG_SCHEMA_LIMITS_ROWS_H
#define MORVEX_CONFIG_SCHEMA_LIMITS_ROWS_H

#include "config/schema/row.h"
#include "config/schema/texts.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row UserLimitsSettingRows[] = {
    {"services",                       ChoiseSet,   AccountServices, Uint(63)},
    {"pop3ConnectionCount",            UnsignedInt, LIMIT, NO_LIMIT},
    {"imapConnectionCount",            UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailSessionCount",            UnsignedInt, LIMIT, NO_LIMIT},
    {"sentMessagesSize",               UnsignedInt, LIMIT, NO_LIMIT},
    {"sentMessagesCount",              UnsignedInt, LIMIT, NO_LIMIT},
    {"sentMessagesInterval",           UnsignedInt, UintInterval(2592000, 1, false, false),
                                                    Uint(3600)},
    {"rpopConnectionCount",            UnsignedInt, UintInterval(1000, 0, true, true), Uint(10)},
    {"rpopRetrievalInterval",          UnsignedInt, UintInterval(86400, 0, true, false), Uint(300)},
    {"webmailRCPTCount",               UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailAttSize",                 UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailAttCount",                UnsignedInt, LIMIT, NO_LIMIT},
    {"webmailMessageSize",             UnsignedInt, LIMIT, NO_LIMIT},
    {"passwordEnforcementEnabled",     Choice,      YesNo, Uint(0)},
    {"minimumPasswordLength",          UnsignedInt, UintInterval(255, 0, true, false), Uint(0)},
    {"maximumPasswordLength",          UnsignedInt, UintInterval(255, 1, false, false), Uint(64)},
    {"requiredPasswordCharacters",     Choice,      SPECharacters, Uint(0)},
    {"htmlFilterLevel",                UnsignedInt, UintInterval(10, 0, true, false), Uint(2)},
    {"temporaryAliasesCount",          UnsignedInt, UintInterval(1000, 0, true, true), Uint(10)},
    {"temporaryAliasesInterval",       UnsignedInt, UintInterval(31536000, 0, true, true),
                                                    Uint(604800)},
    {"enableActiveSync",               Choice,      YesNo, Uint(0)},
    {"activeSyncOptions",              ChoiseSet,   activeSyncOption, Uint(7)},
    {"enableOutlookConnector",         Choice,      YesNo, Uint(0)},
    {"enableWebPersonalOrganizer",     Choice,      YesNo, Uint(0)},
    {"enableSharing",                  Choice,      YesNo, Uint(0)},
    {"enableKAV",                      Choice,      YesNo, Uint(0)},
    {"enableKAS",                      Choice,      YesNo, Uint(0)},
    {"enableIA",                       Choice,      YesNo, Uint(0)},
    {"passExpirationEnabled",          Choice,      YesNo, Uint(0)},
    {"passExpirationInterval",         UnsignedInt, UintInterval(31536000, 0, true, false),
                                                    Uint(7776000)},
    {"passRenewalInterval",            UnsignedInt, UintInterval(31536000, 0, true, false),
                                                    Uint(0)},
    {"passExpirationWarningEnabled",   Choice,      YesNo, Uint(0)},
    {"passExpirationWarningInterval",  UnsignedInt, UintInterval(31536000, 0, true, false),
                                                    Uint(604800)},
    {"passExpirationWarningSentDaily", Choice,      YesNo, Uint(0)},
    {"passExpirationWarningSubject",   String,      Text(texts::passExpirationWarningSubject)},
    {"passExpirationWarningBody",      String,      Text(texts::passExpirationWarningBody)},
    {"passExpirationWarningFileName",  CSString,    StringLength(1024, 0)},
    {"passHistorySize",                UnsignedInt, UintInterval(100, 0, true, false), Uint(0)},
    {"passUnchangeable",               Choice,      YesNo, Uint(0)},
    {"welcomeMessageEnabled",          Choice,      YesNo, Uint(0)},
    {"welcomeMessageSubject",          String,      Text(texts::welcomeMessageSubject)},
    {"welcomeMessageBody",             String,      Text(texts::welcomeMessageBody)},
    {"welcomeMessageFileName",         CSString,    StringLength(1024, 0)},
    {"allowIdentityConfirmation",      Choice,      YesNo, Uint(0)},
    {"editableContactInfo",            Choice,      YesNo, Uint(1)},
    {"enableAutoMigration",            Choice,      YesNo, Uint(0)},
    {"sentRecipientsCount",            UnsignedInt, LIMIT, NO_LIMIT},
    {"sentOverquotaFileName",          CSString,    StringLength(1024, 0)},
    {"sentOverquotaEmailAddress",      String,      EmailAddress(true)},
    {"sentRecipientsExceptions",       VS(String)},
    {"passwordRecoveryMethods",        ChoiseSet,   passwordRecoveryMethod, Uint(0)},
    {"usernameRecoveryMethods",        ChoiseSet,   usernameRecoveryMethod, Uint(0)},
    {"peaPasswordRecoveryFileName",    CSString,    StringLength(1024, 0)},
    {"peaUsernameRecoveryFileName",    CSString,    StringLength(1024, 0)},
};

inline constexpr Row UserLimitsRows[] = {
    {"servicesInherited",                       Choice, YesNo, Uint(1)},
    {"pop3ConnectionCountInherited",            Choice, YesNo, Uint(1)},
    {"imapConnectionCountInherited",            Choice, YesNo, Uint(1)},
    {"webmailSessionCountInherited",            Choice, YesNo, Uint(1)},
    {"sentMessagesSizeInherited",               Choice, YesNo, Uint(1)},
    {"sentMessagesCountInherited",              Choice, YesNo, Uint(1)},
    {"sentMessagesIntervalInherited",           Choice, YesNo, Uint(1)},
    {"rpopConnectionCountInherited",            Choice, YesNo, Uint(1)},
    {"rpopRetrievalIntervalInherited",          Choice, YesNo, Uint(1)},
    {"webmailRCPTCountInherited",               Choice, YesNo, Uint(1)},
    {"webmailAttSizeInherited",                 Choice, YesNo, Uint(1)},
    {"webmailAttCountInherited",                Choice, YesNo, Uint(1)},
    {"webmailMessageSizeInherited",             Choice, YesNo, Uint(1)},
    {"passwordEnforcementEnabledInherited",     Choice, YesNo, Uint(1)},
    {"minimumPasswordLengthInherited",          Choice, YesNo, Uint(1)},
    {"maximumPasswordLengthInherited",          Choice, YesNo, Uint(1)},
    {"requiredPasswordCharactersInherited",     Choice, YesNo, Uint(1)},
    {"htmlFilterLevelInherited",                Choice, YesNo, Uint(1)},
    {"temporaryAliasesCountInherited",          Choice, YesNo, Uint(1)},
    {"temporaryAliasesIntervalInherited",       Choice, YesNo, Uint(1)},
    {"enableActiveSyncInherited",               Choice, YesNo, Uint(1)},
    {"activeSyncOptionsInherited",              Choice, YesNo, Uint(1)},
    {"enableOutlookConnectorInherited",         Choice, YesNo, Uint(1)},
    {"enableWebPersonalOrganizerInherited",     Choice, YesNo, Uint(1)},
    {"enableSharingInherited",                  Choice, YesNo, Uint(1)},
    {"enableKAVInherited",                      Choice, YesNo, Uint(1)},
    {"enableKASInherited",                      Choice, YesNo, Uint(1)},
    {"enableIAInherited",                       Choice, YesNo, Uint(1)},
    {"passExpirationEnabledInherited",          Choice, YesNo, Uint(1)},
    {"passExpirationIntervalInherited",         Choice, YesNo, Uint(1)},
    {"passRenewalIntervalInherited",            Choice, YesNo, Uint(1)},
    {"passExpirationWarningEnabledInherited",   Choice, YesNo, Uint(1)},
    {"passExpirationWarningIntervalInherited",  Choice, YesNo, Uint(1)},
    {"passExpirationWarningSentDailyInherited", Choice, YesNo, Uint(1)},
    {"passExpirationWarningSubjectInherited",   Choice, YesNo, Uint(1)},
    {"passExpirationWarningBodyInherited",      Choice, YesNo, Uint(1)},
    {"passExpirationWarningFileNameInherited",  Choice, YesNo, Uint(1)},
    {"passHistorySizeInherited",                Choice, YesNo, Uint(1)},
    {"passUnchangeableInherited",               Choice, YesNo, Uint(1)},
    {"welcomeMessageEnabledInherited",          Choice, YesNo, Uint(1)},
    {"welcomeMessageSubjectInherited",          Choice, YesNo, Uint(1)},
    {"welcomeMessageBodyInherited",             Choice, YesNo, Uint(1)},
    {"welcomeMessageFileNameInherited",         Choice, YesNo, Uint(1)},
    {"allowIdentityConfirmationInherited",      Choice, YesNo, Uint(1)},
    {"editableContactInfoInherited",            Choice, YesNo, Uint(1)},
    {"enableAutoMigrationInherited",            Choice, YesNo, Uint(1)},
    {"sentRecipientsCountInherited",            Choice, YesNo, Uint(1)},
    {"sentOverquotaFileNameInherited",          Choice, YesNo, Uint(1)},
    {"sentOverquotaEmailAddressInherited",      Choice, YesNo, Uint(1)},
    {"sentRecipientsExceptionsInherited",       Choice, YesNo, Uint(1)},
    {"passwordRecoveryMethodsInherited",        Choice, YesNo, Uint(1)},
    {"usernameRecoveryMethodsInherited",        Choice, YesNo, Uint(1)},
    {"peaPasswordRecoveryFileNameInherited",    Choice, YesNo, Uint(1)},
    {"peaUsernameRecoveryFileNameInherited",    Choice, YesNo, Uint(1)},
};

inline constexpr Row UserQuotaSettingRows[] = {
    {"totalMessageSize",               UnsignedInt, LIMIT, NO_LIMIT},
    {"totalMessageCount",              UnsignedInt, LIMIT, NO_LIMIT},
    {"mboxCount",                      UnsignedInt, LIMIT, NO_LIMIT},
    {"messageSize",                    UnsignedInt, LIMIT, NO_LIMIT},
    {"messageCount",                   UnsignedInt, LIMIT, NO_LIMIT},
    {"quotaLimitThreshold",            UnsignedInt, UintInterval(100, 0, true, false), Uint(90)},
    {"quotaLimitNotificationInterval", UnsignedInt, UintInterval(31536000, 0, true, false),
                                                    Uint(86400)},
    {"quotaLimitNotificationSubject",  String,      Text(texts::quotaLimitNotificationSubject)},
    {"quotaLimitNotificationBody",     String,      Text(texts::quotaLimitNotificationBody)},
    {"quotaLimitNotificationFileName", CSString,    StringLength(1024, 0)},
    {"quotaLimitNotificationEnabled",  Choice,      YesNo, Uint(0)},
    {"quotaSendMessageThreshold",      UnsignedInt, UintInterval(100, 0, true, false), Uint(0)},
    {"filteredEmailSizeQuota",         UnsignedInt, LIMIT, NO_LIMIT},
    {"filteredEmailCountQuota",        UnsignedInt, LIMIT, NO_LIMIT},
};

inline constexpr Row UserQuotaRows[] = {
    {"totalMessageSizeInherited",               Choice, YesNo, Uint(1)},
    {"totalMessageCountInherited",              Choice, YesNo, Uint(1)},
    {"mboxCountInherited",                      Choice, YesNo, Uint(1)},
    {"messageSizeInherited",                    Choice, YesNo, Uint(1)},
    {"messageCountInherited",                   Choice, YesNo, Uint(1)},
    {"quotaLimitThresholdInherited",            Choice, YesNo, Uint(1)},
    {"quotaLimitNotificationIntervalInherited", Choice, YesNo, Uint(1)},
    {"quotaLimitNotificationSubjectInherited",  Choice, YesNo, Uint(1)},
    {"quotaLimitNotificationBodyInherited",     Choice, YesNo, Uint(1)},
    {"quotaLimitNotificationFileNameInherited", Choice, YesNo, Uint(1)},
    {"quotaLimitNotificationEnabledInherited",  Choice, YesNo, Uint(1)},
    {"quotaSendMessageThresholdInherited",      Choice, YesNo, Uint(1)},
    {"filteredEmailSizeQuotaInherited",         Choice, YesNo, Uint(1)},
    {"filteredEmailCountQuotaInherited",        Choice, YesNo, Uint(1)},
};

inline constexpr Row UserFiltersSettingRows[] = {
    {"scriptFilters", OS(ScriptFilter),        Max(64)},
    {"socketFilters", OS(SocketFilter),        Max(64)},
    {"activeFilters", OS(AccountActiveFilter), Max(64)},
};

inline constexpr Row UserFiltersRows[] = {
    {"filtersInherited", Choice, YesNo, Uint(1)},
};

inline constexpr Row UserSendRecvRestrictionsSettingRows[] = {
    {"enableSendRestrictions", Choice, YesNo, Uint(0)},
    {"sendPolicy",             Choice, sendRecvPolicy, Uint(1)},
    {"sendPolicyExceptions",   VS(String)},
    {"enableRecvRestrictions", Choice, YesNo, Uint(0)},
    {"recvPolicy",             Choice, sendRecvPolicy, Uint(1)},
    {"recvPolicyExceptions",   VS(String)},
};

inline constexpr Row UserSendRecvRestrictionsRows[] = {
    {"enableSendRestrictionsInherited", Choice, YesNo, Uint(1)},
    {"sendPolicyInherited",             Choice, YesNo, Uint(1)},
    {"sendPolicyExceptionsInherited",   Choice, YesNo, Uint(1)},
    {"enableRecvRestrictionsInherited", Choice, YesNo, Uint(1)},
    {"recvPolicyInherited",             Choice, YesNo, Uint(1)},
    {"recvPolicyExceptionsInherited",   Choice, YesNo, Uint(1)},
};

inline constexpr Row UserWebmailAdvertisingSettingRows[] = {
    {"enableTopBanner",     Choice, YesNo, Uint(0)},
    {"topBannerContent",    String},
    {"enableRightBanner",   Choice, YesNo, Uint(0)},
    {"rightBannerContent",  String},
    {"enableBottomBanner",  Choice, YesNo, Uint(0)},
    {"bottomBannerContent", String},
};

inline constexpr Row UserWebmailAdvertisingRows[] = {
    {"enableTopBannerInherited",     Choice, YesNo, Uint(1)},
    {"topBannerContentInherited",    Choice, YesNo, Uint(1)},
    {"enableRightBannerInherited",   Choice, YesNo, Uint(1)},
    {"rightBannerContentInherited",  Choice, YesNo, Uint(1)},
    {"enableBottomBannerInherited",  Choice, YesNo, Uint(1)},
    {"bottomBannerContentInherited", Choice, YesNo, Uint(1)},
};

// clang-format on

} // namespace HConfig::schema

#endif
