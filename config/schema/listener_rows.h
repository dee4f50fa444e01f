// Attribute rows of the listeners and of the rules about who may connect to them.
// A row reads {name, type, details...} and stands at its index; see config/schema/row.h.
//
// The defaults of kind TCPListenerParameter carry one value a service. What takes its value from
// the service a listener belongs to registers a class for them; without one such a value starts as
// 0.

#ifndef MORVEX_CONFIG_SCHEMA_LISTENER_ROWS_H
#define MORVEX_CONFIG_SCHEMA_LISTENER_ROWS_H

#include "config/schema/row.h"

namespace HConfig::schema {

// clang-format off

inline constexpr Row IpRuleRows[] = {
    {"ipSet",    InetAddrSet, REQUIRED | KEY},
    {"enable",   Choice,      YesNo, Uint(1)},
    {"priority", UnsignedInt, UintInterval(1000, 0, true, false), Uint(0)},
};

inline constexpr Row TcpRuleRows[] = {
    {"maxConnections",             UnsignedInt, UintInterval(2048, 0, true, false), Uint(200)},
    {"maxIntervalConnections",     UnsignedInt, UintInterval(100000, 0, true, false), Uint(600)},
    {"timeInterval",               UnsignedInt, UintInterval(86400, 30, true, false), Uint(60)},
    {"peerMaxConnections",         UnsignedInt, UintInterval(2048, 0, true, false), Uint(20)},
    {"peerMaxIntervalConnections", UnsignedInt, UintInterval(100000, 0, true, false), Uint(600)},
    {"peerTimeInterval",           UnsignedInt, UintInterval(86400, 30, true, false), Uint(60)},
};

inline constexpr Row SslControlRows[] = {
    {"allowedVersions",              ChoiseSet,   SSLVersion, Uint(30)},
    {"certFile",                     CSString,    Path, Text("none")},
    {"caFile",                       CSString,    Path, Text("none")},
    {"dhParamFile",                  CSString,    Path, Text("none")},
    {"maxChainDepth",                UnsignedInt, UintInterval(16, 1, false, false), Uint(4)},
    {"cipherSuite",                  CSString,
         Text("ECDHE-RSA-AES128-SHA256:AES128-GCM-SHA256:RC4:HIGH:!MD5:!aNULL:!EDH")},
    {"preferServerCipherSuiteOrder", Choice,      YesNo, Uint(1)},
    {"useEphemeralKey",              Choice,      YesNo, Uint(1)},
    {"requestClientAuth",            Choice,      YesNo, Uint(0)},
};

inline constexpr Row IpListenerRows[] = {
    {"address", InetSockAddr, REQUIRED | KEY},
    {"enable",  Choice,       YesNo, Uint(1)},
};

inline constexpr NoRows UdpListenerRows;

inline constexpr Row TcpListenerRows[] = {
    {"idleTimeout",                UnsignedInt, UintInterval(86400, 0, true, false),
         TCPListenerParameter(300, 300, 1800, 300, 300, 300, 300)},
    {"maxConnections",             UnsignedInt, UintInterval(2048, 0, true, false),
         TCPListenerParameter(200, 200, 200, 1000, 1000, 200, 200)},
    {"maxIntervalConnections",     UnsignedInt, UintInterval(100000, 0, true, false),
         TCPListenerParameter(600, 600, 600, 1200, 1200, 600, 600)},
    {"timeInterval",               UnsignedInt, UintInterval(86400, 30, true, false), Uint(60)},
    {"peerMaxConnections",         UnsignedInt, UintInterval(2048, 0, true, false),
         TCPListenerParameter(20, 20, 20, 100, 100, 20, 20)},
    {"peerMaxIntervalConnections", UnsignedInt, UintInterval(100000, 0, true, false), Uint(600)},
    {"peerTimeInterval",           UnsignedInt, UintInterval(86400, 30, true, false), Uint(60)},
    {"allowRules",                 OS(TcpRule), Max(128)},
    {"denyRules",                  OS(IpRule),  Max(128)},
    {"sslEnable",                  Choice,      YesNo},
    {"sslControl",                 O(SslControl)},
};

inline constexpr Row ProxyTcpListenerRows[] = {
    {"listenerDomain", String, StringLength(255, 0)},
};

inline constexpr Row ServiceAccessControlRows[] = {
    {"maxConnections",             UnsignedInt, UintInterval(2048, 0, true, false),
         TCPListenerParameter(200, 200, 200, 1000, 1000, 200, 200)},
    {"maxIntervalConnections",     UnsignedInt, UintInterval(100000, 0, true, false),
         TCPListenerParameter(600, 600, 600, 1200, 1200, 600, 600)},
    {"timeInterval",               UnsignedInt, UintInterval(86400, 30, true, false), Uint(60)},
    {"peerMaxConnections",         UnsignedInt, UintInterval(2048, 0, true, false),
         TCPListenerParameter(20, 20, 20, 100, 100, 20, 20)},
    {"peerMaxIntervalConnections", UnsignedInt, UintInterval(100000, 0, true, false), Uint(600)},
    {"peerTimeInterval",           UnsignedInt, UintInterval(86400, 30, true, false), Uint(60)},
    {"allowRules",                 OS(TcpRule), Max(128)},
    {"denyRules",                  OS(IpRule),  Max(128)},
};

// clang-format on

} // namespace HConfig::schema

#endif
