// Attribute rows of the services. All of them begin with the rows of `service`.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// Each service that listens gives its `listeners` a default of its own, the port: what makes that
// listener belongs to the service and registers itself there.

#ifndef MORVEX_CONFIG_SCHEMA_SERVICE_ROWS_H
#define MORVEX_CONFIG_SCHEMA_SERVICE_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row ServiceRows[] = {
    {"logType",  Choice,       LogType},
    {"logLevel", UnsignedInt,  UintInterval(31, 0, true, false), Uint(15)},
    {"logHost",  InetSockAddr, InetSocketAddrConstant("127.0.0.1:2000")},
};

inline constexpr NoRows UdpServiceRows;

inline constexpr Row UdpServerServiceRows[] = {
    {"listeners", OS(UdpListener), OWN_LIFE, Max(32)},
};

inline constexpr Row LogServiceRows[] = {
    {"listeners", OS(UdpListener), OWN_LIFE, UDPListener(2000), Max(32), CHANGED},
    {"path",      CSString,        Text("log")},
    {"rules",     OS(LogRule)},
};

inline constexpr Row ReportingServiceRows[] = {
    {"listeners",                  OS(UdpListener),       OWN_LIFE, UDPListener(161), Max(32),
                                                          CHANGED},
    {"syncTime",                   UnsignedInt,           UintInterval(86400, 1, false, false),
                                                          Uint(300)},
    {"SNMPEnable",                 Choice,                YesNo, Uint(0)},
    {"SNMPSentTrapsToAllManagers", Choice,                YesNo, Uint(0)},
    {"SNMPCommunity",              CSString},
    {"SNMPTrapDestinations",       VS(InetSockAddr),      Max(64)},
    {"templates",                  OS(ReportingTemplate), Max(64)},
    {"databases",                  OS(ReportingDatabase), Max(256)},
    {"graphics",                   OS(ReportingGraphic),  Max(256)},
    {"DomainEnable",               Choice,                YesNo, Uint(0)},
    {"DomainObjectEnable",         Choice,                YesNo, Uint(0)},
    {"reportingInterval",          UnsignedInt,           UintInterval(86400, 1, false, false),
                                                          Uint(300)},
};

inline constexpr Row DnrServiceRows[] = {
    {"timeout",     UnsignedInt,       UintInterval(3600, 1, false, false), Uint(2)},
    {"retries",     UnsignedInt,       UintInterval(100, 1, false, false), Uint(3)},
    {"cacheSize",   UnsignedInt,       UintInterval(1048576, 0, true, false), Uint(1024)},
    {"nameServers", OS(DnrNameServer), Dns, Max(10)},
};

inline constexpr Row TcpServiceRows[] = {
    {"maxConnThreads", UnsignedInt, UintInterval(128, 1, false, false), Uint(20)},
    {"minConnThreads", UnsignedInt, UintInterval(128, 1, false, false), Uint(1)},
};

inline constexpr Row TcpServerServiceRows[] = {
    {"listeners",            OS(TcpListener), OWN_LIFE, Max(32)},
    {"maxErrors",            UnsignedInt,     UintInterval(100, 0, true, false), Uint(20)},
    {"maxAuthErrors",        UnsignedInt,     UintInterval(100, 0, true, false), Uint(5)},
    {"serviceAccessControl", O(ServiceAccessControl)},
};

inline constexpr Row Pop3ServiceRows[] = {
    {"listeners",            OS(TcpListener), OWN_LIFE, TCPListener(110), Max(32), CHANGED},
    {"allowStartTLS",        Choice,          YesNo, Uint(1)},
    {"secureConnAllowLogin", Choice,          YesNo, Uint(1)},
    {"secureConnAuthTypes",  ChoiseSet,       AuthTypes, Uint(15)},
    {"plainConnAllowLogin",  Choice,          YesNo, Uint(1)},
    {"plainConnAuthTypes",   ChoiseSet,       AuthTypes, Uint(15)},
    {"userdbConnectorType",  Choice,          UserdbConnectorTypes, Uint(1)},
    {"userdbConnectorName",  String},
    {"greetingsText",        String,          StringLength(1024, 0),
                                              Text("MORVEX POP3 server on %D ready %U")},
};

inline constexpr Row FtpServiceRows[] = {
    {"listeners",          OS(TcpListener), OWN_LIFE, TCPListener(21), Max(32), CHANGED},
    {"messagesTarEnabled", Choice,          YesNo, Uint(1)},
};

inline constexpr Row ImapServiceRows[] = {
    {"listeners",            OS(TcpListener), OWN_LIFE, TCPListener(143), Max(32), CHANGED},
    {"allowStartTLS",        Choice,          YesNo, Uint(1)},
    {"secureConnAllowLogin", Choice,          YesNo, Uint(1)},
    {"secureConnAuthTypes",  ChoiseSet,       AuthTypes, Uint(15)},
    {"plainConnAllowLogin",  Choice,          YesNo, Uint(1)},
    {"plainConnAuthTypes",   ChoiseSet,       AuthTypes, Uint(15)},
    {"userdbConnectorType",  Choice,          UserdbConnectorTypes, Uint(1)},
    {"userdbConnectorName",  String},
    {"greetingsText",        String,          StringLength(1024, 0),
                                              Text("MORVEX IMAP4rev1 service is ready")},
};

inline constexpr Row WebServiceRows[] = {
    {"sessionIdleTimeout",     UnsignedInt,     UintInterval(86400, 0, true, false), Uint(900)},
    {"sessionActivityTimeout", UnsignedInt,     UintInterval(86400, 0, true, false), Uint(0)},
    {"allowKeepAlive",         Choice,          YesNo, Uint(1)},
    {"allowLargeIncomingData", Choice,          YesNo, Uint(1)},
    {"httpHeadersMaxSize",     UnsignedInt,     UintInterval(1048576, 1, false, false), Uint(32)},
    {"httpBodyMaxSize",        UnsignedInt,     UintInterval(1048576, 1, false, false), Uint(1024)},
    {"uploadMaxSize",          UnsignedInt,     UintInterval(1048576, 1, false, false),
                                                Uint(10240)},
    {"urlRedirects",           OS(UrlRedirect), Max(64)},
};

inline constexpr Row WebMailServiceRows[] = {
    {"listeners",                   OS(TcpListener),      OWN_LIFE, TCPListener(8000), Max(32),
                                                          CHANGED},
    {"path",                        CSString,             Path, Text("webmail")},
    {"hostNameResolver",            O(HostNameResolver)},
    {"showDomainList",              Choice,               YesNo, Uint(1)},
    {"userdbConnectorType",         Choice,               UserdbConnectorTypes, Uint(1)},
    {"userdbConnectorName",         String},
    {"enableMobileWebmail",         Choice,               YesNo, Uint(1)},
    {"enableActiveSync",            Choice,               YesNo, Uint(1)},
    {"enableIcalCalendar",          Choice,               YesNo, Uint(1)},
    {"enableIcalFreebusy",          Choice,               YesNo, Uint(1)},
    {"userInterfaceType",           Choice,               userInterfaceType, Uint(0)},
    {"autodiscoveryUrls",           OS(AutodiscoveryUrl), Max(256)},
    {"defaultAutodiscoveryUrl",     String,               StringLength(1024, 0)},
    {"defaultHttpAutodiscoveryUrl", String,               StringLength(1024, 0)},
    {"defaultImapAutodiscoveryUrl", String,               StringLength(1024, 0)},
    {"enablePasswordRecovery",      Choice,               YesNo, Uint(0)},
    {"enableUsernameRecovery",      Choice,               YesNo, Uint(0)},
    {"allowSPNEGOAuth",             Choice,               YesNo, Uint(0)},
};

inline constexpr Row WebAdminServiceRows[] = {
    {"listeners", OS(TcpListener), OWN_LIFE, TCPListener(9000), Max(32), CHANGED},
    {"path",      CSString,        Path, Text("webadmin")},
};

inline constexpr Row CliServiceRows[] = {
    {"listeners",       OS(TcpListener), OWN_LIFE, TCPListener(7000), Max(32), CHANGED},
    {"maxAuthCommands", UnsignedInt,     UintInterval(1000, 0, true, false), Uint(20)},
};

inline constexpr NoRows SmtpOutServiceRows;

inline constexpr NoRows RpopServiceRows;

inline constexpr Row MappingTcpServerServiceRows[] = {
    {"listeners",            OS(ProxyTcpListener), OWN_LIFE, Max(32)},
    {"maxErrors",            UnsignedInt,          UintInterval(100, 0, true, false), Uint(20)},
    {"maxAuthErrors",        UnsignedInt,          UintInterval(100, 0, true, false), Uint(5)},
    {"mappingData",          O(MappingData)},
    {"userdbConnectorType",  Choice,               UserdbConnectorTypes, Uint(1)},
    {"userdbConnectorName",  String},
    {"serviceAccessControl", O(ServiceAccessControl)},
};

inline constexpr Row ProxyTcpServerServiceRows[] = {
    {"connectionData", O(ConnectionData)},
};

inline constexpr Row ProxyPop3ServiceRows[] = {
    {"listeners",           OS(ProxyTcpListener), OWN_LIFE, TCPListener(8110), Max(32), CHANGED},
    {"allowStartTLS",       Choice,               YesNo, Uint(1)},
    {"authenticateOnProxy", Choice,               YesNo, Uint(1)},
    {"greetingsText",       String,               StringLength(1024, 0),
                                                  Text("MORVEX POP3 proxy on %D ready %U")},
};

inline constexpr Row ProxyImapServiceRows[] = {
    {"listeners",           OS(ProxyTcpListener), OWN_LIFE, TCPListener(8143), Max(32), CHANGED},
    {"allowStartTLS",       Choice,               YesNo, Uint(1)},
    {"authenticateOnProxy", Choice,               YesNo, Uint(1)},
    {"greetingsText",       String,               StringLength(1024, 0),
                                                  Text("MORVEX IMAP4rev1 proxy is ready")},
};

inline constexpr Row WebmailProxyServiceRows[] = {
    {"listeners",              OS(ProxyTcpListener), OWN_LIFE, TCPListener(8800), Max(32), CHANGED},
    {"path",                   CSString,             Path, Text("webmail")},
    {"allowKeepAlive",         Choice,               YesNo, Uint(1)},
    {"httpHeadersMaxSize",     UnsignedInt,          UintInterval(1048576, 1, false, false),
                                                     Uint(32)},
    {"httpBodyMaxSize",        UnsignedInt,          UintInterval(1048576, 1, false, false),
                                                     Uint(1024)},
    {"uploadMaxSize",          UnsignedInt,          UintInterval(1048576, 1, false, false),
                                                     Uint(10240)},
    {"urlRedirects",           OS(UrlRedirect),      Max(64)},
    {"authenticateOnProxy",    Choice,               YesNo, Uint(1)},
    {"requestsQueueMaxSize",   UnsignedInt,          UintInterval(65536, 1, false, false),
                                                     Uint(256)},
    {"allowLargeIncomingData", Choice,               YesNo, Uint(1)},
    {"enableMobileWebmail",    Choice,               YesNo, Uint(1)},
    {"hostNameResolver",       O(HostNameResolver)},
    {"userInterfaceType",      Choice,               userInterfaceType, Uint(0)},
    {"httpBindBackend",        CSString},
    {"enablePasswordRecovery", Choice,               YesNo, Uint(0)},
    {"enableUsernameRecovery", Choice,               YesNo, Uint(0)},
    {"allowSPNEGOAuth",        Choice,               YesNo, Uint(0)},
};

inline constexpr Row SmtpInServiceRows[] = {
    {"listeners",          OS(ProxyTcpListener), OWN_LIFE, TCPListener(25), Max(32), CHANGED},
    {"maxReceivedHeaders", UnsignedInt,          UintInterval(1000, 1, false, false), Uint(30)},
    {"enableSmtpRouting",  Choice,               YesNo, Uint(0)},
};

inline constexpr Row ProcServiceRows[] = {
    {"maxSchedInterval",  UnsignedInt, UintInterval(86400, 5, false, false), Uint(28800)},
    {"schedInterval",     UnsignedInt, UintInterval(86400, 1, false, false), Uint(300)},
    {"maxRetryCount",     UnsignedInt, UintInterval(1000, 1, false, false), Uint(20)},
    {"queuePath",         CSString,    Path, Text("queue")},
    {"queueEntryCount",   UnsignedInt, UintInterval(256, 1, false, false), Uint(64)},
    {"procQueueSize",     UnsignedInt, UintInterval(65536, 2, false, false), Uint(256)},
    {"deliveryThreads",   UnsignedInt, UintInterval(128, 1, false, false), Uint(20)},
    {"messagesPerSecond", UnsignedInt, UintInterval(1000, 1, false, false), Uint(20)},
    {"disableInterval",   UnsignedInt, UintInterval(86400, 0, true, false), Uint(300)},
    {"filteringThreads",  UnsignedInt, UintInterval(128, 1, false, false), Uint(20)},
    {"greylistingCache",  UnsignedInt, UintInterval(1440, 0, true, false), Uint(10)},
};

inline constexpr Row UserDbServiceRows[] = {
    {"maxThreads",     UnsignedInt,       UintInterval(128, 1, false, false), Uint(10)},
    {"ldapConnectors", OS(LdapConnector), Max(64)},
};

inline constexpr Row FiltersRows[] = {
    {"integratedFilters", OS(IntegratedFilter), OWN_LIFE},
};

// clang-format on

} // namespace HConfig::schema

#endif
