// The schema at run time: Config, the registry of all configuration classes; ObjectClass, one
// class; Attribute, one attribute of a class. Objects, the text loader and the text saver work
// from these and know no concrete class.
//
// Config owns everything here. It is made before any other use of the library and goes after the
// last object. Its content never changes in between: a class's attributes are built from the
// constant tables when the class is first asked for them, under a lock, so that a process pays
// for the classes it uses; any thread may read at any time.
//
// A lookup that misses gives null and sets no error.

#ifndef MORVEX_CONFIG_CONFIG_H
#define MORVEX_CONFIG_CONFIG_H

#include "config/arena.h"
#include "config/constraint.h"
#include "config/default.h"
#include "config/registry.h"
#include "config/schema_desc.h"
#include "config/value_type.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace HConfig {

class Config;
class ObjectClass;

class Attribute final : public UidItem {
public:
    Attribute(unsigned row, const ObjectClass& objectClass, const ConfigDesc& schema,
              const AttributeDesc& rowDesc);
    ~Attribute() override;

    const char* getItemName() const override { return definition->name; }
    std::uint32_t getItemUid() const override { return definition->uid; }

    const AttributeDefinition& getDefinition() const { return *definition; }
    const AttributeDesc& getDesc() const { return *desc; }
    ConfigTypes getKind() const { return static_cast<ConfigTypes>(definition->kind); }
    std::uint32_t getFlags() const { return definition->flags; }
    bool hasFlag(std::uint32_t flag) const { return (definition->flags & flag) != 0; }
    unsigned getMaxCount() const { return desc->maxCount; } // 0 for no limit

    // The class whose attribute this is.
    const ObjectClass& getOwner() const { return *owner; }

    // Null for objects and object sets.
    const ValueType* getValueType() const { return valueType; }
    // Whether it is a value or value set of that type.
    bool isOfType(unsigned typeId) const {
        return valueType != nullptr && valueType->getId() == typeId;
    }
    const ValueHandler& getHandler() const { return valueType->getHandler(); }

    // The child class; null for values and value sets, and for a class that is not there.
    const ObjectClass* getObjectClass() const { return childClass; }

    const Constraint* getConstraint() const { return constraint; } // null for none
    const Default* getDefault() const { return defaultHandler; }   // null for none

    // The name of the value type or of the child class.
    const char* getContentTypeString() const;

    // True without a constraint. See Constraint for what may happen to the value's text.
    bool isValueCorrect(const Object* object, const Value& value) const {
        return constraint == nullptr || constraint->isValueCorrect(this, object, value);
    }

    // True without a constraint. A false answer sets HE_CFG_INVALID_OBJECT.
    bool isObjectCorrect(const Object* parent, const Object* child) const;

    // Finds the type, and makes constraint and default in `arena`. Called once by the class.
    void resolve(const Config& config, Arena& arena);

private:
    const AttributeDesc* desc;
    const AttributeDefinition* definition;
    const ObjectClass* owner;
    const ValueType* valueType = nullptr;
    const ObjectClass* childClass = nullptr;
    const Constraint* constraint = nullptr;
    const Default* defaultHandler = nullptr;
    bool constraintOnHeap = false;
    bool defaultOnHeap = false;

    void resolveConstraint(const ConfigDesc& schema, Arena& arena);
    void resolveDefault(const ConfigDesc& schema, Arena& arena);
};

class ObjectClass final : public UidItem {
public:
    ObjectClass(unsigned row, Config& registry, const ObjectClassDesc& rowDesc);
    ~ObjectClass() override = default;

    const char* getItemName() const override { return desc->name; }
    std::uint32_t getItemUid() const override { return desc->uid; }

    const ObjectClassDesc& getDesc() const { return *desc; }
    bool isAbstract() const { return (desc->flags & CLASS_ABSTRACT) != 0; }

    // Null for none, and for a base that is not there.
    const ObjectClass* getBaseClass() const { return baseClass; }
    // Whether this is the class of that uid, or of that row, or one built on it.
    bool isKindOfUid(std::uint32_t uid) const;
    bool isKindOfRow(unsigned row) const;

    // A new object of this class, owned by the caller; null for an abstract class.
    Object* newObject() const { return desc->newObject != nullptr ? desc->newObject() : nullptr; }

    unsigned getAttributeCount() const { return desc->attributeCount; }
    // Requires: index < getAttributeCount().
    const Attribute* getAttribute(unsigned index) const { return &attributesArray()[index]; }
    // All attributes, in row order, one behind the other.
    const Attribute* attributesBegin() const { return attributesArray(); }
    const Attribute* attributesEnd() const { return attributesArray() + desc->attributeCount; }
    // By name, in any case, and by uid.
    const Attribute* findAttribute(const char* name) const;
    const Attribute* findAttribute(std::uint32_t uid) const;

    // The KEY attributes, and those without ENCODABLE, in row order.
    unsigned getKeyCount() const { return (ensureResolved(), keyCount); }
    const Attribute* getKeyAttribute(unsigned index) const {
        return (ensureResolved(), keyAttributes[index]);
    }
    unsigned getPlainCount() const { return (ensureResolved(), plainCount); }
    const Attribute* getPlainAttribute(unsigned index) const {
        return (ensureResolved(), plainAttributes[index]);
    }
    unsigned getCountedCount() const { return (ensureResolved(), countedCount); }

    // Whether a new object of this class, in its empty forms or with all its defaults, is the same
    // at whatever time it is made, and takes its defaults without fail. Then it need not be made
    // before someone looks at it.
    bool isTimeless() const;

    // Finds the base class. Called once by Config.
    void link(const Config& registry);

private:
    friend class Config;

    enum class Timeless : std::uint8_t { UNKNOWN, YES, NO };

    const ObjectClassDesc* desc;
    const ObjectClass* baseClass = nullptr;
    Config* config;

    // All below is written once, under the registry's lock, before `resolved` is set.
    mutable std::atomic<bool> resolved = false;
    mutable std::atomic<Timeless> timeless = Timeless::UNKNOWN; // a remembered answer
    std::uint16_t keyCount = 0;
    std::uint16_t plainCount = 0;
    std::uint16_t countedCount = 0;
    const Attribute* firstAttribute = nullptr;
    const Attribute** keyAttributes = nullptr;
    const Attribute** plainAttributes = nullptr;
    UidItemRegistry attributes;

    void ensureResolved() const {
        if (!resolved.load(std::memory_order_acquire)) {
            resolveOnce();
        }
    }
    const Attribute* attributesArray() const {
        ensureResolved();
        return firstAttribute;
    }
    bool isTimeless(unsigned depth) const;
    void resolveOnce() const;
    void resolve(Arena& arena);
    void listAttributes(Arena& arena);
};

class Config {
public:
    // Makes the registry of the server's schema, or of the given one. To be called once before
    // any other operation of the library and before other threads use it. The tables stay the
    // caller's and outlive the registry.
    static void init();
    static void init(const ConfigDesc& schema);

    // Frees the registry, with no object left. Nothing happens without one.
    static void destroy();

    // The one registry between init and destroy; null outside.
    static Config* theConfig;

    static const ValueType* getValueType(unsigned id) { return ValueType::getValueType(id); }

    const ConfigDesc& getDesc() const { return *desc; }
    unsigned getClassCount() const { return desc->classCount; }
    // Requires: index < getClassCount().
    const ObjectClass* getClass(unsigned index) const { return &firstClass[index]; }
    const ObjectClass* getClassByUid(std::uint32_t uid) const;
    // By name, in any case.
    const ObjectClass* findClass(const char* name) const;

private:
    friend class ObjectClass;

    explicit Config(const ConfigDesc& schema);
    ~Config() = default;

    const ConfigDesc* desc;
    std::mutex resolveMutex; // guards the arena and each class's one-time resolving
    Arena arena;
    ObjectClass* firstClass = nullptr;
    UidItemRegistry classes;

    void resolve();
};

} // namespace HConfig

#endif
