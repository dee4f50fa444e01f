#include "config/config.h"

#include "common/error.h"
#include "common/thread/thread.h"
#include "config/menu.h"

namespace HConfig {

Config* Config::theConfig = nullptr;

namespace {
// The largest class whose attributes are linked.
constexpr unsigned MAX_ATTRIBUTES = 256;

// The deepest tree of classes whose objects may wait to be made.
constexpr unsigned MAX_TIMELESS_DEPTH = 4;

constexpr unsigned char fold(char c) {
    return static_cast<unsigned char>(c | 0x20);
}
} // namespace

// --- Attribute ----------------------------------------------------------------------------------

Attribute::Attribute(unsigned row, const ObjectClass& objectClass, const ConfigDesc& schema,
                     const AttributeDesc& rowDesc)
    : UidItem(row), desc(&rowDesc), definition(&schema.definitions[rowDesc.definition]),
      owner(&objectClass) {
}

Attribute::~Attribute() {
    if (constraintOnHeap) {
        delete constraint;
    } else if (constraint != nullptr) {
        constraint->~Constraint();
    }
    if (defaultOnHeap) {
        delete defaultHandler;
    } else if (defaultHandler != nullptr) {
        defaultHandler->~Default();
    }
}

void Attribute::resolve(const Config& config, Arena& arena) {
    const ConfigTypes kind = getKind();
    if (kind == KIND_OBJECT || kind == KIND_OBJECT_SET) {
        childClass = config.getClassByUid(definition->type);
    } else {
        valueType = ValueType::getValueType(definition->type);
    }
    resolveConstraint(config.getDesc(), arena);
    resolveDefault(config.getDesc(), arena);
}

void Attribute::resolveConstraint(const ConfigDesc& schema, Arena& arena) {
    if (getKind() == KIND_VALUE && (isOfType(TYPE_CHOICE) || isOfType(TYPE_CHOICE_SET))) {
        const Menu* menu = Menu::getMenu(desc->constraintId);
        constraint = menu != nullptr ? arena.make<MenuConstraint>(menu) : nullptr;
        return;
    }
    const ConstraintFactory* factory = ConstraintFactory::getFactory(desc->constraintId);
    if (factory == nullptr) {
        return;
    }
    const ConstraintParamValue* params = desc->constraintParams != AttributeDesc::NO_PARAMS
                                             ? schema.constraintParams + desc->constraintParams
                                             : nullptr;
    constraint = factory->getConstraint(params, arena);
    if (constraint == nullptr) {
        constraint = factory->getConstraint(params);
        constraintOnHeap = true;
    }
}

void Attribute::resolveDefault(const ConfigDesc& schema, Arena& arena) {
    const DefaultFactory* factory = DefaultFactory::getFactory(desc->defaultId);
    if (factory == nullptr) {
        return;
    }
    const DefaultParamValue* params = desc->defaultParams != AttributeDesc::NO_PARAMS
                                          ? schema.defaultParams + desc->defaultParams
                                          : nullptr;
    defaultHandler = factory->getDefault(params, arena);
    if (defaultHandler == nullptr) {
        defaultHandler = factory->getDefault(params);
        defaultOnHeap = true;
    }
}

const char* Attribute::getContentTypeString() const {
    if (valueType != nullptr) {
        return valueType->getDesc().name;
    }
    return childClass != nullptr ? childClass->getItemName() : "";
}

bool Attribute::isObjectCorrect(const Object* parent, const Object* child) const {
    if (constraint == nullptr || constraint->isObjectCorrect(this, parent, child)) {
        return true;
    }
    Thread::setLastError(HE_CFG_INVALID_OBJECT);
    return false;
}

// --- ObjectClass --------------------------------------------------------------------------------

ObjectClass::ObjectClass(unsigned row, Config& registry, const ObjectClassDesc& rowDesc)
    : UidItem(row), desc(&rowDesc), config(&registry) {
}

void ObjectClass::link(const Config& registry) {
    if (desc->baseUid != 0) {
        baseClass = registry.getClassByUid(desc->baseUid);
    }
}

bool ObjectClass::isKindOfUid(std::uint32_t uid) const {
    const ObjectClass* at = this;
    while (at != nullptr && at->desc->uid != uid) {
        at = at->baseClass;
    }
    return at != nullptr;
}

bool ObjectClass::isKindOfRow(unsigned row) const {
    const ObjectClass* at = this;
    while (at != nullptr && at->getIndex() != row) {
        at = at->baseClass;
    }
    return at != nullptr;
}

// The rows are read in place: most of them fail on their first byte.
const Attribute* ObjectClass::findAttribute(const char* name) const {
    const ConfigDesc& schema = config->getDesc();
    const AttributeDesc* rows = schema.attributes + desc->firstAttribute;
    const unsigned char first = fold(*name);
    for (unsigned index = 0; index < desc->attributeCount; ++index) {
        const char* rowName = schema.definitions[rows[index].definition].name;
        if (fold(*rowName) == first && equalNames(rowName, name)) {
            return getAttribute(index);
        }
    }
    return nullptr;
}

const Attribute* ObjectClass::findAttribute(std::uint32_t uid) const {
    ensureResolved();
    return static_cast<const Attribute*>(attributes.findUidItem(uid));
}

bool ObjectClass::isTimeless() const {
    if (timeless.load(std::memory_order_relaxed) == Timeless::UNKNOWN &&
        !isTimeless(MAX_TIMELESS_DEPTH)) {
        timeless.store(Timeless::NO, std::memory_order_relaxed);
    }
    return timeless.load(std::memory_order_relaxed) == Timeless::YES;
}

// Judged by the constant rows, so that the class need not be resolved. The depth ends the walk of
// classes that contain each other, so a "no" from below the top may not be remembered.
bool ObjectClass::isTimeless(unsigned depth) const {
    const Timeless known = timeless.load(std::memory_order_relaxed);
    if (known != Timeless::UNKNOWN || depth == 0 || desc->newObject == nullptr) {
        return known == Timeless::YES;
    }
    const ConfigDesc& schema = config->getDesc();
    const AttributeDesc* row = schema.attributes + desc->firstAttribute;
    for (const AttributeDesc* end = row + desc->attributeCount; row != end; ++row) {
        const AttributeDefinition& definition = schema.definitions[row->definition];
        const bool hasToBeGiven = (definition.flags & (FLAG_REQUIRED | FLAG_KEY)) != 0;
        if (hasToBeGiven || (row->defaultId != 0 && !DefaultFactory::isConstant(row->defaultId))) {
            return false;
        }
        if (definition.kind == KIND_VALUE &&
            (definition.type == TYPE_DATE_TIME || definition.type == TYPE_TIME)) {
            return false;
        }
        if (definition.kind == KIND_OBJECT) {
            const ObjectClass* childClass = config->getClassByUid(definition.type);
            if (childClass != nullptr && childClass->desc->newObject != nullptr &&
                !childClass->isTimeless(depth - 1)) {
                return false;
            }
        }
    }
    timeless.store(Timeless::YES, std::memory_order_relaxed);
    return true;
}

void ObjectClass::resolveOnce() const {
    const std::lock_guard lock(config->resolveMutex);
    if (!resolved.load(std::memory_order_relaxed)) {
        const_cast<ObjectClass*>(this)->resolve(config->arena);
        resolved.store(true, std::memory_order_release);
    }
}

void ObjectClass::resolve(Arena& arena) {
    const ConfigDesc& schema = config->getDesc();
    const AttributeDesc* rows = schema.attributes + desc->firstAttribute;
    Attribute* made = arena.makeRoom<Attribute>(desc->attributeCount);
    attributes.reserve(arena, desc->attributeCount);
    for (unsigned row = 0; row < desc->attributeCount; ++row) {
        attributes.addUidItem(new (&made[row]) Attribute(row, *this, schema, rows[row]));
    }
    firstAttribute = made;
    if (desc->attributeCount > MAX_ATTRIBUTES) {
        return;
    }
    listAttributes(arena);
    for (unsigned row = 0; row < desc->attributeCount; ++row) {
        made[row].resolve(*config, arena);
    }
}

void ObjectClass::listAttributes(Arena& arena) {
    unsigned keys = 0;
    unsigned plain = 0;
    unsigned counted = 0;
    for (unsigned row = 0; row < desc->attributeCount; ++row) {
        keys += firstAttribute[row].hasFlag(FLAG_KEY) ? 1 : 0;
        plain += firstAttribute[row].hasFlag(FLAG_ENCODABLE) ? 0 : 1;
        counted += firstAttribute[row].hasFlag(FLAG_COUNTED) ? 1 : 0;
    }
    keyAttributes = arena.makeRoom<const Attribute*>(keys);
    plainAttributes = arena.makeRoom<const Attribute*>(plain);
    countedCount = static_cast<std::uint16_t>(counted);
    for (unsigned row = 0; row < desc->attributeCount; ++row) {
        if (firstAttribute[row].hasFlag(FLAG_KEY)) {
            keyAttributes[keyCount++] = &firstAttribute[row];
        }
        if (!firstAttribute[row].hasFlag(FLAG_ENCODABLE)) {
            plainAttributes[plainCount++] = &firstAttribute[row];
        }
    }
}

// --- Config -------------------------------------------------------------------------------------

Config::Config(const ConfigDesc& schema) : desc(&schema) {
    classes.reserve(arena, schema.classCount);
    firstClass = arena.makeRoom<ObjectClass>(schema.classCount);
    for (unsigned row = 0; row < schema.classCount; ++row) {
        classes.addUidItem(new (&firstClass[row]) ObjectClass(row, *this, schema.classes[row]));
    }
}

// Bases are few and cheap, so they are linked at once; attributes wait until they are asked for.
void Config::resolve() {
    for (unsigned row = 0; row < desc->classCount; ++row) {
        firstClass[row].link(*this);
    }
}

void Config::init() {
    init(CONFIG_DESC);
}

void Config::init(const ConfigDesc& schema) {
    Menu::init(schema);
    theConfig = new Config(schema);
    theConfig->resolve();
}

void Config::destroy() {
    delete theConfig;
    theConfig = nullptr;
    Menu::destroy();
}

const ObjectClass* Config::getClassByUid(std::uint32_t uid) const {
    return static_cast<const ObjectClass*>(classes.findUidItem(uid));
}

const ObjectClass* Config::findClass(const char* name) const {
    return static_cast<const ObjectClass*>(classes.findByName(name));
}

} // namespace HConfig
