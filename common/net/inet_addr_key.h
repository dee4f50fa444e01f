// Keys of search trees: an IPv4 address, and an address with its port. Values, as all keys are; the
// address orders by its number in host byte order, unsigned, and the port behind it. `duplicate`
// copies the value without a cached text.

#ifndef MORVEX_COMMON_NET_INET_ADDR_KEY_H
#define MORVEX_COMMON_NET_INET_ADDR_KEY_H

#include "common/container/key.h"
#include "common/net/inet_addr.h"

class InetAddrKey final : public HKey {
public:
    explicit InetAddrKey(const InetAddr& address) : value(address) {}

    bool operator<(const HKey& other) const override;
    bool operator==(const HKey& other) const override;
    InetAddrKey* duplicate() const override;
    bool operator!=(const HKey& other) const override;
    bool operator>(const HKey& other) const override;
    bool operator>=(const HKey& other) const override;
    bool operator<=(const HKey& other) const override;
    int compareTo(const HKey& other) const override; // -1, 0 or 1

    const InetAddr& getValue() const { return value; }

private:
    InetAddr value;
};

class InetSocketAddrKey final : public HKey {
public:
    explicit InetSocketAddrKey(const InetSocketAddr& address) : value(address) {}

    bool operator<(const HKey& other) const override;
    bool operator==(const HKey& other) const override;
    InetSocketAddrKey* duplicate() const override;
    bool operator!=(const HKey& other) const override;
    bool operator>(const HKey& other) const override;
    bool operator>=(const HKey& other) const override;
    bool operator<=(const HKey& other) const override;
    int compareTo(const HKey& other) const override; // -1, 0 or 1

    const InetSocketAddr& getValue() const { return value; }

private:
    InetSocketAddr value;
};

#endif
