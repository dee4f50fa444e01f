// InetAddr: one IPv4 address, its text forms, its tests by class, and this machine's addresses.

#include "common/net/inet_addr.h"

#include "common/container/hvector.h"
#include "common/error.h"
#include "common/stream/descriptor.h"
#include "common/thread/thread.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// A constant that needs no code at start-up and is never destroyed: other statics may use it.
union Constant {
    InetAddr value;
    constexpr explicit Constant(unsigned hostOrder) : value(hostOrder) {}
    constexpr ~Constant() {} // NOLINT(modernize-use-equals-default): that would be deleted
};

constinit Constant anyAddress(0x00000000);
constinit Constant noneAddress(0xFFFFFFFF);
constinit Constant localhostAddress(0x7F000001);

constexpr int PrintSize = 20; // an address in any radix must take fewer bytes, terminator aside

// The bits of an address that name the host by the old classes; 0 for an address of no class.
unsigned hostMask(unsigned hostOrder) {
    if (hostOrder < 0x80000000) {
        return 0x00FFFFFF;
    }
    if (hostOrder < 0xC0000000) {
        return 0x0000FFFF;
    }
    return hostOrder < 0xE0000000 ? 0x000000FF : 0;
}

// Closes a socket at the end of a scope, with the last error kept.
class SocketGuard {
public:
    explicit SocketGuard(int socketFd) : fd(socketFd) {}
    SocketGuard(const SocketGuard&) = delete;
    SocketGuard& operator=(const SocketGuard&) = delete;
    ~SocketGuard() {
        const unsigned code = Thread::getLastError();
        safeCloseFd(fd);
        Thread::setLastError(code);
    }

private:
    int fd;
};

// Adds the address of one interface to the sorted vector, if it is up.
void addInterface(int fd, const ifreq& entry, HVector<unsigned int, void*>& addresses) {
    if (entry.ifr_addr.sa_family != AF_INET) {
        return;
    }
    ifreq request;
    std::memcpy(request.ifr_name, entry.ifr_name, sizeof request.ifr_name);
    if (ioctl(fd, SIOCGIFADDR, &request) != 0) {
        return;
    }
    sockaddr_in address;
    std::memcpy(&address, &request.ifr_addr, sizeof address);
    if (ioctl(fd, SIOCGIFFLAGS, &request) != 0 || (request.ifr_flags & IFF_UP) == 0) {
        return;
    }
    const unsigned hostOrder = ntohl(address.sin_addr.s_addr);
    int index = 0;
    if (!addresses.binSearchRange(hostOrder, 0, addresses.size(), &index)) {
        addresses.insertAt(index, hostOrder);
    }
}

} // namespace

const InetAddr& InetAddr::ANY = anyAddress.value;
const InetAddr& InetAddr::NONE = noneAddress.value;
const InetAddr& InetAddr::LOCALHOST = localhostAddress.value;

void InetAddr::dropText() {
    delete[] text;
    text = nullptr;
}

InetAddr& InetAddr::operator=(unsigned hostOrder) {
    dropText();
    address.s_addr = toNetworkOrder(hostOrder);
    return *this;
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): only the cached text goes
InetAddr& InetAddr::operator=(const InetAddr& other) {
    dropText();
    address = other.address;
    return *this;
}

InetAddr& InetAddr::operator=(in_addr networkOrder) {
    dropText();
    address = networkOrder;
    return *this;
}

int InetAddr::strToIa(const char* text, InetAddr& out) {
    in_addr parsed;
    if (inet_pton(AF_INET, text, &parsed) != 1) {
        return -1;
    }
    out = parsed;
    return 0;
}

int InetAddr::iaToStr(const InetAddr& value, char* buffer, int size, int radix) {
    const char* const format = radix == 8    ? "%#o.%#o.%#o.%#o"
                               : radix == 16 ? "%#x.%#x.%#x.%#x"
                                             : "%d.%d.%d.%d";
    const unsigned host = value.getHostOrder();
    char local[PrintSize];
    const int length = std::snprintf(local, sizeof local, format, host >> 24, host >> 16 & 0xFF,
                                     host >> 8 & 0xFF, host & 0xFF);
    if (length < 0 || length >= size || length >= PrintSize) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    std::memcpy(buffer, local, static_cast<std::size_t>(length) + 1);
    return length + 1;
}

const char* InetAddr::toString(char* buffer) const {
    if (buffer == nullptr) {
        if (text != nullptr) {
            return text;
        }
        text = buffer = new char[TextSize];
    }
    iaToStr(*this, buffer, TextSize, 10);
    return buffer;
}

void InetAddr::setToMask(InetAddr& out, unsigned bits) {
    if (bits == 0) {
        out = ANY;
    } else {
        out = bits < 32 ? ~(0xFFFFFFFFU >> bits) : 0xFFFFFFFFU;
    }
}

InetAddr InetAddr::getNetworkAddr() const {
    const unsigned host = getHostOrder();
    return host >> 24 == 0xFF ? InetAddr() : InetAddr(host & ~hostMask(host));
}

int InetAddr::isLocalAddr() const {
    const unsigned host = getHostOrder();
    if (host >> 24 == 127) {
        return 1;
    }
    HVector<unsigned int, void*> addresses(16);
    if (getAllLocal(addresses) != 0) {
        return -1;
    }
    return addresses.binSearchRange(host, 0, addresses.size(), nullptr) ? 1 : 0;
}

bool InetAddr::isHostAddr() const {
    const unsigned host = getHostOrder();
    const unsigned mask = hostMask(host);
    return host == 0 || ((host & mask) != 0 && (host & mask) != mask);
}

bool InetAddr::isBroadcastAddr() const {
    const unsigned host = getHostOrder();
    const unsigned mask = hostMask(host);
    return host == 0xFFFFFFFF || (mask != 0 && (host & mask) == mask);
}

bool InetAddr::isNetworkMask() const {
    const unsigned zeros = ~getHostOrder();
    return zeros <= 0x00FFFFFF && (zeros & (zeros + 1)) == 0;
}

void InetAddr::reverse() {
    dropText();
    address.s_addr = __builtin_bswap32(address.s_addr);
}

int InetAddr::getAllLocal(HVector<unsigned int, void*>& addresses) {
    const int fd = safeOpenFd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (fd < 0) {
        return -1;
    }
    const SocketGuard guard(fd);
    constexpr int FirstSize = 2048;
    constexpr int SecondSize = 4096;
    alignas(ifreq) char firstBuffer[FirstSize];
    std::unique_ptr<char[]> secondBuffer;
    ifconf list;
    list.ifc_len = FirstSize;
    list.ifc_buf = firstBuffer;
    if (ioctl(fd, SIOCGIFCONF, &list) != 0) {
        return -1;
    }
    if (list.ifc_len + static_cast<int>(sizeof(ifreq)) > FirstSize) {
        secondBuffer.reset(new char[SecondSize]);
        list.ifc_len = SecondSize;
        list.ifc_buf = secondBuffer.get();
        if (ioctl(fd, SIOCGIFCONF, &list) != 0) {
            return -1;
        }
    }
    const std::size_t count = static_cast<std::size_t>(list.ifc_len) / sizeof(ifreq);
    for (std::size_t i = 0; i < count; ++i) {
        ifreq entry;
        std::memcpy(&entry, list.ifc_buf + i * sizeof entry, sizeof entry);
        addInterface(fd, entry, addresses);
    }
    return 0;
}

int InetAddr::getAllByName(const char* /*name*/, HVector<unsigned int, void*>& /*addresses*/) {
    Thread::setLastError(HE_INVALOP);
    return -1;
}
