// Utils: mail addresses and mail hosts.

#include "address/domainname.h"
#include "address/username.h"
#include "address/utils.h"
#include "common/net/inet_addr.h"

#include <cstring>

bool Utils::isValidMailAddress(char* address) {
    if (address == nullptr || strnlen(address, 3) < 3) {
        return false;
    }
    char* at = std::strrchr(address, '@');
    if (at == nullptr || at == address || at[-1] == '\\' || !Domainname::isDomainname(at + 1)) {
        return false;
    }
    *at = '\0';
    const bool valid = Username::isUsername(address, Username::MaxLength);
    *at = '@';
    return valid;
}

bool Utils::splitMailAddress(char* address, char*& user, char*& domain) {
    if (address == nullptr) {
        return false;
    }
    domain = nullptr;
    char* at = std::strrchr(address, '@');
    if (at == address) {
        user = nullptr;
        return false;
    }
    user = address;
    if (at != nullptr && at[-1] != '\\') {
        *at = '\0';
        domain = at + 1;
    }
    return true;
}

void Utils::canonizeMailHost(std::string& host) {
    if (host.empty() || host[0] < '0' || host[0] > '9') {
        return;
    }
    const std::size_t colon = host.rfind(':');
    const std::string address = host.substr(0, colon);
    InetAddr parsed;
    if (InetAddr::strToIa(address.c_str(), parsed) != 0) {
        return;
    }
    const std::string port = colon != std::string::npos ? host.substr(colon) : std::string();
    char text[InetAddr::TextSize];
    host.assign("[").append(parsed.toString(text)).append("]").append(port);
}

bool Utils::getBucketNameFromHostName(const char* host, const char* domain, std::string& bucket) {
    InetAddr parsed;
    if (host == nullptr || *host == '\0' || InetAddr::strToIa(host, parsed) == 0) {
        return false;
    }
    const std::size_t hostLength = std::strlen(host);
    const std::size_t domainLength = std::strlen(domain);
    if (hostLength >= domainLength) {
        const std::size_t tail = hostLength - domainLength;
        if (strcasecmp(host + tail, domain) == 0) {
            if (tail == 0) {
                return false;
            }
            if (host[tail - 1] == '.') {
                bucket.assign(host, tail - 1);
                return true;
            }
        }
    }
    bucket.assign(host, hostLength);
    return true;
}
