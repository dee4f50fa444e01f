// Registries: how classes and attributes are found by index, by name and by uid; and the small
// tables of words that describe the schema itself.
//
// A registry's items live in an arena: the registry runs their destructors and the arena frees
// them. Filling a registry is for one thread; a filled one is only read and needs no lock.
// A miss gives null and sets no error.

#ifndef MORVEX_CONFIG_REGISTRY_H
#define MORVEX_CONFIG_REGISTRY_H

#include "config/arena.h"
#include "config/schema_desc.h"

#include <cstdint>

namespace HConfig {

// Something with a name and a place in one registry.
class Item {
public:
    virtual ~Item() = default;
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    // Never null; lives as long as the schema's tables.
    virtual const char* getItemName() const = 0;

    unsigned getIndex() const { return place; }

protected:
    explicit Item(unsigned index) : place(index) {}

private:
    std::uint32_t place;
};

// An item that also has an id which stays the same when rows are added.
class UidItem : public Item {
public:
    virtual std::uint32_t getItemUid() const = 0;

protected:
    using Item::Item;
};

class ItemRegistry {
public:
    // An empty registry without room.
    ItemRegistry() = default;
    // Runs the items' destructors, the highest index first.
    ~ItemRegistry();
    ItemRegistry(const ItemRegistry&) = delete;
    ItemRegistry& operator=(const ItemRegistry&) = delete;

    // Makes room, once, for indexes below `newCapacity`.
    void reserve(Arena& arena, unsigned newCapacity);

    // Enters an item under its own index and name. The registry destroys it.
    // Requires: an index below the capacity that is still free.
    void addItem(const Item* item);

    // The capacity, which is also the number of items once the registry is filled.
    unsigned getCount() const { return capacity; }

    // Requires: an index below the capacity.
    const Item* getItem(unsigned index) const { return items[index]; }

    // By name, in any case; the lowest index of equal names.
    const Item* findItem(const char* name) const;

private:
    const Item** items = nullptr;
    unsigned capacity = 0;
};

class UidItemRegistry : public ItemRegistry {
public:
    // Makes room, once, for indexes below `newCapacity`.
    void reserve(Arena& arena, unsigned newCapacity);

    // As addItem, and under the item's uid. Of equal uids the first entered is found.
    void addUidItem(const UidItem* item);

    const UidItem* getUidItem(unsigned index) const {
        return static_cast<const UidItem*>(getItem(index));
    }
    const UidItem* findUidItem(std::uint32_t uid) const;
    const UidItem* findByName(const char* name) const {
        return static_cast<const UidItem*>(findItem(name));
    }

private:
    // An open hash table of indexes plus one, at most half full; 0 is a free place.
    std::uint16_t* places = nullptr;
    unsigned placeShift = 0;

    unsigned firstPlace(std::uint32_t uid) const;
};

// One described word of the schema's own language.
struct ValueDesc {
    std::uint32_t id;
    const char* name;
    const char* description;
};

// A table of such words, by id.
class ValueDescRegistry {
public:
    template <unsigned N>
    constexpr explicit ValueDescRegistry(const ValueDesc (&table)[N]) : rows(table), count(N) {}

    // Null for an id that the table does not have.
    const ValueDesc* find(std::uint32_t id) const;

private:
    const ValueDesc* rows;
    unsigned count;
};

// The words for attribute kinds and flags.
// Requires: an id of the table: any kind, or one of REQUIRED, INTERNAL and ENCODABLE.
const ValueDesc& getConfigTypeDesc(ConfigTypes kind);
const ValueDesc& getAttributeFlagDesc(AttributeFlags flag);

// Whether two texts are equal without regard to the case of ASCII letters.
bool equalNames(const char* a, const char* b);

} // namespace HConfig

#endif
