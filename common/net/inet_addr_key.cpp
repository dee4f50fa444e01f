// The orders of InetAddrKey and InetSocketAddrKey.

#include "common/net/inet_addr_key.h"

#include <cstdint>

namespace {

// One number that orders as the key does; two keys of a tree are of one class.
std::uint64_t rank(const InetAddr& address) {
    return address.getHostOrder();
}

std::uint64_t rank(const InetSocketAddr& address) {
    return rank(address.getInetAddr()) << 16 | address.getPort();
}

template <class Key> std::uint64_t rankOf(const HKey& key) {
    return rank(static_cast<const Key&>(key).getValue());
}

template <class Key> int compare(const Key& key, const HKey& other) {
    const std::uint64_t left = rankOf<Key>(key);
    const std::uint64_t right = rankOf<Key>(other);
    return left < right ? -1 : left > right ? 1 : 0;
}

} // namespace

bool InetAddrKey::operator<(const HKey& other) const {
    return compare(*this, other) < 0;
}
bool InetAddrKey::operator>(const HKey& other) const {
    return compare(*this, other) > 0;
}
bool InetAddrKey::operator>=(const HKey& other) const {
    return compare(*this, other) >= 0;
}
bool InetAddrKey::operator<=(const HKey& other) const {
    return compare(*this, other) <= 0;
}
int InetAddrKey::compareTo(const HKey& other) const {
    return compare(*this, other);
}

bool InetAddrKey::operator==(const HKey& other) const {
    return value == static_cast<const InetAddrKey&>(other).value;
}

bool InetAddrKey::operator!=(const HKey& other) const {
    return !(*this == other);
}

InetAddrKey* InetAddrKey::duplicate() const {
    return new InetAddrKey(value);
}

bool InetSocketAddrKey::operator<(const HKey& other) const {
    return compare(*this, other) < 0;
}
bool InetSocketAddrKey::operator>(const HKey& other) const {
    return compare(*this, other) > 0;
}
bool InetSocketAddrKey::operator>=(const HKey& other) const {
    return compare(*this, other) >= 0;
}
bool InetSocketAddrKey::operator<=(const HKey& other) const {
    return compare(*this, other) <= 0;
}
int InetSocketAddrKey::compareTo(const HKey& other) const {
    return compare(*this, other);
}

bool InetSocketAddrKey::operator==(const HKey& other) const {
    return value == static_cast<const InetSocketAddrKey&>(other).value;
}

bool InetSocketAddrKey::operator!=(const HKey& other) const {
    return !(*this == other);
}

InetSocketAddrKey* InetSocketAddrKey::duplicate() const {
    return new InetSocketAddrKey(value);
}
