#include "config/registry.h"

#include <algorithm>
#include <bit>

namespace HConfig {

namespace {
constexpr char fold(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

constexpr ValueDesc KIND_DESC[] = {
    {KIND_VALUE, "VALUE", "A single value"},
    {KIND_OBJECT, "OBJECT", "A single object"},
    {KIND_VALUE_SET, "VALUE-SET", "A set of values"},
    {KIND_OBJECT_SET, "OBJECT-SET", "A set of objects"},
};
constexpr ValueDesc FLAG_DESC[] = {
    {FLAG_REQUIRED, "REQUIRED", "Required attribute"},
    {FLAG_INTERNAL, "INTERNAL", "Internal attribute"},
    {FLAG_ENCODABLE, "ENCODABLE", "Encodable attribute"},
};
constexpr ValueDescRegistry kindRegistry(KIND_DESC);
constexpr ValueDescRegistry flagRegistry(FLAG_DESC);
} // namespace

bool equalNames(const char* a, const char* b) {
    while (fold(*a) == fold(*b)) {
        if (*a == '\0') {
            return true;
        }
        ++a;
        ++b;
    }
    return false;
}

ItemRegistry::~ItemRegistry() {
    for (unsigned index = capacity; index-- > 0;) {
        if (items[index] != nullptr) {
            items[index]->~Item();
        }
    }
}

void ItemRegistry::reserve(Arena& arena, unsigned newCapacity) {
    items = arena.makeRoom<const Item*>(newCapacity);
    std::fill_n(items, newCapacity, nullptr);
    capacity = newCapacity;
}

void ItemRegistry::addItem(const Item* item) {
    items[item->getIndex()] = item;
}

const Item* ItemRegistry::findItem(const char* name) const {
    for (unsigned index = 0; index < capacity; ++index) {
        if (items[index] != nullptr && equalNames(items[index]->getItemName(), name)) {
            return items[index];
        }
    }
    return nullptr;
}

void UidItemRegistry::reserve(Arena& arena, unsigned newCapacity) {
    ItemRegistry::reserve(arena, newCapacity);
    if (newCapacity == 0) {
        return;
    }
    const unsigned placeBits = static_cast<unsigned>(std::bit_width(2 * newCapacity - 1));
    placeShift = 32 - placeBits;
    places = arena.makeRoom<std::uint16_t>(std::size_t{1} << placeBits);
    std::fill_n(places, std::size_t{1} << placeBits, std::uint16_t{0});
}

// Multiplication by 2^32 over the golden ratio spreads neighbouring uids over the table.
unsigned UidItemRegistry::firstPlace(std::uint32_t uid) const {
    return (uid * 0x9E3779B9U) >> placeShift;
}

void UidItemRegistry::addUidItem(const UidItem* item) {
    addItem(item);
    const unsigned mask = ~0U >> placeShift;
    unsigned place = firstPlace(item->getItemUid());
    while (places[place] != 0) {
        if (getUidItem(places[place] - 1U)->getItemUid() == item->getItemUid()) {
            return;
        }
        place = (place + 1) & mask;
    }
    places[place] = static_cast<std::uint16_t>(item->getIndex() + 1);
}

const UidItem* UidItemRegistry::findUidItem(std::uint32_t uid) const {
    if (places == nullptr) {
        return nullptr;
    }
    const unsigned mask = ~0U >> placeShift;
    for (unsigned place = firstPlace(uid); places[place] != 0; place = (place + 1) & mask) {
        const UidItem* item = getUidItem(places[place] - 1U);
        if (item->getItemUid() == uid) {
            return item;
        }
    }
    return nullptr;
}

const ValueDesc* ValueDescRegistry::find(std::uint32_t id) const {
    const ValueDesc* end = rows + count;
    const ValueDesc* row = std::find_if(rows, end, [id](const ValueDesc& d) { return d.id == id; });
    return row != end ? row : nullptr;
}

const ValueDesc& getConfigTypeDesc(ConfigTypes kind) {
    return *kindRegistry.find(kind);
}

const ValueDesc& getAttributeFlagDesc(AttributeFlags flag) {
    return *flagRegistry.find(flag);
}

} // namespace HConfig
