// The menus: named choices behind the values of type Choice and ChoiseSet.
//
// The value of a SINGLE menu is one choice; that of a MULTIPLE menu is a set of bits, and a choice
// of several bits is a shorthand that is read but never written. Names are matched without regard
// to case. A menu's id is what attribute rows name it by; 9, 10 and 46 are not used.

#ifndef MORVEX_CONFIG_SCHEMA_MENUS_H
#define MORVEX_CONFIG_SCHEMA_MENUS_H

#include "config/schema_desc.h"

#include <cstdint>

namespace HConfig::schema {

// clang-format off
#define MORVEX_CONFIG_MENUS(SINGLE, MULTIPLE)                                                     \
    SINGLE(   0, YesNo)                                                                           \
    SINGLE(   1, UserMapTypes)                                                                    \
    MULTIPLE( 2, ServerServices)                                                                  \
    MULTIPLE( 3, DomainServices)                                                                  \
    MULTIPLE( 4, AccountServices)                                                                 \
    MULTIPLE( 5, MaillistServices)                                                                \
    SINGLE(   6, LogType)                                                                         \
    SINGLE(   7, LogRuleType)                                                                     \
    SINGLE(   8, LogModuleName)                                                                   \
    MULTIPLE(11, SSLVersion)                                                                      \
    MULTIPLE(12, AuthTypes)                                                                       \
    SINGLE(  13, WMAuthTypes)                                                                     \
    SINGLE(  14, SFTypes)                                                                         \
    SINGLE(  15, MatchActions)                                                                    \
    SINGLE(  16, FilterTypes)                                                                     \
    SINGLE(  17, listSender)                                                                      \
    SINGLE(  18, listModeration)                                                                  \
    SINGLE(  19, listCType)                                                                       \
    MULTIPLE(20, listRcpts)                                                                       \
    SINGLE(  21, LogRotatePeriod)                                                                 \
    SINGLE(  22, ReportingFunctions)                                                              \
    SINGLE(  23, ReportingGraphicTypes)                                                           \
    SINGLE(  24, UserdbConnectorTypes)                                                            \
    SINGLE(  25, SSLEncryption)                                                                   \
    SINGLE(  26, SPECharacters)                                                                   \
    MULTIPLE(27, applyOnRelayTypes)                                                               \
    SINGLE(  28, WeekDay)                                                                         \
    MULTIPLE(29, WeekMask)                                                                        \
    SINGLE(  30, filteringOptions)                                                                \
    SINGLE(  31, catchAllType)                                                                    \
    MULTIPLE(32, mboxFlags)                                                                       \
    SINGLE(  33, mboxType)                                                                        \
    SINGLE(  34, mboxSortType)                                                                    \
    SINGLE(  35, mboxGroupType)                                                                   \
    MULTIPLE(36, activeSyncOption)                                                                \
    SINGLE(  37, sendRecvPolicy)                                                                  \
    SINGLE(  38, ReportingParameterScope)                                                         \
    SINGLE(  39, filteringOn)                                                                     \
    SINGLE(  40, sendReadReceipts)                                                                \
    SINGLE(  41, ldapSyncDirection)                                                               \
    SINGLE(  42, ldapSyncConflictResolution)                                                      \
    SINGLE(  43, ldapServer)                                                                      \
    SINGLE(  44, userInterfaceType)                                                               \
    SINGLE(  45, integratedFilterType)                                                            \
    MULTIPLE(47, passwordRecoveryMethod)                                                          \
    MULTIPLE(48, usernameRecoveryMethod)                                                          \
    SINGLE(  49, clusterRunMode)                                                                  \
    SINGLE(  50, distributeTo)                                                                    \
    SINGLE(  51, receiveFrom)
// clang-format on

enum MenuId : std::uint16_t {
#define MORVEX_MENU_ID(id, name) name = (id),
    MORVEX_CONFIG_MENUS(MORVEX_MENU_ID, MORVEX_MENU_ID)
#undef MORVEX_MENU_ID
};

// clang-format off

inline constexpr ChoiceDesc YesNoChoices[] = {{0, "no"}, {1, "yes"}};
inline constexpr ChoiceDesc UserMapTypesChoices[] = {{0, "local"}, {1, "ldap"}};
inline constexpr ChoiceDesc ServerServicesChoices[] = {
    {0x1, "log"}, {0x2, "processing"}, {0x4, "smtpIncoming"}, {0x8, "smtpOutgoing"}, {0xC, "smtp"},
    {0x10, "pop3"}, {0x20, "imap"}, {0x40, "webmail"}, {0x80, "cli"}, {0x100, "webadmin"},
    {0x200, "reporting"}, {0x400, "ftpBackup"}, {0x800, "rpop"}, {0x1000, "pop3Proxy"},
    {0x2000, "imapProxy"}, {0x4000, "webmailProxy"},
};
inline constexpr ChoiceDesc DomainServicesChoices[] = {
    {0x1, "smtpIncoming"}, {0x2, "smtpOutgoing"}, {0x3, "smtp"}, {0x4, "pop3"}, {0x8, "imap"},
    {0x10, "webmail"}, {0x20, "rpop"},
};
inline constexpr ChoiceDesc AccountServicesChoices[] = {
    {0x1, "smtpIncoming"}, {0x2, "smtpOutgoing"}, {0x3, "smtp"}, {0x4, "pop3"}, {0x8, "imap"},
    {0x10, "webmail"}, {0x20, "rpop"},
};
inline constexpr ChoiceDesc MaillistServicesChoices[] = {
    {0x1, "smtpIncoming"}, {0x2, "smtpOutgoing"}, {0x3, "smtp"}, {0x4, "pop3"}, {0x8, "imap"},
    {0x10, "webmail"},
};
inline constexpr ChoiceDesc LogTypeChoices[] = {{0, "internal"}, {1, "system"}, {2, "remote"}};
inline constexpr ChoiceDesc LogRuleTypeChoices[] = {{0, "local"}, {1, "remote"}};
inline constexpr ChoiceDesc LogModuleNameChoices[] = {
    {0, "*"}, {1, "SMTP-IN"}, {2, "SMTP-OUT"}, {3, "IMAP"}, {4, "POP3"}, {5, "WEBMAIL"},
    {6, "WEBADMIN"}, {7, "DNR"}, {8, "RPOP"}, {9, "CLI"}, {10, "PROCESSING"}, {11, "LOG"},
    {12, "REPORTING"}, {13, "FTP-BACKUP"}, {14, "PROXY_POP3"}, {15, "PROXY_IMAP"}, {16, "USERDB"},
    {17, "PROXY_WEBMAIL"}, {18, "FILTERS"},
};
inline constexpr ChoiceDesc SSLVersionChoices[] = {
    {0x1, "ssl2"}, {0x2, "ssl3"}, {0x4, "tls1"}, {0x8, "tls1_1"}, {0x10, "tls1_2"}, {0x1F, "all"},
};
inline constexpr ChoiceDesc AuthTypesChoices[] = {
    {0x1, "plain"}, {0x2, "login"}, {0x4, "cram-md5"}, {0x8, "digest-md5"}, {0x10, "gssapi"},
    {0x1F, "all"},
};
inline constexpr ChoiceDesc WMAuthTypesChoices[] = {{1, "plain"}, {2, "gssapi"}};
inline constexpr ChoiceDesc SFTypesChoices[] = {{0, "sieve"}};
inline constexpr ChoiceDesc MatchActionsChoices[] = {{0, "discard"}, {1, "pass"}, {2, "reject"}};
inline constexpr ChoiceDesc FilterTypesChoices[] = {
    {0, "script"}, {1, "socket"}, {2, "integrated"},
};
inline constexpr ChoiceDesc listSenderChoices[] = {{0, "anyone"}, {1, "users"}, {2, "admin"}};
inline constexpr ChoiceDesc listModerationChoices[] = {{0, "all"}, {1, "guests"}, {2, "none"}};
inline constexpr ChoiceDesc listCTypeChoices[] = {{0, "plain"}, {1, "text"}, {2, "garbage"}};
inline constexpr ChoiceDesc listRcptsChoices[] = {
    {0x1, "request"}, {0x2, "subscribe"}, {0x4, "unsubscribe"},
};
inline constexpr ChoiceDesc LogRotatePeriodChoices[] = {
    {0, "none"}, {1, "day"}, {2, "week"}, {3, "month"},
};
inline constexpr ChoiceDesc ReportingFunctionsChoices[] = {
    {1, "average"}, {2, "minimum"}, {4, "maximum"}, {8, "total"},
};
inline constexpr ChoiceDesc ReportingGraphicTypesChoices[] = {
    {1, "bars"}, {2, "fill"}, {4, "outline"}, {8, "fillWithOutline"}, {16, "discreteDots"},
    {32, "discreteLines"},
};
inline constexpr ChoiceDesc UserdbConnectorTypesChoices[] = {
    {1, "local"}, {2, "ldap"}, {4, "ldapBind"},
};
inline constexpr ChoiceDesc SSLEncryptionChoices[] = {{0, "none"}, {1, "ssl"}, {2, "tls"}};
inline constexpr ChoiceDesc SPECharactersChoices[] = {
    {0, "letters"}, {1, "lettersAndNumbers"}, {2, "lettersAndNumbersAndSpecial"},
};
inline constexpr ChoiceDesc applyOnRelayTypesChoices[] = {{0x1, "local"}, {0x2, "relay"}};
inline constexpr ChoiceDesc WeekDayChoices[] = {
    {0, "sunday"}, {1, "monday"}, {2, "tuesday"}, {3, "wednesday"}, {4, "thursday"}, {5, "friday"},
    {6, "saturday"},
};
inline constexpr ChoiceDesc WeekMaskChoices[] = {
    {0x1, "sunday"}, {0x2, "monday"}, {0x4, "tuesday"}, {0x8, "wednesday"}, {0x10, "thursday"},
    {0x20, "friday"}, {0x40, "saturday"},
};
inline constexpr ChoiceDesc filteringOptionsChoices[] = {
    {0, "pass"}, {1, "sendNDR"}, {2, "moveToFilteredEmail"}, {3, "discard"},
    {4, "moveToFilteredEmailWithIC"},
};
inline constexpr ChoiceDesc catchAllTypeChoices[] = {
    {0, "disabled"}, {1, "publicFolder"}, {2, "account"},
};
inline constexpr ChoiceDesc mboxFlagsChoices[] = {
    {0x1, "NoSelect"}, {0x2, "HasChildren"}, {0x4, "NoInferiors"}, {0x8, "Marked"},
    {0x10, "UnMarked"}, {0x20, "NonExistent"}, {0x40, "PlaceHolder"}, {0x80, "Subscribed"},
    {0x100, "Remote"}, {0x200, "HasSubMailboxes"}, {0x400, "HasNoChildren"}, {0x800, "MapiSearch"},
    {0x1000, "MoveOnCopy"}, {0x2000, "Irremovable"}, {0x4000, "Hidden"},
    {0x8000, "NoAccountableMsgs"}, {0x10000, "NoAccountableMbox"}, {0x20000, "NoBackup"},
    {0x40000, "AssociatedMbox"}, {0x80000, "MapiHidden"}, {0x100000, "Spam"},
};
inline constexpr ChoiceDesc mboxTypeChoices[] = {
    {0, "normal"}, {1, "shared"}, {2, "search"}, {3, "maillistReject"}, {4, "maillistFeeder"},
    {5, "maillistRequest"}, {6, "maillistConfirmedRequest"}, {7, "events"}, {8, "tasks"},
    {9, "journal"}, {10, "notes"}, {11, "briefcase"}, {12, "persistentCron"}, {13, "contacts"},
};
inline constexpr ChoiceDesc mboxSortTypeChoices[] = {
    {0, "incoming"}, {1, "subject"}, {2, "from"}, {3, "to"}, {4, "date"}, {5, "size"},
};
inline constexpr ChoiceDesc mboxGroupTypeChoices[] = {
    {0, "none"}, {1, "conversation"}, {2, "subject"}, {3, "from"},
};
inline constexpr ChoiceDesc activeSyncOptionChoices[] = {
    {0x1, "email"}, {0x2, "contact"}, {0x4, "pim"},
};
inline constexpr ChoiceDesc sendRecvPolicyChoices[] = {
    {0, "denyAnyDomain"}, {1, "allowAnyDomain"}, {2, "allowLocalDomain"},
    {3, "allowLocalDomainAndSubdomains"},
};
inline constexpr ChoiceDesc ReportingParameterScopeChoices[] = {
    {0, "server"}, {1, "domain"}, {2, "domainObject"},
};
inline constexpr ChoiceDesc filteringOnChoices[] = {
    {0, "received"}, {1, "sent"}, {2, "sentAndReceived"},
};
inline constexpr ChoiceDesc sendReadReceiptsChoices[] = {{0, "never"}, {1, "always"}, {2, "ask"}};
inline constexpr ChoiceDesc ldapSyncDirectionChoices[] = {
    {0, "morvexToLdap"}, {1, "ldapToMorvex"}, {2, "bothWays"},
};
inline constexpr ChoiceDesc ldapSyncConflictResolutionChoices[] = {
    {0, "morvexWins"}, {1, "ldapWins"}, {2, "noChange"},
};
inline constexpr ChoiceDesc ldapServerChoices[] = {{0, "OpenLDAP"}, {1, "ActiveDirectory"}};
inline constexpr ChoiceDesc userInterfaceTypeChoices[] = {
    {0, "ajaxDefault"}, {1, "ajaxOnly"}, {2, "standardDefault"}, {3, "standardOnly"},
};
inline constexpr ChoiceDesc integratedFilterTypeChoices[] = {{1, "externalCommand"}};
inline constexpr ChoiceDesc passwordRecoveryMethodChoices[] = {
    {0x1, "peaBased"}, {0x2, "secretQuestion"},
};
inline constexpr ChoiceDesc usernameRecoveryMethodChoices[] = {{0x1, "peaBased"}};
inline constexpr ChoiceDesc clusterRunModeChoices[] = {
    {0, "standAlone"}, {1, "backend"}, {2, "frontend"},
};
inline constexpr ChoiceDesc distributeToChoices[] = {
    {0, "members"}, {1, "domain"}, {2, "server"}, {3, "cluster"}, {4, "nobody"},
};
inline constexpr ChoiceDesc receiveFromChoices[] = {
    {0, "anybody"}, {1, "server"}, {2, "domain"}, {3, "members"}, {4, "directMembers"},
    {5, "nobody"},
};

// clang-format on

} // namespace HConfig::schema

#endif
