// SocketAddr and InetSocketAddr: an address and a port.

#include "common/error.h"
#include "common/net/inet_addr.h"
#include "common/thread/thread.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

SocketAddr::~SocketAddr() = default;

int SocketAddr::getType() const {
    return 0;
}

InetSocketAddr::InetSocketAddr() : port(0), text(nullptr) {
}

InetSocketAddr::InetSocketAddr(const InetAddr& address, unsigned short portNumber)
    : inetAddr(address), port(portNumber), text(nullptr) {
}

InetSocketAddr::InetSocketAddr(const sockaddr_in& address)
    : inetAddr(address.sin_addr), port(ntohs(address.sin_port)), text(nullptr) {
}

InetSocketAddr::InetSocketAddr(const InetSocketAddr& other)
    : SocketAddr(other), inetAddr(other.inetAddr), port(other.port), text(nullptr) {
}

InetSocketAddr::~InetSocketAddr() {
    delete[] text;
}

void InetSocketAddr::dropText() {
    delete[] text;
    text = nullptr;
}

const char* InetSocketAddr::toString(char* buffer) const {
    if (buffer != nullptr && isaToStr(*this, buffer, TextSize, 10) > 0) {
        return buffer;
    }
    if (text == nullptr) {
        text = new char[TextSize];
        isaToStr(*this, text, TextSize, 10);
    }
    return text;
}

// The value may be this object's own cached text, which strToIsa drops only after it was read.
InetSocketAddr& InetSocketAddr::operator=(const char* value) {
    if (strToIsa(value, this) == 0) {
        Thread::setLastError(0U);
    }
    return *this;
}

InetSocketAddr& InetSocketAddr::operator=(const SocketAddr& other) {
    return *this = static_cast<const InetSocketAddr&>(other);
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): only the cached text goes
InetSocketAddr& InetSocketAddr::operator=(const InetSocketAddr& other) {
    dropText();
    inetAddr = other.inetAddr;
    port = other.port;
    return *this;
}

InetSocketAddr& InetSocketAddr::operator=(const sockaddr_in& other) {
    dropText();
    inetAddr = other.sin_addr;
    port = ntohs(other.sin_port);
    return *this;
}

bool InetSocketAddr::operator==(const SocketAddr& other) const {
    return *this == static_cast<const InetSocketAddr&>(other);
}

bool InetSocketAddr::operator==(const InetSocketAddr& other) const {
    return inetAddr == other.inetAddr && port == other.port;
}

bool InetSocketAddr::operator!=(const InetSocketAddr& other) const {
    return !(*this == other);
}

bool InetSocketAddr::operator!=(const SocketAddr& other) const {
    return !(*this == other);
}

int InetSocketAddr::getType() const {
    return 4;
}

void InetSocketAddr::setInetAddr(const InetAddr& value) {
    dropText();
    inetAddr = value;
}

void InetSocketAddr::setPort(unsigned short value) {
    dropText();
    port = value;
}

int InetSocketAddr::strToIsa(const char* text, InetSocketAddr* out) {
    const char* colon = std::strchr(text, ':');
    char address[InetAddr::TextSize];
    InetAddr parsed;
    if (colon == nullptr || colon - text >= InetAddr::TextSize) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    std::memcpy(address, text, static_cast<std::size_t>(colon - text));
    address[colon - text] = '\0';
    if (InetAddr::strToIa(address, parsed) != 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    // A number too large for a long comes back as the largest one, which is refused like any other.
    char* end = nullptr;
    const long number = std::strtol(colon + 1, &end, 0);
    if (number < 1 || number > 65535 || *end != '\0') {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    out->dropText();
    out->inetAddr = parsed;
    out->port = static_cast<unsigned short>(number);
    return 0;
}

int InetSocketAddr::isaToStr(const InetSocketAddr& value, char* buffer, int size, int radix) {
    const char* const format = radix == 8    ? "%#o.%#o.%#o.%#o:%#o"
                               : radix == 16 ? "%#x.%#x.%#x.%#x:%#x"
                                             : "%d.%d.%d.%d:%d";
    const unsigned host = value.inetAddr.getHostOrder();
    char local[TextSize];
    const int length = std::snprintf(local, sizeof local, format, host >> 24, host >> 16 & 0xFF,
                                     host >> 8 & 0xFF, host & 0xFF, value.port);
    if (length < 0 || length >= size || length >= TextSize) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    std::memcpy(buffer, local, static_cast<std::size_t>(length) + 1);
    return length + 1;
}

void InetSocketAddr::toSockAddrIn(sockaddr_in* out) const {
    std::memset(out, 0, sizeof *out);
    out->sin_family = AF_INET;
    out->sin_port = htons(port);
    out->sin_addr = inetAddr.getInAddr();
}
