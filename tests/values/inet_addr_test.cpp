// InetAddr, InetAddrSet, InetSocketAddr and their keys.

#include "common/container/hvector.h"
#include "common/container/rb_tree.h"
#include "common/error.h"
#include "common/net/inet_addr.h"
#include "common/net/inet_addr_key.h"
#include "common/thread/thread.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

InetAddr addr(const char* text) {
    InetAddr value;
    EXPECT_EQ(InetAddr::strToIa(text, value), 0) << text;
    return value;
}

std::string print(const InetAddr& value, int radix, int size = 64) {
    char buffer[64] = "unset";
    const int written = InetAddr::iaToStr(value, buffer, size, radix);
    return written < 0 ? "(fails)" : std::to_string(written) + ":" + buffer;
}

TEST(InetAddr, textForms) {
    EXPECT_EQ(addr("10.1.2.3").getHostOrder(), 0x0A010203U);
    InetAddr kept(0x01020304);
    for (const char* bad : {"", "1.2.3", "1.2.3.256", "1.2.3.4 ", "host", "1.2.3.4.5"}) {
        EXPECT_EQ(InetAddr::strToIa(bad, kept), -1) << bad;
    }
    EXPECT_EQ(kept.getHostOrder(), 0x01020304U);

    // That every smaller buffer is refused is the fuzz target's.
    EXPECT_EQ(print(InetAddr(0x000A10FF), 10), "12:0.10.16.255");
    EXPECT_EQ(print(InetAddr(0x000A10FF), 16), "16:0.0xa.0x10.0xff");
    EXPECT_EQ(print(InetAddr(0x000A10FF), 8), "15:0.012.020.0377");
    EXPECT_EQ(print(InetAddr(0x0A000001), 10, 8), "(fails)");
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(HE_INVAL));
    EXPECT_EQ(print(InetAddr::NONE, 8), "20:0377.0377.0377.0377");

    char buffer[InetAddr::TextSize];
    EXPECT_EQ(kept.toString(buffer), buffer);
    EXPECT_STREQ(buffer, "1.2.3.4");
}

TEST(InetAddr, aChangeDropsTheCachedText) {
    InetAddr value(0x01020304);
    EXPECT_STREQ(value.toString(nullptr), "1.2.3.4");
    EXPECT_EQ(value.toString(nullptr), value.toString(nullptr));
    const InetAddr copy = value;
    EXPECT_NE(copy.toString(nullptr), value.toString(nullptr));
    value.reverse();
    EXPECT_STREQ(value.toString(nullptr), "4.3.2.1");
    value = 0x05060708U;
    EXPECT_STREQ(value.toString(nullptr), "5.6.7.8");
    value = InetAddr::LOCALHOST;
    EXPECT_STREQ(value.toString(nullptr), "127.0.0.1");
    value = InetAddr::ANY.getInAddr();
    EXPECT_STREQ(value.toString(nullptr), "0.0.0.0");
    EXPECT_STREQ(InetAddr::NONE.toString(nullptr), "255.255.255.255");
    EXPECT_STREQ(copy.toString(nullptr), "1.2.3.4");
}

TEST(InetAddr, testsByClass) {
    const struct {
        const char *text, *network;
        const char* is; // a host, a broadcast address, a mask
    } rows[] = {{"0.0.0.0", "0.0.0.0", "h"},
                {"10.1.2.3", "10.0.0.0", "h"},
                {"10.0.0.0", "10.0.0.0", ""},
                {"10.255.255.255", "10.0.0.0", "b"},
                {"127.255.255.255", "127.0.0.0", "b"},
                {"128.0.0.1", "128.0.0.0", "h"},
                {"172.16.255.255", "172.16.0.0", "b"},
                {"192.168.1.7", "192.168.1.0", "h"},
                {"192.168.1.255", "192.168.1.0", "b"},
                {"192.168.1.0", "192.168.1.0", ""},
                {"223.255.255.254", "223.255.255.0", "h"},
                {"224.0.0.1", "224.0.0.1", ""},
                {"224.255.255.255", "224.255.255.255", ""},
                {"254.0.0.0", "254.0.0.0", ""},
                {"255.0.0.0", "0.0.0.0", "m"},
                {"255.1.2.3", "0.0.0.0", ""},
                {"255.255.254.0", "0.0.0.0", "m"},
                {"255.0.255.0", "0.0.0.0", ""},
                {"255.255.255.255", "0.0.0.0", "bm"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const InetAddr value = addr(row.text);
        EXPECT_STREQ(value.getNetworkAddr().toString(nullptr), row.network);
        EXPECT_EQ(std::string(value.isHostAddr() ? "h" : "") +
                      (value.isBroadcastAddr() ? "b" : "") + (value.isNetworkMask() ? "m" : ""),
                  row.is);
    }
}

TEST(InetAddr, setToMask) {
    const char* const texts[] = {"0.0.0.0", "128.0.0.0", "255.0.0.0", "255.255.255.254",
                                 "255.255.255.255"};
    const unsigned bits[] = {0, 1, 8, 31, 32};
    for (int i = 0; i < 5; ++i) {
        InetAddr mask(7);
        InetAddr::setToMask(mask, bits[i]);
        EXPECT_STREQ(mask.toString(nullptr), texts[i]);
    }
}

TEST(InetAddr, localAddresses) {
    HVector<unsigned int, void*> addresses(4);
    ASSERT_EQ(InetAddr::getAllLocal(addresses), 0);
    const int count = addresses.size();
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(InetAddr(addresses.get(i)).isLocalAddr(), 1);
        EXPECT_TRUE(i == 0 || addresses.get(i - 1) < addresses.get(i));
    }
    ASSERT_EQ(InetAddr::getAllLocal(addresses), 0);
    EXPECT_EQ(addresses.size(), count);
    EXPECT_EQ(addr("127.3.2.1").isLocalAddr(), 1);
    EXPECT_EQ(addr("240.1.2.3").isLocalAddr(), 0);
    EXPECT_EQ(InetAddr::getAllByName("localhost", addresses), -1);
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(HE_INVALOP));
}

TEST(InetAddrSet, textForms) {
    const struct {
        const char *text, *result;
    } rows[] = {
        {"10.0.0.0/8", "10.0.0.0/255.0.0.0"},
        {"10.0.0.0/255.255.0.0", "10.0.0.0/255.255.0.0"},
        {"10.0.0.1-10.0.0.9", "10.0.0.1-10.0.0.9"},
        {"10.0.0.1-10.0.0.1", "10.0.0.1-10.0.0.1"},
        {"10.0.0.1-255.255.255.0", "10.0.0.1/255.255.255.0"},
        {"10.0.0.0/4", "10.0.0.0-240.0.0.0"},
        {"010.0.0.1/8", "10.0.0.1/255.0.0.0"},
        {"1.2.3.4/32", "1.2.3.4/255.255.255.255"},
        {"1.2.3.4/08", "1.2.3.4/255.0.0.0"},
        {"255.255.255.255-255.255.255.255", "255.255.255.255/255.255.255.255"},
    };
    for (const auto& row : rows) {
        InetAddrSet set;
        ASSERT_EQ(InetAddrSet::strToIaSet(row.text, set), 0) << row.text;
        char buffer[InetAddrSet::TextSize];
        InetAddrSet::iaSetToStr(set, buffer);
        EXPECT_STREQ(buffer, row.result) << row.text;
    }
    InetAddrSet kept;
    kept.address = 1U;
    kept.mask = 2U;
    for (const char* bad : {"",
                            "10.0.0",
                            "10.0.0.1",
                            "10.0.0/8",
                            "10.0.0.0/",
                            "10.0.0.0-",
                            "/8",
                            "10.0.0./8",
                            "10..0.0/8",
                            ".1.0.0/8",
                            "1.2.3.4.5/8",
                            "10.0.0.0/0",
                            "10.0.0.0/33",
                            "10.0.0.0/008",
                            "10.0.0.0/8x",
                            "10.0.0.0/8 ",
                            "10.0.0.0-8",
                            "10.0.0.0/255.0",
                            "10.0.0.0/255.0.0.",
                            "10.0.0.0/255.0.255.0",
                            "10.0.0.0/240.0.0.0",
                            "10.0.0.9-10.0.0.1",
                            "256.0.0.1/8",
                            "10.0.0.0001/8",
                            "10.0.0.1-10.0.0.256",
                            "10.0.0.1/8/8",
                            "10.0.0.1:8"}) {
        EXPECT_EQ(InetAddrSet::strToIaSet(bad, kept), -1) << bad;
        EXPECT_EQ(kept.address.getHostOrder(), 1U) << bad;
        EXPECT_EQ(kept.mask.getHostOrder(), 2U) << bad;
    }
}

TEST(InetAddrSet, subsetAndDisjunctive) {
    const struct {
        const char *left, *right;
        bool subset, disjunctive;
    } rows[] = {
        {"10.1.0.0/16", "10.0.0.0/8", true, false},
        {"10.0.0.0/8", "10.1.0.0/16", false, false},
        {"10.9.9.9/8", "10.0.0.0-10.255.255.255", true, false},
        {"10.0.0.1-10.0.0.9", "10.0.0.9-10.0.0.20", false, false},
        {"10.0.0.1-10.0.0.9", "10.0.0.10-10.0.0.20", false, true},
    };
    for (const auto& row : rows) {
        InetAddrSet left;
        InetAddrSet right;
        ASSERT_EQ(InetAddrSet::strToIaSet(row.left, left), 0);
        ASSERT_EQ(InetAddrSet::strToIaSet(row.right, right), 0);
        EXPECT_EQ(left.isSubset(right), row.subset) << row.left << ' ' << row.right;
        EXPECT_EQ(left.isDisjunctive(right), row.disjunctive) << row.left << ' ' << row.right;
        EXPECT_EQ(right.isDisjunctive(left), row.disjunctive);
    }
}

TEST(InetSocketAddr, textForms) {
    for (const char* good : {"127.0.0.1:25", "127.0.0.1:0x19", "127.0.0.1:031"}) {
        InetSocketAddr value;
        EXPECT_EQ(InetSocketAddr::strToIsa(good, &value), 0) << good;
        EXPECT_STREQ(value.toString(nullptr), "127.0.0.1:25");
    }
    InetSocketAddr value(InetAddr(0x01020304), 99);
    for (const char* bad :
         {"127.0.0.1", "host:25", ":25", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536",
          "127.0.0.1:25x", "127.0.0.1:-1", "127.0.0.1:99999999999999999999", "127.0.0.1:25:1",
          "127.0.0.1.127.0.0.1.127.0.0.1:1"}) {
        Thread::setLastError(0U);
        EXPECT_EQ(InetSocketAddr::strToIsa(bad, &value), -1) << bad;
        EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(HE_INVAL)) << bad;
    }
    char buffer[64];
    EXPECT_EQ(value.toString(buffer), buffer);
    EXPECT_STREQ(buffer, "1.2.3.4:99");
    EXPECT_EQ(InetSocketAddr::isaToStr(value, buffer, 64, 16), 21);
    EXPECT_STREQ(buffer, "0x1.0x2.0x3.0x4:0x63");
    EXPECT_EQ(InetSocketAddr::isaToStr(value, buffer, 11, 10), 11);
    EXPECT_EQ(InetSocketAddr::isaToStr(value, buffer, 10, 10), -1);
    const InetSocketAddr longest(InetAddr::NONE, 65535);
    EXPECT_EQ(InetSocketAddr::isaToStr(longest, buffer, 64, 8), 28);
    EXPECT_EQ(InetSocketAddr::isaToStr(longest, buffer, 64, 10), 22);
}

TEST(InetSocketAddr, changesAndComparisons) {
    InetSocketAddr value;
    SocketAddr& base = value;
    EXPECT_EQ(base.getType(), 4);
    Thread::setLastError(5U);
    base = "1.2.3.4:99";
    EXPECT_EQ(Thread::getLastError(), 0U);
    EXPECT_STREQ(value.toString(nullptr), "1.2.3.4:99");
    base = "1.2.3.4";
    EXPECT_EQ(Thread::getLastError(), static_cast<unsigned>(HE_INVAL));
    EXPECT_STREQ(value.toString(nullptr), "1.2.3.4:99");
    value = value.toString(nullptr); // its own cached text
    EXPECT_EQ(Thread::getLastError(), 0U);
    value.setPort(1);
    EXPECT_STREQ(value.toString(nullptr), "1.2.3.4:1");
    value.setInetAddr(InetAddr::LOCALHOST);
    EXPECT_STREQ(value.toString(nullptr), "127.0.0.1:1");

    sockaddr_in raw;
    std::memset(&raw, 0xFF, sizeof raw);
    value.toSockAddrIn(&raw);
    EXPECT_EQ(raw.sin_family, AF_INET);
    EXPECT_EQ(ntohs(raw.sin_port), 1);
    EXPECT_EQ(raw.sin_zero[0], 0);
    InetSocketAddr other(InetAddr::ANY, 7);
    EXPECT_STREQ(other.toString(nullptr), "0.0.0.0:7");
    EXPECT_TRUE(base != other);
    other = raw;
    EXPECT_STREQ(other.toString(nullptr), "127.0.0.1:1");
    EXPECT_TRUE(base == other);
    other.setPort(2);
    EXPECT_FALSE(base == other);
    base = static_cast<const SocketAddr&>(other);
    EXPECT_TRUE(value == other);
    EXPECT_EQ(InetSocketAddr(raw).getPort(), 1);
}

TEST(InetAddrKeys, orderByNumberAndPort) {
    const auto expectBefore = [](const HKey& low, const HKey& high) {
        EXPECT_EQ(low.compareTo(high), -1);
        EXPECT_EQ(high.compareTo(low), 1);
        const std::unique_ptr<HKey> copy(low.duplicate());
        EXPECT_EQ(low.compareTo(*copy), 0);
        EXPECT_TRUE(low == *copy && low <= *copy && low >= *copy);
        EXPECT_TRUE(low != high && low < high && low <= high && high > low && high >= low);
    };
    expectBefore(InetAddrKey(addr("9.255.255.255")), InetAddrKey(addr("200.0.0.0")));
    const InetSocketAddrKey middle(InetSocketAddr(addr("1.0.0.1"), 1));
    expectBefore(InetSocketAddrKey(InetSocketAddr(addr("1.0.0.0"), 65535)), middle);
    expectBefore(middle, InetSocketAddrKey(InetSocketAddr(addr("1.0.0.1"), 2)));
}

} // namespace
