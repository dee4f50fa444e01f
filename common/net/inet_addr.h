// IPv4 addresses, networks, ranges and socket addresses as values. Text forms are numeric: there is
// no name resolution and no IPv6.
//
// Failure is a result of -1; where an operation sets the last error it says so. The values hold no
// lock. Their one hidden mutable thing is a cached text: a value that several threads print is to
// be printed into buffers, or once beforehand.

#ifndef MORVEX_COMMON_NET_INET_ADDR_H
#define MORVEX_COMMON_NET_INET_ADDR_H

#include <netinet/in.h>

template <class T, class A> class HVector;

// One IPv4 address. Tests by class go by the old scheme: class A below 128.0.0.0, class B below
// 192.0.0.0, class C below 224.0.0.0, the rest neither.
class InetAddr {
public:
    static const InetAddr& ANY;       // 0.0.0.0
    static const InetAddr& NONE;      // 255.255.255.255
    static const InetAddr& LOCALHOST; // 127.0.0.1

    static constexpr int TextSize = 16; // room for the dotted form with its terminator

    // 0.0.0.0; an address in host byte order; one in network byte order; a copy, which never shares
    // the cached text.
    constexpr InetAddr() noexcept : address{0}, text(nullptr) {}
    constexpr InetAddr(unsigned hostOrder) noexcept
        : address{toNetworkOrder(hostOrder)}, text(nullptr) {}
    explicit constexpr InetAddr(in_addr networkOrder) noexcept
        : address(networkOrder), text(nullptr) {}
    constexpr InetAddr(const InetAddr& other) noexcept : address(other.address), text(nullptr) {}
    constexpr ~InetAddr() { delete[] text; }

    InetAddr& operator=(unsigned hostOrder);
    InetAddr& operator=(const InetAddr& other);
    InetAddr& operator=(in_addr networkOrder);

    bool operator==(const InetAddr& other) const { return address.s_addr == other.address.s_addr; }

    // The address in host byte order, and as the sockets take it.
    unsigned getHostOrder() const { return toNetworkOrder(address.s_addr); }
    in_addr getInAddr() const { return address; }

    // Reads the strict dotted form, four decimal numbers. 0, or -1 with `out` unchanged; sets no
    // error. Requires: text is not null.
    static int strToIa(const char* text, InetAddr& out);

    // Prints the four bytes by radix 8 ("%#o"), 16 ("%#x") or else 10, joined by dots. Returns the
    // bytes written, terminator included, or -1 with HE_INVAL where they do not fit into `size`.
    static int iaToStr(const InetAddr& value, char* buffer, int size, int radix);

    // The dotted form, in the caller's buffer of at least 16 bytes; or, for a null buffer, in a
    // text that the object keeps until it is assigned to.
    const char* toString(char* buffer) const;

    // The network mask of the top `bits` bits, 0 giving ANY and 32 or more all ones.
    static void setToMask(InetAddr& out, unsigned bits);

    // The network of the address by its class; one that starts with 255 gives ANY, and one of no
    // class stays as it is.
    InetAddr getNetworkAddr() const;

    // 1 for 127.x.x.x and for an address of an interface of this machine that is up, 0 for others,
    // -1 where the interfaces could not be listed, with the code of the failing call.
    int isLocalAddr() const;

    // Whether the part behind the network bytes of the class is neither all zeros nor all ones;
    // true for 0.0.0.0, false for an address of no class.
    bool isHostAddr() const;

    // Whether that part is all ones; true for 255.255.255.255, false for an address of no class.
    bool isBroadcastAddr() const;

    // Whether this is a mask of 8 to 32 bits; a shorter one is not told from an address.
    bool isNetworkMask() const;

    // Swaps the four bytes end for end.
    void reverse();

    // Adds the addresses of all interfaces that are up, in host byte order, to a sorted vector that
    // holds each one once. 0, or -1 with the code of the failing call.
    static int getAllLocal(HVector<unsigned int, void*>& addresses);

    // Not available: -1 with HE_INVALOP.
    static int getAllByName(const char* name, HVector<unsigned int, void*>& addresses);

private:
    static constexpr unsigned toNetworkOrder(unsigned value) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        return __builtin_bswap32(value);
#else
        return value;
#endif
    }
    void dropText();

    in_addr address;    // network byte order
    mutable char* text; // owned; the cached dotted form, or null
};

// A network, or a range of addresses. No flag tells which: a second address that passes
// InetAddr::isNetworkMask is a mask, any other the end of a range.
class InetAddrSet {
public:
    static constexpr int TextSize = 32; // room for the text form with its terminator

    InetAddr address; // an address of the network, or the first of the range
    InetAddr mask;    // the network mask, or the last address of the range

    // Reads "a.b.c.d/bits" (1 to 32), "a.b.c.d/m.m.m.m" or "a.b.c.d-e.f.g.h", the numbers decimal
    // with at most 3 digits (2 for bits). A mask must pass isNetworkMask unless it was given in
    // bits, and a range must not run backwards. 0, or -1 with `out` unchanged; sets no error.
    // Requires: text is not null.
    static int strToIaSet(const char* text, InetAddrSet& out);

    // Prints "a.b.c.d/m.m.m.m" or "a.b.c.d-e.f.g.h" into a buffer of 32 bytes.
    static void iaSetToStr(const InetAddrSet& value, char* buffer);

    // Whether every address of this set is in the other, and whether none is.
    bool isSubset(const InetAddrSet& other) const;
    bool isDisjunctive(const InetAddrSet& other) const;

private:
    void getBounds(unsigned& first, unsigned& last) const;
};

// The address of a socket of any family. The families that there are: InetSocketAddr.
class SocketAddr {
public:
    SocketAddr() = default;
    SocketAddr(const SocketAddr&) = default;
    virtual ~SocketAddr();

    // The text form, in the caller's buffer or, for a null buffer, in a text that the object keeps
    // until it is changed.
    virtual const char* toString(char* buffer) const = 0;

    // Takes the value of a text. On success the last error is 0; on failure the value stays and the
    // last error tells why.
    virtual SocketAddr& operator=(const char* value) = 0;

    // Requires: other is of the same family.
    // NOLINTNEXTLINE(misc-unconventional-assign-operator): the value of whatever family
    virtual SocketAddr& operator=(const SocketAddr& other) = 0;
    virtual bool operator==(const SocketAddr& other) const = 0;
    virtual bool operator!=(const SocketAddr& other) const = 0;

    // The family: 0 for none, 4 for IPv4.
    virtual int getType() const;
};

// An IPv4 address and a port.
class InetSocketAddr final : public SocketAddr {
public:
    static constexpr int TextSize = 28; // room that toString wants, in any radix

    InetSocketAddr();
    InetSocketAddr(const InetAddr& address, unsigned short portNumber);
    explicit InetSocketAddr(const sockaddr_in& address);
    InetSocketAddr(const InetSocketAddr& other);
    ~InetSocketAddr() override;

    // "address:port", in a buffer of at least 28 bytes or in the cached text.
    const char* toString(char* buffer) const override;
    InetSocketAddr& operator=(const char* value) override;
    InetSocketAddr& operator=(const SocketAddr& other) override;
    bool operator==(const SocketAddr& other) const override;
    bool operator!=(const SocketAddr& other) const override;
    int getType() const override;

    InetSocketAddr& operator=(const InetSocketAddr& other);
    InetSocketAddr& operator=(const sockaddr_in& other);
    bool operator==(const InetSocketAddr& other) const;
    bool operator!=(const InetSocketAddr& other) const;

    const InetAddr& getInetAddr() const { return inetAddr; }
    unsigned short getPort() const { return port; } // host byte order
    void setInetAddr(const InetAddr& value);
    void setPort(unsigned short value);

    // Reads "a.b.c.d:port", the port from 1 to 65535 in decimal, octal (leading 0) or hexadecimal
    // (leading 0x). 0, or -1 with HE_INVAL and `out` unchanged. Requires: neither is null.
    static int strToIsa(const char* text, InetSocketAddr* out);

    // Prints as InetAddr::iaToStr does, with ":" and the port in the same radix behind. Returns the
    // bytes written, terminator included, or -1 with HE_INVAL where they do not fit into `size`.
    static int isaToStr(const InetSocketAddr& value, char* buffer, int size, int radix);

    // Fills the structure that the sockets take. Requires: out is not null.
    void toSockAddrIn(sockaddr_in* out) const;

private:
    void dropText();

    InetAddr inetAddr;
    unsigned short port; // host byte order
    mutable char* text;  // owned; the cached text form, or null
};

#endif
