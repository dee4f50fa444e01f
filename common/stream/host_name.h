// The machine's own names, filled once at start and only read from then on.

#ifndef MORVEX_COMMON_STREAM_HOST_NAME_H
#define MORVEX_COMMON_STREAM_HOST_NAME_H

constexpr int HostnameSize = 256;

// The host name up to its first "." and the name with the domain; empty until populateFQDN.
extern char hostnameSimple[HostnameSize];
extern char hostnameFQDN[HostnameSize];

// Fills both. Where the system has no host name they are "localhost" and "localhost.localdomain".
// The domain is the system's own, where it has one, and otherwise what its host name says.
void populateFQDN();

// What populateFQDN does with a host name and a domain name, either of which may be null for a
// failure of the system.
void composeFQDN(const char* hostName, const char* domainName);

#endif
