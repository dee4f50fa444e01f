#include "common/stream/host_name.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>

char hostnameSimple[HostnameSize];
char hostnameFQDN[HostnameSize];

void composeFQDN(const char* hostName, const char* domainName) {
    std::memset(hostnameSimple, 0, sizeof hostnameSimple);
    std::memset(hostnameFQDN, 0, sizeof hostnameFQDN);
    if (hostName == nullptr) {
        std::strcpy(hostnameSimple, "localhost");
        std::strcpy(hostnameFQDN, "localhost.localdomain");
        return;
    }
    std::strncpy(hostnameSimple, hostName, sizeof hostnameSimple - 1);
    std::memcpy(hostnameFQDN, hostnameSimple, sizeof hostnameFQDN);
    char* const dot = std::strchr(hostnameSimple, '.');
    if (dot != nullptr) {
        *dot = '\0';
    }
    // A system without a domain calls it "(none)".
    if (domainName == nullptr || *domainName == '\0' || *domainName == '(') {
        return;
    }
    const std::size_t length = std::strlen(hostnameSimple);
    std::snprintf(hostnameFQDN + length, sizeof hostnameFQDN - length, ".%s", domainName);
}

void populateFQDN() {
    char host[HostnameSize];
    char domain[HostnameSize];
    const bool named = gethostname(host, sizeof host) == 0;
    host[sizeof host - 1] = '\0';
    const bool placed = named && getdomainname(domain, sizeof domain) == 0;
    domain[sizeof domain - 1] = '\0';
    composeFQDN(named ? host : nullptr, placed ? domain : nullptr);
}
