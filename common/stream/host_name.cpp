#include "common/stream/host_name.h"

#include <sys/utsname.h>

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

// One call has both names; gethostname and getdomainname are two on top of it.
void populateFQDN() {
    utsname system;
    const bool known = ::uname(&system) == 0;
    composeFQDN(known ? system.nodename : nullptr, known ? system.domainname : nullptr);
}
