// How an object's slots come to be, get their defaults, and go.

#include "config/default.h"
#include "config/object.h"

#include <memory>
#include <mutex>

namespace HConfig {

namespace {
constinit std::mutex wakeMutex; // guards the change of a slot from a mark to its child

std::uint32_t skipMask(bool full) {
    return full ? FLAG_ON_DEMAND : FLAG_ON_DEMAND | FLAG_OWN_LIFE;
}
} // namespace

Value* Object::allocateSlots() {
    if (values == nullptr) {
        values = new Value[getObjectClass()->getAttributeCount()];
    }
    return values;
}

// --- Filling empty slots ------------------------------------------------------------------------

void Object::doInit(bool toDefault, bool full) {
    const ObjectClass* objectClass = getObjectClass();
    const std::uint32_t skipped = skipMask(full);
    Value* at = allocateSlots();
    for (const Attribute* attribute = objectClass->attributesBegin();
         attribute != objectClass->attributesEnd(); ++attribute, ++at) {
        if (attribute->hasFlag(skipped) || !at->isEmpty()) {
            continue;
        }
        if (toDefault) {
            doInitAttrToDefault(*attribute, full, false);
        } else {
            doInitAttr(*attribute);
        }
    }
}

void Object::doInit(const Object* source, bool full) {
    const ObjectClass* objectClass = getObjectClass();
    const std::uint32_t skipped = skipMask(full);
    allocateSlots();
    for (const Attribute* attribute = objectClass->attributesBegin();
         attribute != objectClass->attributesEnd(); ++attribute) {
        if (!attribute->hasFlag(skipped) && slot(*attribute).isEmpty()) {
            doInitAttr(*attribute, source->getValue(attribute->getIndex()));
        }
    }
}

void Object::doInitAttr(const Attribute& attribute) {
    switch (attribute.getKind()) {
    case KIND_VALUE:
        attribute.getHandler().opInit(slot(attribute), Value());
        break;
    case KIND_OBJECT:
        initChild(attribute);
        break;
    case KIND_VALUE_SET:
        neededValueSet(attribute);
        break;
    case KIND_OBJECT_SET:
        neededObjectSet(attribute);
        break;
    }
}

void Object::initChild(const Attribute& attribute) {
    const ObjectClass* childClass = attribute.getObjectClass();
    if (childClass != nullptr && childClass->isTimeless()) {
        slot(attribute) = ASLEEP_FRESH;
    } else {
        slot(attribute) =
            Value(static_cast<const void*>(newChildObjectInstance(attribute.getIndex())));
    }
}

// Makes a child that is asleep. Readers may do so at once: one of their children stays. A slot is
// written once, since those who have seen its child read it without care; the child itself is made
// outside of the lock because making it may wake others.
void Object::wake(unsigned index) const {
    const std::atomic_ref<Value> place(values[index]);
    const Value asleep = place.load(std::memory_order_acquire);
    if (!asleep.isMark()) {
        return;
    }
    std::unique_ptr<Object> child(newChildObjectInstance(index));
    if (child != nullptr && asleep == ASLEEP_WITH_DEFAULTS) {
        child->doSetToDefault(true, true);
    }
    const std::lock_guard lock(wakeMutex);
    if (place.load(std::memory_order_relaxed).isMark()) {
        place.store(Value(static_cast<const void*>(child.release())), std::memory_order_release);
    }
}

void Object::doInitAttr(const Attribute& attribute, const Value& source) {
    if (attribute.getKind() == KIND_VALUE) {
        attribute.getHandler().opInit(slot(attribute), source);
        return;
    }
    doInitAttr(attribute);
    if (source.isEmpty()) {
        return;
    }
    if (attribute.getKind() == KIND_OBJECT) {
        Object* child = childAt(attribute);
        source.as<const Object>()->clone(child, true);
        slot(attribute) = Value(static_cast<const void*>(child));
    } else if (attribute.getKind() == KIND_VALUE_SET) {
        ValueSet* set = valueSetAt(attribute);
        source.as<const ValueSet>()->clone(set);
    } else {
        ObjectSet* set = objectSetAt(attribute);
        source.as<const ObjectSet>()->clone(set);
    }
}

void Object::doInitAttrOnDemand(const Attribute& attribute, Object* child, bool withDefault) {
    if (!slot(attribute).isEmpty()) {
        return;
    }
    if (attribute.getKind() == KIND_VALUE && withDefault && attribute.getDefault() != nullptr) {
        applyDefault(attribute);
        return;
    }
    if (attribute.getKind() == KIND_OBJECT && child != nullptr) {
        slot(attribute) = Value(static_cast<const void*>(child));
    } else {
        doInitAttr(attribute);
    }
    if (!withDefault || applyDefault(attribute)) {
        return;
    }
    if (attribute.getKind() == KIND_OBJECT && childAt(attribute) != nullptr) {
        childAt(attribute)->setToDefault(true);
    }
}

// --- Defaults -----------------------------------------------------------------------------------

// False where the attribute has no default.
bool Object::applyDefault(const Attribute& attribute) {
    if (attribute.getDefault() == nullptr) {
        return false;
    }
    attribute.getDefault()->setToDefault(&attribute, this);
    return true;
}

bool Object::doInitAttrToDefault(const Attribute& attribute, bool full, bool mode) {
    if (attribute.getKind() == KIND_VALUE) {
        if (!applyDefault(attribute)) {
            doInitAttr(attribute);
        }
        return true;
    }
    doInitAttr(attribute);
    if (applyDefault(attribute) || attribute.getKind() != KIND_OBJECT) {
        return true;
    }
    return setChildToDefault(attribute, full, mode);
}

bool Object::setChildToDefault(const Attribute& attribute, bool full, bool mode) {
    if (slot(attribute).isMark() && full && mode) {
        slot(attribute) = ASLEEP_WITH_DEFAULTS;
        return true;
    }
    Object* child = childAt(attribute);
    return child == nullptr || child->doSetToDefault(full, mode);
}

bool Object::doSetAttrToDefault(const Attribute& attribute, bool full, bool mode) {
    Value& value = slot(attribute);
    if (value.isEmpty() && attribute.getKind() != KIND_VALUE) {
        return doInitAttrToDefault(attribute, full, mode);
    }
    switch (attribute.getKind()) {
    case KIND_VALUE:
        if (!applyDefault(attribute) && !attribute.getHandler().opTest(value)) {
            attribute.getHandler().opInit(value, Value());
        }
        return true;
    case KIND_OBJECT:
        return applyDefault(attribute) || setChildToDefault(attribute, full, mode);
    case KIND_VALUE_SET:
        valueSetAt(attribute)->removeAllValues();
        break;
    case KIND_OBJECT_SET:
        objectSetAt(attribute)->removeAllObjects();
        break;
    }
    applyDefault(attribute);
    return true;
}

// Whether an attribute that has to be given is: a value that its constraint takes, or anything in
// the slot of another kind.
bool Object::isGiven(const Attribute& attribute) const {
    return attribute.getKind() == KIND_VALUE ? attribute.isValueCorrect(this, slot(attribute))
                                             : !slot(attribute).isEmpty();
}

bool Object::doSetToDefault(bool first, bool second) {
    const ObjectClass* objectClass = getObjectClass();
    const std::uint32_t skipped = first == second ? 0U : FLAG_OWN_LIFE;
    const std::uint32_t given = FLAG_REQUIRED | (second ? FLAG_KEY : 0U);
    bool isWell = true;
    for (const Attribute* attribute = objectClass->attributesBegin();
         attribute != objectClass->attributesEnd(); ++attribute) {
        if (attribute->hasFlag(skipped)) {
            continue;
        }
        const bool done = attribute->hasFlag(given) ? isGiven(*attribute)
                                                    : doSetAttrToDefault(*attribute, first, true);
        if (!done) {
            if (second) {
                return false;
            }
            isWell = false;
        }
    }
    return isWell;
}

int Object::setAllToDefault() {
    return doSetToDefault(true, true) ? 0 : -1;
}

int Object::setToDefault(bool first) {
    return doSetToDefault(first, false) ? 0 : -1;
}

int Object::setToDefault(const ObjectMarker& marker) {
    const ObjectClass* objectClass = getObjectClass();
    for (const Attribute* attribute = objectClass->attributesBegin();
         attribute != objectClass->attributesEnd(); ++attribute) {
        if (marker.isMarked(attribute->getIndex())) {
            continue;
        }
        if (attribute->hasFlag(FLAG_REQUIRED) || !doSetAttrToDefault(*attribute, true, true)) {
            return -1;
        }
    }
    return 0;
}

// --- The end ------------------------------------------------------------------------------------

Object::~Object() {
    // Classes that can be created have emptied the slots while they still knew what is in them.
    delete[] values;
}

void Object::doDestroy() {
    if (values == nullptr) {
        return;
    }
    const ObjectClass* objectClass = getObjectClass();
    for (const Attribute* attribute = objectClass->attributesBegin();
         attribute != objectClass->attributesEnd(); ++attribute) {
        if (!slot(*attribute).isEmpty()) {
            doDestroyAttr(*attribute);
        }
    }
    delete[] values;
    values = nullptr;
}

void Object::doDestroyAttr(const Attribute& attribute) {
    switch (attribute.getKind()) {
    case KIND_VALUE:
        attribute.getHandler().opDestroy(slot(attribute));
        break;
    case KIND_OBJECT:
        if (!slot(attribute).isMark()) {
            delete childAt(attribute);
        }
        break;
    case KIND_VALUE_SET:
        delete valueSetAt(attribute);
        break;
    case KIND_OBJECT_SET:
        delete objectSetAt(attribute);
        break;
    }
    slot(attribute) = Value();
}

void Object::doDestroyAttrOnDemand(const Attribute& attribute) {
    slot(attribute) = Value();
}

} // namespace HConfig
