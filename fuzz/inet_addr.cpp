// Internet addresses, networks, ranges and socket addresses: what reads is printed, in every
// radix that reads back, and reads again as the same value. Input: the text.

#include "common/net/inet_addr.h"

#include "fuzz/target.h"

#include <vector>

namespace {

// Printing fails in every buffer that is too small, and writes nothing outside of it.
template <class Print> void checkRooms(Print print) {
    char whole[64];
    const int needed = print(whole, static_cast<int>(sizeof whole));
    if (needed < 0) {
        return;
    }
    FUZZ_CHECK(std::strlen(whole) + 1 == static_cast<std::size_t>(needed));
    for (int size = 0; size <= needed; ++size) {
        const std::unique_ptr<char[]> room(new char[static_cast<std::size_t>(size)]);
        FUZZ_CHECK(print(room.get(), size) == (size == needed ? needed : -1));
    }
}

void checkAddress(const char* text) {
    InetAddr address(1);
    if (InetAddr::strToIa(text, address) != 0) {
        FUZZ_CHECK(address == InetAddr(1));
        return;
    }
    InetAddr again;
    FUZZ_CHECK(InetAddr::strToIa(address.toString(nullptr), again) == 0 && again == address);
    FUZZ_CHECK(std::strcmp(address.toString(nullptr), text) == 0);
    for (const int radix : {8, 10, 16}) {
        checkRooms([&](char* buffer, int size) {
            return InetAddr::iaToStr(address, buffer, size, radix);
        });
    }
    again.reverse();
    again.reverse();
    FUZZ_CHECK(again == address);
    address.getNetworkAddr();
    FUZZ_CHECK(!(address.isHostAddr() && address.isBroadcastAddr()));
}

void checkSet(const char* text) {
    InetAddrSet set;
    if (InetAddrSet::strToIaSet(text, set) != 0) {
        return;
    }
    char printed[InetAddrSet::TextSize];
    InetAddrSet::iaSetToStr(set, printed);
    InetAddrSet again;
    // A network of fewer than 8 bits prints as a range, which may run backwards.
    if (InetAddrSet::strToIaSet(printed, again) == 0) {
        FUZZ_CHECK(again.address == set.address && again.mask == set.mask);
    } else {
        FUZZ_CHECK(!set.mask.isNetworkMask());
    }
    FUZZ_CHECK(set.isSubset(set) || !set.mask.isNetworkMask());
}

void checkSocketAddress(const char* text) {
    InetSocketAddr address;
    if (InetSocketAddr::strToIsa(text, &address) != 0) {
        FUZZ_CHECK(address == InetSocketAddr());
        return;
    }
    FUZZ_CHECK(address.getPort() > 0);
    InetSocketAddr again;
    FUZZ_CHECK(InetSocketAddr::strToIsa(address.toString(nullptr), &again) == 0);
    FUZZ_CHECK(again == address);
    for (const int radix : {8, 10, 16}) {
        checkRooms([&](char* buffer, int size) {
            return InetSocketAddr::isaToStr(address, buffer, size, radix);
        });
    }
}

} // namespace

FUZZ_TARGET(inet_addr) {
    const fuzz::Text text(input.rest());
    checkAddress(text.get());
    checkSet(text.get());
    checkSocketAddress(text.get());
}
