#include "common/container/key.h"

#include <cstring>

HKey::~HKey() = default;

bool HKey::operator<(const HKey& other) const {
    return compareTo(other) < 0;
}

bool HKey::operator==(const HKey& other) const {
    return compareTo(other) == 0;
}

bool HKey::operator!=(const HKey& other) const {
    return compareTo(other) != 0;
}

bool HKey::operator>(const HKey& other) const {
    return compareTo(other) > 0;
}

bool HKey::operator>=(const HKey& other) const {
    return compareTo(other) >= 0;
}

bool HKey::operator<=(const HKey& other) const {
    return compareTo(other) <= 0;
}

namespace {

std::int32_t numberOf(const HKey& key) {
    return static_cast<const Int32Key&>(key).getValue();
}

} // namespace

bool Int32Key::operator<(const HKey& other) const {
    return value < numberOf(other);
}

bool Int32Key::operator==(const HKey& other) const {
    return value == numberOf(other);
}

bool Int32Key::operator!=(const HKey& other) const {
    return value != numberOf(other);
}

bool Int32Key::operator>(const HKey& other) const {
    return value > numberOf(other);
}

bool Int32Key::operator>=(const HKey& other) const {
    return value >= numberOf(other);
}

bool Int32Key::operator<=(const HKey& other) const {
    return value <= numberOf(other);
}

Int32Key* Int32Key::duplicate() const {
    return new Int32Key(value);
}

int Int32Key::compareTo(const HKey& other) const {
    // Unsigned, so that the difference wraps instead of being undefined.
    return static_cast<int>(static_cast<std::uint32_t>(value) -
                            static_cast<std::uint32_t>(numberOf(other)));
}

StringRefKey* StringRefKey::duplicate() const {
    return new StringRefKey(value);
}

int StringRefKey::compareTo(const HKey& other) const {
    const int order = std::strcmp(value, static_cast<const StringRefKey&>(other).value);
    return (order > 0) - (order < 0);
}
