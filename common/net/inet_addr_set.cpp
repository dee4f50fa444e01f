// InetAddrSet: a network or a range of addresses.

#include "common/net/inet_addr.h"

#include <cstdio>

namespace {

// Reads the numbers of one address, joined by dots, up to the first character that is neither.
class PartReader {
public:
    explicit PartReader(const char*& position) : text(position) {}

    // False for a number of more than 3 digits or above 255, a dot with no digits before it, or a
    // fourth dot. An address without digits at its end passes here: hasDigits tells.
    bool read() {
        for (;; ++text) {
            if (*text >= '0' && *text <= '9') {
                number = number * 10 + static_cast<unsigned>(*text - '0');
                if (++digits > 3 || number > 255) {
                    return false;
                }
            } else if (*text == '.') {
                if (digits == 0 || ++dots > 3) {
                    return false;
                }
                address = address << 8 | number;
                number = 0;
                digits = 0;
            } else {
                return true;
            }
        }
    }

    bool hasDigits() const { return digits > 0; }
    int digitCount() const { return digits; }
    int dotCount() const { return dots; }
    unsigned lastNumber() const { return number; }
    unsigned hostOrder() const { return address << 8 | number; }

private:
    const char*& text;
    unsigned address = 0; // of the numbers before the last dot
    unsigned number = 0;  // behind it
    int digits = 0;       // of that number
    int dots = 0;
};

} // namespace

int InetAddrSet::strToIaSet(const char* text, InetAddrSet& out) {
    PartReader first(text);
    if (!first.read() || !first.hasDigits() || first.dotCount() != 3) {
        return -1;
    }
    const char separator = *text;
    if (separator != '/' && separator != '-') {
        return -1;
    }
    ++text;
    PartReader second(text);
    if (!second.read() || *text != '\0' || !second.hasDigits()) {
        return -1;
    }
    InetAddr newMask;
    if (second.dotCount() == 0) {
        const unsigned bits = second.lastNumber();
        if (separator != '/' || second.digitCount() > 2 || bits < 1 || bits > 32) {
            return -1;
        }
        InetAddr::setToMask(newMask, bits);
    } else {
        newMask = second.hostOrder();
        if (second.dotCount() != 3 || (separator == '/' ? !newMask.isNetworkMask()
                                                        : second.hostOrder() < first.hostOrder())) {
            return -1;
        }
    }
    out.address = first.hostOrder();
    out.mask = newMask;
    return 0;
}

void InetAddrSet::iaSetToStr(const InetAddrSet& value, char* buffer) {
    char first[InetAddr::TextSize];
    char second[InetAddr::TextSize];
    InetAddr::iaToStr(value.address, first, InetAddr::TextSize, 10);
    InetAddr::iaToStr(value.mask, second, InetAddr::TextSize, 10);
    std::snprintf(buffer, TextSize, "%s%c%s", first, value.mask.isNetworkMask() ? '/' : '-',
                  second);
}

void InetAddrSet::getBounds(unsigned& first, unsigned& last) const {
    first = address.getHostOrder();
    last = mask.getHostOrder();
    if (mask.isNetworkMask()) {
        const unsigned bits = last;
        first &= bits;
        last = first | ~bits;
    }
}

bool InetAddrSet::isSubset(const InetAddrSet& other) const {
    unsigned first, last, otherFirst, otherLast;
    getBounds(first, last);
    other.getBounds(otherFirst, otherLast);
    return first >= otherFirst && last <= otherLast;
}

bool InetAddrSet::isDisjunctive(const InetAddrSet& other) const {
    unsigned first, last, otherFirst, otherLast;
    getBounds(first, last);
    other.getBounds(otherFirst, otherLast);
    return last < otherFirst || otherLast < first;
}
