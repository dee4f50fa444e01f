// Attribute rows of the server object and of what it owns outside its services.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// Reading a server's file for a single value makes the whole Server object, its services included,
// so a default here costs every reader.

#ifndef MORVEX_CONFIG_SCHEMA_SERVER_ROWS_H
#define MORVEX_CONFIG_SCHEMA_SERVER_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row ServerRows[] = {
    {"services",                         ChoiseSet,              ServerServices, Uint(447)},
    {"serverName",                       String,                 StringLength(64, 0), Text("")},
    {"sslRandomFile",                    CSString,               Text("none")},
    {"smtpFiltersFile",                  CSString,               Path,
         Text("filters/smtpFilters.script")},
    {"scriptFilters",                    OS(ScriptFilter),       Max(64)},
    {"socketFilters",                    OS(SocketFilter),       Max(64)},
    {"serverActiveFilters",              OS(ServerActiveFilter), Max(64)},
    {"primaryDomain",                    String,                 DomainName, PrimaryDomain},
    {"enableIOSynchronization",          Choice,                 YesNo, Uint(0)},
    {"maxIndexingThreads",               UnsignedInt,            UintInterval(50, 0, true, false),
                                                                 Uint(2)},
    {"maxMigrationThreads",              UnsignedInt,            UintInterval(128, 1, false, false),
                                                                 Uint(10)},
    {"defaultTimeZone",                  String,                 TimeZone, Text("GMT")},
    {"defaultLanguage",                  String,                 StringLength(512, 0), Text("en")},
    {"serverDataLocation",               CSString,               Text("serverData")},
    {"domainStorageParams",              OS(DSParams),           OWN_LIFE},
    {"userMaps",                         OS(UserMap),            Max(64)},
    {"log",                              O(LogService),          OWN_LIFE},
    {"dnr",                              O(DnrService),          OWN_LIFE},
    {"processing",                       O(ProcService),         OWN_LIFE},
    {"smtpIncoming",                     O(SmtpInService),       OWN_LIFE},
    {"smtpOutgoing",                     O(SmtpOutService),      OWN_LIFE},
    {"pop3",                             O(Pop3Service),         OWN_LIFE},
    {"imap",                             O(ImapService),         OWN_LIFE},
    {"webmail",                          O(WebMailService),      OWN_LIFE},
    {"webadmin",                         O(WebAdminService),     OWN_LIFE},
    {"cli",                              O(CliService),          OWN_LIFE},
    {"rpop",                             O(RpopService),         OWN_LIFE},
    {"ftpBackup",                        O(FtpService),          OWN_LIFE},
    {"reporting",                        O(ReportingService),    OWN_LIFE},
    {"pop3Proxy",                        O(ProxyPop3Service),    OWN_LIFE},
    {"imapProxy",                        O(ProxyImapService),    OWN_LIFE},
    {"userDb",                           O(UserDbService),       OWN_LIFE},
    {"webmailProxy",                     O(WebmailProxyService), OWN_LIFE},
    {"filters",                          O(Filters),             OWN_LIFE},
    {"sendStatisticsEmail",              Choice,                 YesNo, Uint(1)},
    {"postmasterStatisticsEmailAddress", String,                 EmailAddress(true)},
    {"clusterSettings",                  O(ClusterSettings),     OWN_LIFE},
};

inline constexpr Row ServerRegistryRows[] = {
    {"version",       String},
    {"adminPassword", CSString, ENCODABLE},
    {"firstRunDate",  DateTime},
    {"lastRunDate",   DateTime},
    {"runCount",      UnsignedInt},
};

inline constexpr Row ClusterSettingsRows[] = {
    {"runMode",           Choice,       clusterRunMode, Uint(0)},
    {"clusterKey",        String,       StringLength(256, 0), Text("")},
    {"backendAddresses",  VS(CSString), Max(256)},
    {"frontendAddresses", VS(CSString), Max(256)},
};

inline constexpr Row MappingDataRows[] = {
    {"userMap",     String},
    {"mappingHost", String,      StringLength(255, 0)},
    {"mappingPort", UnsignedInt, UintInterval(65535, 0, true, false), Uint(0)},
};

inline constexpr Row ConnectionDataRows[] = {
    {"rwTimeout",      UnsignedInt, UintInterval(86400, 0, true, false), Uint(300)},
    {"maxConnections", UnsignedInt, UintInterval(2048, 0, true, false), Uint(200)},
    {"sslEnable",      Choice,      YesNo, Uint(0)},
    {"localInterface", InetAddr},
};

inline constexpr Row UserMapRows[] = {
    {"name",                String, REQUIRED | KEY},
    {"type",                Choice, UserMapTypes, Uint(0)},
    {"localFile",           String, Text("")},
    {"userdbConnectorType", Choice, UserdbConnectorTypes, Uint(1)},
    {"userdbConnectorName", String, Text("")},
};

inline constexpr Row UrlRedirectRows[] = {
    {"address", InetSockAddr, REQUIRED | KEY},
    {"host",    String,       StringLength(255, 0)},
    {"port",    UnsignedInt,  UintInterval(65535, 0, true, false), Uint(0)},
};

inline constexpr Row HostNameResolverRows[] = {
    {"host",   String, StringLength(255, 0)},
    {"domain", String, StringLength(255, 0)},
};

inline constexpr Row AutodiscoveryUrlRows[] = {
    {"domainName", String, REQUIRED | KEY, StringLength(255, 0)},
    {"url",        String, StringLength(1024, 0)},
    {"httpUrl",    String, StringLength(1024, 0)},
    {"imapUrl",    String, StringLength(1024, 0)},
};

inline constexpr Row LogRuleRows[] = {
    {"priority",     UnsignedInt, REQUIRED | KEY, UintInterval(1000, 1, false, false)},
    {"hostname",     String,      StringLength(256, 0), Text("*")},
    {"module",       Choice,      LogModuleName},
    {"logLevel",     UnsignedInt, UintInterval(31, 0, true, false), Uint(31)},
    {"fileName",     CSString,    StringLength(64, 0), Text("default.txt")},
    {"fileSize",     UnsignedInt, UintInterval(2097151, 100, true, false), Uint(5120)},
    {"fileTime",     UnsignedInt, UintInterval(2592000, 600, true, false), Uint(86400)},
    {"fileCount",    UnsignedInt, UintInterval(1000, 0, true, false), Uint(0)},
    {"rotatePeriod", Choice,      LogRotatePeriod},
    {"type",         Choice,      LogRuleType},
};

inline constexpr Row DnrNameServerRows[] = {
    {"priority", UnsignedInt, REQUIRED | KEY, UintInterval(1000, 0, true, false)},
    {"address",  InetSockAddr},
    {"timeout",  UnsignedInt, UintInterval(3600, 1, false, false), Uint(2)},
    {"retries",  UnsignedInt, UintInterval(100, 1, false, false), Uint(3)},
};

inline constexpr Row DSParamsRows[] = {
    {"domainName",                  String,       KEY},
    {"domainStorageLocation",       CSString,     REQUIRED},
    {"domainObjectStorageLocation", CSString,     DomainObjectStorageLocation},
    {"messageStorageLocations",     VS(CSString), MessageStorageLocation, Max(255)},
    {"enable",                      Choice,       YesNo, Uint(1)},
    {"enableMACLSupport",           Choice,       YesNo, Uint(0)},
    {"activationLevel",             UnsignedInt,  Uint(100)},
    {"activateWithoutParent",       Choice,       YesNo},
};

// clang-format on

} // namespace HConfig::schema

#endif
