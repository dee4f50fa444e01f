// Reading and changing an object's values, children and sets. How slots come to be and go stands
// in object_init.cpp, and bringing trees in line with each other in object_update.cpp.

#include "config/object.h"

#include "common/error.h"
#include "common/thread/thread.h"
#include "config/listener_pause.h"
#include "config/menu.h"

#include <memory>

namespace HConfig {

namespace {
int failWith(unsigned code) {
    Thread::setLastError(code);
    return -1;
}

bool isFull(const Attribute& attribute, unsigned count) {
    return attribute.getMaxCount() != 0 && count >= attribute.getMaxCount();
}

// A value that is destroyed unless it is given away.
class OwnedValue {
public:
    explicit OwnedValue(const ValueHandler& valueHandler) : handler(valueHandler) {}
    ~OwnedValue() { handler.opDestroy(value); }
    OwnedValue(const OwnedValue&) = delete;
    OwnedValue& operator=(const OwnedValue&) = delete;

    Value value;

private:
    const ValueHandler& handler;
};
} // namespace

// --- Identity -----------------------------------------------------------------------------------

CastableId* Object::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* Object::doCastInternal(CastableId* classId) const {
    return classId == getCastableClassId() ? const_cast<Object*>(this) : nullptr;
}

CastableId* Object::getOwnCastableId() const {
    return getCastableClassId();
}

const ObjectClass* Object::getKeyDesc(std::vector<Value>& keyValues) const {
    const ObjectClass* objectClass = getObjectClass();
    for (unsigned i = 0; i < objectClass->getKeyCount(); ++i) {
        keyValues.push_back(slot(*objectClass->getKeyAttribute(i)));
    }
    return objectClass;
}

int Object::compareTo(const AKey* other) const {
    const Object* otherObject = other->castToObject();
    const ObjectClass* objectClass = getObjectClass();
    if (otherObject == nullptr || otherObject->getObjectClass() != objectClass) {
        return AKey::compareTo(other);
    }
    for (unsigned i = 0; i < objectClass->getKeyCount(); ++i) {
        const Attribute& key = *objectClass->getKeyAttribute(i);
        const int order = key.getHandler().opCompare(slot(key), otherObject->slot(key));
        if (order != 0) {
            return order;
        }
    }
    return 0;
}

const Object* Object::castToObject() const {
    return this;
}

void Object::setStorageID(unsigned) {
}

unsigned Object::getStorageID() const {
    return 0;
}

Object* Object::newObjectInstance() const {
    return getObjectClass()->newObject();
}

Object* Object::newChildObjectInstance(unsigned index) const {
    const ObjectClass* childClass = attributeAt(index).getObjectClass();
    return childClass != nullptr ? childClass->newObject() : nullptr;
}

Object* Object::encodingCast(unsigned uid) {
    return getObjectClass()->getItemUid() == uid ? this : nullptr;
}

bool Object::encodingMerge(Object*) {
    return true;
}

void Object::encodingDispose() {
}

bool Object::isObjectValid() const {
    const ObjectClass* objectClass = getObjectClass();
    for (unsigned i = 0; i < objectClass->getKeyCount(); ++i) {
        const Attribute& key = *objectClass->getKeyAttribute(i);
        if (!key.isValueCorrect(this, slot(key))) {
            return false;
        }
    }
    return true;
}

void Object::getAttributeConstraintParam(unsigned index, const char* name, char* buffer,
                                         unsigned size) const {
    const Constraint* constraint = attributeAt(index).getConstraint();
    if (constraint != nullptr) {
        constraint->getParamValue(name, buffer, size);
    }
}

ObjectCallback* Object::enabledCallback() const {
    ObjectCallback* callback = getCallback();
    return callback != nullptr && callback->isEnabled() ? callback : nullptr;
}

// --- Values -------------------------------------------------------------------------------------

int Object::getStringValue(unsigned index, char* buffer, int size) const {
    const Attribute& attribute = attributeAt(index);
    buffer[0] = '\0';
    return attribute.getHandler().opToString(slot(attribute), buffer, size, &attribute, false);
}

bool Object::checkValue(unsigned index) const {
    return attributeAt(index).isValueCorrect(this, values[index]);
}

int Object::setValue(unsigned index, Value value) {
    const Attribute& attribute = attributeAt(index);
    if (!attribute.isValueCorrect(this, value)) {
        return -1;
    }
    attribute.getHandler().opInit(slot(attribute), value);
    return 0;
}

int Object::fastSetValue(unsigned index, Value& value) {
    const Attribute& attribute = attributeAt(index);
    if (!attribute.isValueCorrect(this, value)) {
        return -1;
    }
    if (slot(attribute) != value) {
        attribute.getHandler().opDestroy(slot(attribute));
    }
    slot(attribute) = value;
    value = Value();
    return 0;
}

int Object::setStringValue(unsigned index, const char* text) {
    const Attribute& attribute = attributeAt(index);
    const ValueHandler& handler = attribute.getHandler();
    OwnedValue parsed(handler);
    if (handler.opToValue(text, parsed.value, &attribute) != 0 ||
        !attribute.isValueCorrect(this, parsed.value)) {
        return -1;
    }
    handler.opDestroy(slot(attribute));
    slot(attribute) = parsed.value;
    parsed.value = Value();
    return 0;
}

int Object::setStringValue(unsigned index, const char** names, int count) {
    const Attribute& attribute = attributeAt(index);
    const Menu* menu = Menu::getMenu(attribute.getDesc().constraintId);
    if (attribute.getKind() != KIND_VALUE || !attribute.isOfType(TYPE_CHOICE_SET) ||
        menu == nullptr) {
        return -1;
    }
    unsigned all = 0;
    for (int i = 0; i < count; ++i) {
        unsigned value = 0;
        if (!menu->nameToValue(names[i], value)) {
            return -1;
        }
        all |= value;
    }
    slot(attribute) = Value(all);
    return 0;
}

// --- Value sets ---------------------------------------------------------------------------------

ValueSet& Object::neededValueSet(const Attribute& attribute) {
    if (slot(attribute).isEmpty()) {
        slot(attribute) = Value(static_cast<const void*>(new ValueSet(*attribute.getValueType())));
    }
    return *valueSetAt(attribute);
}

unsigned Object::getValueCount(unsigned index) const {
    const ValueSet* set = values[index].as<ValueSet>();
    return set != nullptr ? set->getCount() : 0;
}

bool Object::hasValue(unsigned index, Value value) const {
    const ValueSet* set = values[index].as<ValueSet>();
    return set != nullptr && set->hasValue(value);
}

void Object::getValueIterator(unsigned index, ValueIterator& iterator) const {
    const ValueSet* set = values[index].as<ValueSet>();
    if (set != nullptr) {
        iterator = ValueIterator(*set);
    }
}

unsigned Object::listValues(unsigned index, ValueResult& result) const {
    const ValueSet* set = values[index].as<ValueSet>();
    if (set == nullptr) {
        return 0;
    }
    for (const Value& value : *set) {
        result.add(value, set->getValueType());
    }
    return set->getCount();
}

unsigned Object::listStringValues(unsigned index, StringResult& result) const {
    const ValueSet* set = values[index].as<ValueSet>();
    if (set == nullptr) {
        return 0;
    }
    for (const Value& value : *set) {
        result.add(value, attributeAt(index));
    }
    return set->getCount();
}

int Object::addValue(unsigned index, Value value) {
    const Attribute& attribute = attributeAt(index);
    ValueSet& set = neededValueSet(attribute);
    if (isFull(attribute, set.getCount()) || !attribute.isValueCorrect(this, value)) {
        return -1;
    }
    return set.addValue(value) ? 0 : failWith(HE_CFG_VALUE_EXISTS);
}

int Object::fastAddValue(unsigned index, Value& value) {
    const Attribute& attribute = attributeAt(index);
    ValueSet& set = neededValueSet(attribute);
    if (isFull(attribute, set.getCount())) {
        return failWith(HE_CFG_TOO_MANY_OBJECTS);
    }
    if (!attribute.isValueCorrect(this, value)) {
        return failWith(HE_CFG_INVALID_VALUE);
    }
    if (!set.takeValue(value)) {
        return failWith(HE_CFG_VALUE_EXISTS);
    }
    value = Value();
    return 0;
}

int Object::addStringValue(unsigned index, const char* text) {
    const Attribute& attribute = attributeAt(index);
    const ValueHandler& handler = attribute.getHandler();
    OwnedValue parsed(handler);
    if (handler.opToValue(text, parsed.value, &attribute) != 0) {
        return failWith(HE_CFG_INVALID_VALUE);
    }
    return fastAddValue(index, parsed.value);
}

int Object::removeValue(unsigned index, Value value) {
    ValueSet* set = values[index].as<ValueSet>();
    return set != nullptr && set->removeValue(value) ? 0 : failWith(HE_CFG_VALUE_NOT_FOUND);
}

int Object::removeStringValue(unsigned index, const char* text) {
    const Attribute& attribute = attributeAt(index);
    const ValueHandler& handler = attribute.getHandler();
    OwnedValue parsed(handler);
    if (handler.opToValue(text, parsed.value, &attribute) != 0) {
        return failWith(HE_CFG_VALUE_NOT_FOUND);
    }
    return removeValue(index, parsed.value);
}

void Object::removeAllValues(unsigned index) {
    ValueSet* set = values[index].as<ValueSet>();
    if (set != nullptr) {
        set->removeAllValues();
    }
}

int Object::updateValues(unsigned index, const ValueSet& newValues) {
    const Attribute& attribute = attributeAt(index);
    if (attribute.getMaxCount() != 0 && newValues.getCount() > attribute.getMaxCount()) {
        return -1;
    }
    for (const Value& value : newValues) {
        if (!attribute.isValueCorrect(this, value)) {
            return -1;
        }
    }
    neededValueSet(attribute).update(newValues);
    return 0;
}

// --- Children -----------------------------------------------------------------------------------

int Object::setChildObject(unsigned index, const Object* source, bool notify) {
    const Attribute& attribute = attributeAt(index);
    if (!attribute.isObjectCorrect(this, source)) {
        return -1;
    }
    if (attribute.hasFlag(FLAG_ON_DEMAND)) {
        doInitAttrOnDemand(attribute, nullptr, true);
    }
    Object* child = childAt(attribute);
    if (child == nullptr) {
        return failWith(HE_CFG_OBJECT_NOT_FOUND);
    }
    ObjectCallback* callback = enabledCallback();
    if (callback == nullptr || (!attribute.hasFlag(FLAG_OWN_LIFE) && !notify)) {
        child->doUpdate(source, nullptr, nullptr);
        return 0;
    }
    const std::unique_ptr<Object> backup(child->newClone(false));
    ObjectMarker marker(child->getObjectClass()->getAttributeCount());
    const ListenerPause pause(*callback);
    if (!child->doUpdate(source, nullptr, &marker)) {
        return 0;
    }
    const int result = callback->onChildObjectUpdate(index, child, marker, backup.get());
    if (result == -1) {
        child->doUpdate(backup.get(), nullptr, nullptr);
    }
    return result;
}

int Object::fastSetChildObject(unsigned index, Object* child) {
    const Attribute& attribute = attributeAt(index);
    if (!attribute.isObjectCorrect(this, child)) {
        return -1;
    }
    if (!slot(attribute).isMark() && childAt(attribute) != child) {
        delete childAt(attribute);
    }
    slot(attribute) = Value(static_cast<const void*>(child));
    return 0;
}

// --- Object sets --------------------------------------------------------------------------------

ObjectSet& Object::neededObjectSet(const Attribute& attribute) {
    if (slot(attribute).isEmpty()) {
        slot(attribute) =
            Value(static_cast<const void*>(new ObjectSet(attribute.getObjectClass())));
    }
    return *objectSetAt(attribute);
}

unsigned Object::getObjectCount(unsigned index) const {
    const ObjectSet* set = values[index].as<ObjectSet>();
    return set != nullptr ? set->getCount() : 0;
}

bool Object::hasObject(unsigned index, const AKey* key) const {
    return findObject(index, key) != nullptr;
}

Object* Object::findObject(unsigned index, const AKey* key) const {
    const ObjectSet* set = values[index].as<ObjectSet>();
    return set != nullptr ? set->findObject(key) : nullptr;
}

unsigned Object::findObjects(unsigned index, const AKey* key, ObjectResult& result) const {
    const ObjectSet* set = values[index].as<ObjectSet>();
    if (set == nullptr) {
        result.clear();
        return 0;
    }
    return set->findObjects(key, result);
}

void Object::getObjectIterator(unsigned index, ObjectIterator& iterator) const {
    const ObjectSet* set = values[index].as<ObjectSet>();
    if (set != nullptr) {
        iterator = ObjectIterator(*set);
    }
}

void Object::getRangeObjectIterator(unsigned index, const AKey* low, const AKey* high,
                                    ObjectIterator& iterator) const {
    const ObjectSet* set = values[index].as<ObjectSet>();
    if (set != nullptr) {
        set->getRangeObjectIterator(low, high, iterator);
    }
}

unsigned Object::listObjects(unsigned index, ObjectResult& result) const {
    const ObjectSet* set = values[index].as<ObjectSet>();
    if (set == nullptr) {
        return 0;
    }
    for (auto at = set->begin(); at != set->end(); ++at) {
        result.add(ObjectSet::member(at));
    }
    return set->getCount();
}

void Object::diffObjectSet(unsigned index, const Object* other, ObjectResult& onlyHere,
                           ObjectResult& onlyThere) const {
    const ObjectSet none(attributeAt(index).getObjectClass());
    const ObjectSet* here = values[index].as<ObjectSet>();
    const ObjectSet* there = other->values[index].as<ObjectSet>();
    (here != nullptr ? *here : none).diff(there != nullptr ? *there : none, onlyHere, onlyThere);
}

int Object::addObject(unsigned index, Object* object) {
    const Attribute& attribute = attributeAt(index);
    ObjectSet& set = neededObjectSet(attribute);
    if (isFull(attribute, set.getCount())) {
        return failWith(HE_CFG_TOO_MANY_OBJECTS);
    }
    if (!attribute.isObjectCorrect(this, object)) {
        return -1;
    }
    ObjectCallback* callback = getCallback();
    if (callback != nullptr && callback->isEnabled(index)) {
        return set.addObject(object, callback, index);
    }
    return set.addObject(object);
}

int Object::addObject(unsigned index, Object* object, unsigned storageId) {
    if (addObject(index, object) != 0) {
        return -1;
    }
    object->setStorageID(storageId);
    return 0;
}

int Object::updateObject(unsigned index, const AKey* key, const Object* source) {
    ObjectSet* set = values[index].as<ObjectSet>();
    if (set == nullptr || !attributeAt(index).isObjectCorrect(this, source)) {
        return -1;
    }
    ObjectCallback* callback = enabledCallback();
    if (callback == nullptr) {
        return set->updateObject(key, source);
    }
    const ListenerPause pause(*callback);
    return set->updateObject(key, source, this, index);
}

int Object::updateObject(unsigned index, const AKey* key, const Object* source, Object*& old) {
    ObjectSet* set = values[index].as<ObjectSet>();
    if (set == nullptr || !attributeAt(index).isObjectCorrect(this, source)) {
        return -1;
    }
    return set->updateObject(key, source, old);
}

int Object::removeObject(unsigned index, const AKey* key) {
    ObjectSet* set = values[index].as<ObjectSet>();
    if (set == nullptr) {
        return -1;
    }
    ObjectCallback* callback = enabledCallback();
    return callback != nullptr ? set->removeObject(key, callback, index) : set->removeObject(key);
}

void Object::removeAllObjects(unsigned index) {
    ObjectSet* set = values[index].as<ObjectSet>();
    if (set != nullptr) {
        set->removeAllObjects();
    }
}

} // namespace HConfig
