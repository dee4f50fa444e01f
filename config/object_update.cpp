// Copying and comparing object trees, and bringing one in line with another while its listener
// hears of exactly what changed.

#include "config/listener_pause.h"
#include "config/object.h"

#include <algorithm>
#include <memory>

namespace HConfig {

namespace {
const ValueSet* nullIfEmpty(const ValueSet* set) {
    return set != nullptr && set->getCount() != 0 ? set : nullptr;
}

bool areEqual(const ValueSet* a, const ValueSet* b) {
    a = nullIfEmpty(a);
    b = nullIfEmpty(b);
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    const auto compare = a->getValueType().getHandler().opCompare;
    return std::equal(a->begin(), a->end(), b->begin(), b->end(),
                      [compare](const Value& x, const Value& y) { return compare(x, y) == 0; });
}

bool areEqual(const ObjectSet* a, const ObjectSet* b) {
    const unsigned count = a != nullptr ? a->getCount() : 0;
    if (count != (b != nullptr ? b->getCount() : 0)) {
        return false;
    }
    if (count == 0) {
        return true;
    }
    for (auto here = a->begin(), there = b->begin(); here != a->end(); ++here, ++there) {
        if (!ObjectSet::member(here)->isEqual(ObjectSet::member(there), true)) {
            return false;
        }
    }
    return true;
}

unsigned attributeCountOf(const Object& object) {
    return object.getObjectClass()->getAttributeCount();
}

// The attributes that two objects share are those of the nearest class that both are or build on,
// since every class starts with the attributes of its base. Mostly that is one of the two classes;
// a set may hold members of one key and two kindred classes.
unsigned commonCountOf(const Object& a, const Object& b) {
    const ObjectClass* shared = a.getObjectClass();
    const ObjectClass* other = b.getObjectClass();
    while (shared != nullptr && shared != other && !other->isKindOfUid(shared->getItemUid())) {
        shared = shared->getBaseClass();
    }
    return shared != nullptr ? shared->getAttributeCount() : 0;
}

// Of a marker that may have been made for a base class, too.
bool isMarked(const ObjectMarker& marker, unsigned index) {
    return index < marker.getCount() && marker.isMarked(index);
}

class WriteLock {
public:
    explicit WriteLock(const Object& locked) : object(locked) { object.writeLock(-1); }
    ~WriteLock() { object.writeUnlock(); }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

private:
    const Object& object;
};
} // namespace

// --- Copies -------------------------------------------------------------------------------------

void Object::clone(Object*& target, bool deep) const {
    if (target == nullptr) {
        target = newObjectInstance();
    }
    cloneAttributes(*target, nullptr, deep);
}

void Object::clone(Object*& target, const ObjectMarker& marker, bool deep) const {
    if (target == nullptr) {
        target = newObjectInstance();
    }
    cloneAttributes(*target, &marker, deep);
}

Object* Object::newClone(bool deep) const {
    Object* target = nullptr;
    clone(target, deep);
    return target;
}

void Object::cloneAttributes(Object& target, const ObjectMarker* marker, bool deep) const {
    if (&target == this) {
        return; // or its sets would be emptied first
    }
    const unsigned count = commonCountOf(*this, target);
    for (unsigned index = 0; index < count; ++index) {
        const Attribute& attribute = attributeAt(index);
        if ((marker != nullptr && !isMarked(*marker, index)) ||
            (!deep && attribute.hasFlag(FLAG_OWN_LIFE))) {
            continue;
        }
        if (attribute.hasFlag(FLAG_ON_DEMAND) && awake(index).isEmpty()) {
            target.doInitAttrOnDemand(attribute, nullptr, false);
        }
        doCloneAttr(attribute, target);
    }
}

void Object::doCloneAttr(const Attribute& attribute, Object& target) const {
    const Value& from = awake(attribute.getIndex()); // other readers may be waking the child too
    Value& to = target.slot(attribute);
    switch (attribute.getKind()) {
    case KIND_VALUE:
        attribute.getHandler().opInit(to, from);
        break;
    case KIND_OBJECT:
        if (!from.isEmpty()) {
            Object* child = target.childAt(attribute);
            childAt(attribute)->clone(child, true);
            to = Value(static_cast<const void*>(child));
        } else if (!to.isEmpty()) {
            target.childAt(attribute)->setToDefault(true);
        }
        break;
    case KIND_VALUE_SET:
        if (!from.isEmpty()) {
            ValueSet* set = to.as<ValueSet>();
            valueSetAt(attribute)->clone(set);
            to = Value(static_cast<const void*>(set));
        } else {
            target.removeAllValues(attribute.getIndex());
        }
        break;
    case KIND_OBJECT_SET:
        if (!from.isEmpty()) {
            ObjectSet* set = to.as<ObjectSet>();
            objectSetAt(attribute)->clone(set);
            to = Value(static_cast<const void*>(set));
        } else {
            target.removeAllObjects(attribute.getIndex());
        }
        break;
    }
}

// --- Comparing ----------------------------------------------------------------------------------

bool Object::isEqual(const Object* other, bool deep) {
    const ObjectClass* objectClass = getObjectClass();
    if (other->getObjectClass() != objectClass) {
        return false;
    }
    for (unsigned index = 0; index < objectClass->getAttributeCount(); ++index) {
        const Attribute& attribute = attributeAt(index);
        if (!attribute.hasFlag(FLAG_INTERNAL) && !isAttrEqual(attribute, *other, deep)) {
            return false;
        }
    }
    return true;
}

bool Object::isEqual(const Object* other, const ObjectMarker& marker) {
    const ObjectClass* objectClass = getObjectClass();
    if (other->getObjectClass() != objectClass) {
        return false;
    }
    for (unsigned index = 0; index < objectClass->getAttributeCount(); ++index) {
        if (isMarked(marker, index) && !isAttrEqual(attributeAt(index), *other, true)) {
            return false;
        }
    }
    return true;
}

bool Object::isAttrEqual(const Attribute& attribute, const Object& other, bool deep) {
    if (attribute.hasFlag(FLAG_ON_DEMAND)) {
        doInitAttrOnDemand(attribute, nullptr, false);
    }
    switch (attribute.getKind()) {
    case KIND_VALUE:
        return attribute.getHandler().opCompare(slot(attribute), other.slot(attribute)) == 0;
    case KIND_OBJECT:
        return !deep || other.childAt(attribute) == nullptr ||
               (childAt(attribute) != nullptr &&
                childAt(attribute)->isEqual(other.childAt(attribute), true));
    case KIND_VALUE_SET:
        return areEqual(valueSetAt(attribute), other.valueSetAt(attribute));
    case KIND_OBJECT_SET:
        return !deep || areEqual(objectSetAt(attribute), other.objectSetAt(attribute));
    }
    return true;
}

// --- Updates ------------------------------------------------------------------------------------

Object& Object::neededChild(const Attribute& attribute) {
    if (slot(attribute).isEmpty()) {
        doInitAttr(attribute);
    }
    return *childAt(attribute);
}

// Brings one attribute in line; whether that changed it. With `emptySets` a source without an
// object set empties the own one, otherwise it leaves it alone.
bool Object::updateAttr(const Attribute& attribute, const Object& source, bool emptySets) {
    if (attribute.hasFlag(FLAG_ON_DEMAND)) {
        doInitAttrOnDemand(attribute, nullptr, false);
    }
    const unsigned index = attribute.getIndex();
    switch (attribute.getKind()) {
    case KIND_VALUE: {
        const ValueHandler& handler = attribute.getHandler();
        if (handler.opCompare(slot(attribute), source.slot(attribute)) == 0) {
            return false;
        }
        handler.opInit(slot(attribute), source.slot(attribute));
        return true;
    }
    case KIND_OBJECT:
        return source.childAt(attribute) != nullptr &&
               neededChild(attribute).doUpdate(source.childAt(attribute), nullptr, nullptr);
    case KIND_VALUE_SET:
        if (source.valueSetAt(attribute) != nullptr) {
            return neededValueSet(attribute).update(*source.valueSetAt(attribute));
        }
        if (getValueCount(index) == 0) {
            return false;
        }
        removeAllValues(index);
        return true;
    case KIND_OBJECT_SET:
        if (source.objectSetAt(attribute) != nullptr) {
            return neededObjectSet(attribute).update(source.objectSetAt(attribute));
        }
        if (!emptySets || getObjectCount(index) == 0) {
            return false;
        }
        removeAllObjects(index);
        return true;
    }
    return false;
}

bool Object::doUpdate(const Object* source, ObjectCallback* callback, ObjectMarker* outMarker) {
    const unsigned count = commonCountOf(*this, *source);
    ObjectMarker marker(attributeCountOf(*this));
    const std::unique_ptr<Object> oldState(callback != nullptr ? newClone(false) : nullptr);
    for (unsigned index = 0; index < count; ++index) {
        const Attribute& attribute = attributeAt(index);
        if (!attribute.hasFlag(FLAG_OWN_LIFE) && updateAttr(attribute, *source, false)) {
            marker.mark(index);
        }
    }
    if (callback != nullptr && marker.isAnyMarked()) {
        callback->onObjectUpdate(marker, oldState.get());
    }
    if (outMarker != nullptr) {
        outMarker->copyMarks(marker);
    }
    return marker.isAnyMarked();
}

// A listener hears of its own object first and of the parts with a life of their own after that.
bool Object::doRecursiveUpdate(const Object* source, ObjectCallback* callback,
                               AttributeList& deferred) {
    const unsigned count = commonCountOf(*this, *source);
    ObjectMarker marker(attributeCountOf(*this));
    std::unique_ptr<Object> oldState(newClone(false));
    AttributeList children;
    AttributeList sets;
    for (unsigned index = 0; index < count; ++index) {
        const Attribute& attribute = attributeAt(index);
        const bool hasOwnLife = attribute.hasFlag(FLAG_OWN_LIFE);
        if (hasOwnLife && attribute.hasFlag(FLAG_ON_DEMAND)) {
            doInitAttrOnDemand(attribute, nullptr, false);
        }
        if (hasOwnLife && attribute.getKind() == KIND_OBJECT) {
            const Object* child = childAt(attribute);
            (child != nullptr && child->getCallback() != nullptr ? deferred : children)
                .push_back(&attribute);
        } else if (hasOwnLife && attribute.getKind() == KIND_OBJECT_SET) {
            sets.push_back(&attribute);
        } else if (updateAttr(attribute, *source, true)) {
            marker.mark(index);
        }
    }
    if (marker.isAnyMarked()) {
        callback->onObjectUpdate(marker, oldState.get());
    }
    oldState.reset();
    for (const Attribute* attribute : children) {
        if (source->childAt(*attribute) == nullptr) {
            continue;
        }
        Object& child = neededChild(*attribute);
        ObjectMarker childMarker(attributeCountOf(child));
        const std::unique_ptr<Object> childOld(child.newClone(false));
        if (child.doUpdate(source->childAt(*attribute), nullptr, &childMarker)) {
            callback->onChildObjectUpdate(attribute->getIndex(), &child, childMarker,
                                          childOld.get());
        }
    }
    for (const Attribute* attribute : sets) {
        if (source->objectSetAt(*attribute) != nullptr) {
            neededObjectSet(*attribute)
                .update(source->objectSetAt(*attribute), this, attribute->getIndex());
        }
    }
    return marker.isAnyMarked();
}

bool Object::update(const Object* source, bool recursive) {
    AttributeList deferred;
    bool changed = false;
    ObjectCallback* callback = getCallback();
    {
        const WriteLock lock(*this);
        if (callback != nullptr && callback->isEnabled()) {
            const ListenerPause pause(*callback);
            changed = recursive ? doRecursiveUpdate(source, callback, deferred)
                                : doUpdate(source, callback, nullptr);
        } else {
            changed = doUpdate(source, nullptr, nullptr);
        }
    }
    for (const Attribute* attribute : deferred) {
        if (source->childAt(*attribute) != nullptr) {
            childAt(*attribute)->update(source->childAt(*attribute), true);
        }
    }
    return changed;
}

// Tells the listener of the object as changed in all its attributes, as an update would, and in the
// same order.
void Object::announce(ObjectCallback* callback, bool recursive, AttributeList& deferred) {
    const ObjectClass* objectClass = getObjectClass();
    ObjectMarker marker(objectClass->getAttributeCount());
    AttributeList children;
    AttributeList sets;
    for (unsigned index = 0; index < objectClass->getAttributeCount(); ++index) {
        const Attribute& attribute = attributeAt(index);
        const bool hasOwnLife = attribute.hasFlag(FLAG_OWN_LIFE);
        if (hasOwnLife && !recursive) {
            continue;
        }
        if (attribute.hasFlag(FLAG_ON_DEMAND)) {
            doInitAttrOnDemand(attribute, nullptr, false);
        }
        if (hasOwnLife && attribute.getKind() == KIND_OBJECT) {
            if (const Object* child = childAt(attribute); child != nullptr) {
                (child->getCallback() != nullptr ? deferred : children).push_back(&attribute);
            }
        } else if (hasOwnLife && attribute.getKind() == KIND_OBJECT_SET) {
            sets.push_back(&attribute);
        } else {
            marker.mark(index);
        }
    }
    if (marker.isAnyMarked()) {
        callback->onObjectUpdate(marker, nullptr);
    }
    for (const Attribute* attribute : children) {
        Object* child = childAt(*attribute);
        ObjectMarker all(attributeCountOf(*child));
        all.markAll();
        callback->onChildObjectUpdate(attribute->getIndex(), child, all, nullptr);
    }
    for (const Attribute* attribute : sets) {
        if (ObjectSet* set = objectSetAt(*attribute); set != nullptr) {
            set->update(this, attribute->getIndex());
        }
    }
}

void Object::update(bool recursive) {
    AttributeList deferred;
    ObjectCallback* callback = getCallback();
    {
        const WriteLock lock(*this);
        if (callback != nullptr && callback->isEnabled()) {
            const ListenerPause pause(*callback);
            announce(callback, recursive, deferred);
        }
    }
    for (const Attribute* attribute : deferred) {
        childAt(*attribute)->update(true);
    }
}

// --- Updates that a listener can veto -----------------------------------------------------------

int Object::persistentUpdate(const Object* source, bool deep) {
    return persistentUpdateAs(source, nullptr, deep);
}

int Object::persistentUpdate(const Object* source, const ObjectMarker& marker, bool deep) {
    return persistentUpdateAs(source, &marker, deep);
}

int Object::persistentUpdateAs(const Object* source, const ObjectMarker* marker, bool deep) {
    ObjectCallback* callback = getCallback();
    if (callback == nullptr) {
        return -1;
    }
    if (!callback->isEnabled()) {
        doPersistentUpdate(source, marker, nullptr, nullptr, deep);
        return 0;
    }
    const std::unique_ptr<Object> oldState(newClone(deep));
    const ListenerPause pause(*callback);
    const int result = doPersistentUpdate(source, marker, callback, oldState.get(), deep);
    if (result == -1) {
        callback->onObjectRollback(oldState.get());
    }
    return result;
}

int Object::doPersistentUpdate(const Object* source, const ObjectMarker* marker,
                               ObjectCallback* callback, Object* oldState, bool deep) {
    const unsigned count = commonCountOf(*this, *source);
    ObjectMarker ownMarker(attributeCountOf(*this));
    AttributeList children;
    AttributeList sets;
    for (unsigned index = 0; index < count; ++index) {
        const Attribute& attribute = attributeAt(index);
        if (marker != nullptr && !isMarked(*marker, index)) {
            continue;
        }
        if (attribute.hasFlag(FLAG_ON_DEMAND)) {
            doInitAttrOnDemand(attribute, nullptr, false);
        }
        if (attribute.hasFlag(FLAG_OWN_LIFE) && attribute.getKind() != KIND_VALUE) {
            if (!deep) {
                continue;
            }
            if (attribute.getKind() == KIND_OBJECT) {
                children.push_back(&attribute);
                continue;
            }
            if (attribute.getKind() == KIND_OBJECT_SET) {
                sets.push_back(&attribute);
                continue;
            }
        }
        if (updateAttr(attribute, *source, true)) {
            ownMarker.mark(index);
        }
    }
    if (callback != nullptr && ownMarker.isAnyMarked() &&
        callback->onObjectUpdate(ownMarker, oldState) == -1) {
        return -1;
    }
    for (const Attribute* attribute : children) {
        if (source->childAt(*attribute) != nullptr &&
            persistentlyUpdateChild(*attribute, *source, callback, ownMarker) == -1) {
            return -1;
        }
    }
    for (const Attribute* attribute : sets) {
        bool changed = false;
        if (source->objectSetAt(*attribute) != nullptr &&
            neededObjectSet(*attribute)
                    .persistentUpdate(source->objectSetAt(*attribute), this, attribute->getIndex(),
                                      callback != nullptr, changed) == -1) {
            return -1;
        }
        if (changed) {
            ownMarker.mark(attribute->getIndex());
        }
    }
    return callback != nullptr && ownMarker.isAnyMarked()
               ? callback->onObjectUpdateEnd(ownMarker, oldState)
               : 0;
}

int Object::persistentlyUpdateChild(const Attribute& attribute, const Object& source,
                                    ObjectCallback* callback, ObjectMarker& ownMarker) {
    Object& child = neededChild(attribute);
    ObjectMarker childMarker(attributeCountOf(child));
    const std::unique_ptr<Object> childOld(child.newClone(false));
    if (!child.doUpdate(source.childAt(attribute), nullptr, &childMarker)) {
        return 0;
    }
    ownMarker.mark(attribute.getIndex());
    return callback != nullptr ? callback->onChildObjectUpdate(attribute.getIndex(), &child,
                                                               childMarker, childOld.get())
                               : 0;
}

} // namespace HConfig
