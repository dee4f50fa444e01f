// Object: the one implementation of all configuration objects. An object is an array of value
// slots, one per attribute of its class, and every operation works through the class and the
// value handlers. Readers address attributes by index; what an index means is the class's.
//
// Ownership: an object owns what its slots point to: values, children, sets and their members.
// It must not outlive Config::destroy.
//
// Failure: operations give 0 or -1, or a bool; -1 with one of the HE_CFG codes where told. A
// constraint that refuses in setValue or setStringValue sets no error. What fails changes nothing,
// unless told.
//
// A child whose class is timeless (see ObjectClass) is made when somebody first looks at it; until
// then its slot holds a mark that tells which state it would be in. No operation lets a mark out,
// and readers may look from several threads at once.
//
// Threads: an object carries the read-write lock of ASyncObject, but only `update` takes it. The
// callers that share an object hold its lock.

#ifndef MORVEX_CONFIG_OBJECT_H
#define MORVEX_CONFIG_OBJECT_H

#include "common/castable.h"
#include "common/thread/async_object.h"
#include "config/callback.h"
#include "config/config.h"
#include "config/object_marker.h"
#include "config/object_set.h"
#include "config/query_result.h"
#include "config/value.h"
#include "config/value_set.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace HConfig {

class Object : public AKey, public ACallable, public virtual ACastable, public virtual ASyncObject {
public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* classId) const override;
    CastableId* getOwnCastableId() const override;

    // An object is its own key. Two objects of one class compare without copying their keys.
    const ObjectClass* getKeyDesc(std::vector<Value>& keyValues) const override;
    int compareTo(const AKey* other) const override;
    const Object* castToObject() const override;

    virtual const ObjectClass* getObjectClass() const = 0;

    // Values. Requires for all: an index of the class; of a VALUE for the first five, of a
    // VALUE-SET for the others. `value` is in the form of the attribute's type.

    // Copies a value in. -1 when the constraint refuses.
    virtual int setValue(unsigned index, Value value);
    // Takes a value over without a copy and empties `value`; on -1 it stays the caller's.
    virtual int fastSetValue(unsigned index, Value& value);
    // Parses a text. -1 when it does not parse or the constraint refuses.
    virtual int setStringValue(unsigned index, const char* text);
    // For multiple choices: the OR of `count` choice names, stored unchecked. -1 for another type
    // or an unknown name.
    virtual int setStringValue(unsigned index, const char** names, int count);

    // Copies a value into the set, which is created if missing. -1 when maxCount is reached or
    // the constraint refuses; -1 with HE_CFG_VALUE_EXISTS for a duplicate.
    virtual int addValue(unsigned index, Value value);
    // The same for a value that is taken over; on -1 it stays the caller's. Sets
    // HE_CFG_TOO_MANY_OBJECTS, HE_CFG_INVALID_VALUE or HE_CFG_VALUE_EXISTS.
    virtual int fastAddValue(unsigned index, Value& value);
    // The same for a text; one that does not parse is an invalid value.
    virtual int addStringValue(unsigned index, const char* text);
    // -1 with HE_CFG_VALUE_NOT_FOUND.
    virtual int removeValue(unsigned index, Value value);
    virtual int removeStringValue(unsigned index, const char* text);

    // Objects. Requires for all: an index of an OBJECT-SET, unless told.

    // Takes over an object as a member of the set, which is created if missing. -1 with
    // HE_CFG_TOO_MANY_OBJECTS when maxCount is reached, HE_CFG_INVALID_OBJECT when the constraint
    // refuses, HE_CFG_OBJECT_EXISTS for an equal key; -1 when the listener vetoes. On -1 the
    // object stays the caller's.
    virtual int addObject(unsigned index, Object* object);
    // The same, and on success the object is given a storage id.
    virtual int addObject(unsigned index, Object* object, unsigned storageId);

    // For a storage layer; nothing, and 0, here.
    virtual void setStorageID(unsigned storageId);
    virtual unsigned getStorageID() const;

    // Brings the member of that key in line with `source`: see ObjectSet::updateObject. -1
    // without a set, or when the constraint refuses. The second form gives the caller a clone of
    // the former state in `old`.
    virtual int updateObject(unsigned index, const AKey* key, const Object* source);
    virtual int updateObject(unsigned index, const AKey* key, const Object* source, Object*& old);

    // Ends an object that was read from text: gives every attribute without a mark its default.
    // -1 at the first such attribute that is REQUIRED, or whose child cannot be completed; what
    // comes before it is set and what comes after is not.
    virtual int setToDefault(const ObjectMarker& marker);
    // doSetToDefault(first, false), as 0 or -1.
    virtual int setToDefault(bool first);

    // Copies into `target`, creating it if null, up to the attributes of the smaller class; a
    // shallow clone leaves out attributes with a life of their own. The second form copies marked
    // attributes only.
    virtual void clone(Object*& target, bool deep) const;
    virtual void clone(Object*& target, const ObjectMarker& marker, bool deep) const;

    // Brings this object in line with `source`, attribute by attribute, under its write lock, and
    // tells its listener of exactly what changed. With `recursive`, and a listener that is on, also
    // the parts with a life of their own, after the object itself; children with listeners last,
    // outside the lock. Parts of parts stay as they are, but for those of such children. True when
    // the object itself changed.
    //
    // Of objects of different classes, here and in all that brings an object in line with a source,
    // the attributes of their nearest common class count.
    virtual bool update(const Object* source, bool recursive);
    // Announces the object to its listener as changed in all its attributes, in the same order.
    virtual void update(bool recursive);

    // The same with vetoes. 0, or -1: without a listener, or when it vetoed; it is then told to
    // roll back to the former state, and the tree stays as it stands. The second form deals with
    // marked attributes only.
    virtual int persistentUpdate(const Object* source, bool deep);
    virtual int persistentUpdate(const Object* source, const ObjectMarker& marker, bool deep);

    ~Object() override;

    // A new object of this class, or of an attribute's child class, owned by the caller. Null for
    // an abstract class, and for an attribute that holds no objects.
    virtual Object* newObjectInstance() const;
    virtual Object* newChildObjectInstance(unsigned index) const;

    // For a storage layer: this object when `uid` is its class's uid, else null; true; nothing.
    virtual Object* encodingCast(unsigned uid);
    virtual bool encodingMerge(Object* other);
    virtual void encodingDispose();

    // The slot as it stands. Requires: doInit, and an index of the class.
    const Value& getValue(unsigned index) const { return awake(index); }
    // The text form of a VALUE without escapes; the handler's result. On -1 the buffer may hold an
    // empty text. Requires: a `size` above 0.
    int getStringValue(unsigned index, char* buffer, int size) const;
    // Whether the slot's value passes its constraint.
    bool checkValue(unsigned index) const;

    // A missing set counts as an empty one; getValueIterator leaves the iterator alone then.
    unsigned getValueCount(unsigned index) const;
    bool hasValue(unsigned index, Value value) const;
    void getValueIterator(unsigned index, ValueIterator& iterator) const;
    // Adds the set's values to the result; their number.
    unsigned listValues(unsigned index, ValueResult& result) const;
    unsigned listStringValues(unsigned index, StringResult& result) const;
    void removeAllValues(unsigned index);
    // The set becomes equal to `newValues`. -1, with the set untouched, when they are more than
    // maxCount or one is refused.
    int updateValues(unsigned index, const ValueSet& newValues);

    // The child as it stands: null for one not yet created. Requires: an OBJECT.
    Object* getChildObject(unsigned index) const { return awake(index).as<Object>(); }
    // Brings the child in line with `source`, creating it first if it is made on demand. With
    // `notify`, or for a child with a life of its own, an enabled listener is told of a change and
    // may veto it, which rolls the child back: -1. -1 also when the constraint refuses.
    int setChildObject(unsigned index, const Object* source, bool notify);
    // Takes over a child in place of the present one, which is destroyed. -1 when the constraint
    // refuses.
    int fastSetChildObject(unsigned index, Object* child);

    // A missing set counts as an empty one; the iterators are left alone then.
    unsigned getObjectCount(unsigned index) const;
    bool hasObject(unsigned index, const AKey* key) const;
    Object* findObject(unsigned index, const AKey* key) const;
    // All members equal to the key, into an emptied result; their number.
    unsigned findObjects(unsigned index, const AKey* key, ObjectResult& result) const;
    void getObjectIterator(unsigned index, ObjectIterator& iterator) const;
    void getRangeObjectIterator(unsigned index, const AKey* low, const AKey* high,
                                ObjectIterator& iterator) const;
    // Adds the set's members to the result; their number.
    unsigned listObjects(unsigned index, ObjectResult& result) const;
    // The members of this object's set that the other's lacks, and the other way round, into
    // emptied results.
    void diffObjectSet(unsigned index, const Object* other, ObjectResult& onlyHere,
                       ObjectResult& onlyThere) const;
    // Destroys the member of that key, through an enabled listener, which may veto. -1 without a
    // set, on a veto, and with HE_CFG_OBJECT_NOT_FOUND.
    int removeObject(unsigned index, const AKey* key);
    void removeAllObjects(unsigned index);

    // Whether all KEY attributes pass their constraints.
    bool isObjectValid() const;
    // The constraint's getParamValue; nothing without a constraint.
    void getAttributeConstraintParam(unsigned index, const char* name, char* buffer,
                                     unsigned size) const;

    // Whether both are of one class and equal in their attributes that are not INTERNAL; children
    // and object sets count with `deep` only. Slots made on demand may be created here. The second
    // form compares the marked attributes, children and object sets included.
    bool isEqual(const Object* other, bool deep);
    bool isEqual(const Object* other, const ObjectMarker& marker);

    // Makes the slots and fills the empty ones, all but those made on demand and, without `full`,
    // those with a life of their own: with their empty forms, or with their defaults.
    void doInit(bool toDefault, bool full);
    // The same with copies of the source's slots. Requires: a source of the same class.
    void doInit(const Object* source, bool full);

    // Fills an empty slot: a child with the one given, which is taken over, or a new one. Nothing
    // for a slot that is filled, and the caller keeps its child then.
    void doInitAttrOnDemand(const Attribute& attribute, Object* child, bool withDefault);

    // Gives all attributes their defaults, those made on demand included, but only checks those
    // that have to be given: a VALUE against its constraint, any other kind for being there. An
    // attribute without a default keeps its value, and gets its empty form where it had none; sets
    // are emptied. Whether all is well.
    //
    //  first  second   with a life of their own   have to be given    on a failure
    //  false  false    treated                    REQUIRED            goes on
    //  true   false    left out                   REQUIRED            goes on
    //  false  true     left out                   REQUIRED or KEY     stops
    //  true   true     treated                    REQUIRED or KEY     stops
    bool doSetToDefault(bool first, bool second);
    // doSetToDefault(true, true), as 0 or -1.
    int setAllToDefault();

    // doUpdate without a lock: VALUE and VALUE-SET, children and object sets but those with a life
    // of their own. A listener is told what changed, and `outMarker` receives it. True when
    // something changed.
    bool doUpdate(const Object* source, ObjectCallback* callback, ObjectMarker* outMarker);

protected:
    // Releases all slots and the array. Every class that can be created runs it in its destructor,
    // while its own class is still known.
    void doDestroy();
    // Empties the slot of a child that this object does not own.
    void doDestroyAttrOnDemand(const Attribute& attribute);

private:
    friend class ObjectSet;
    using AttributeList = std::vector<const Attribute*>;

    Value* values = nullptr; // one slot per attribute, from the first doInit on

    // Marks of children that nobody has looked at yet: as newObject makes them, and after
    // doSetToDefault(true, true).
    static constexpr Value ASLEEP_FRESH = Value::ofMark(0);
    static constexpr Value ASLEEP_WITH_DEFAULTS = Value::ofMark(1);

    // The slot with its child made, if it has one.
    const Value& awake(unsigned index) const {
        const std::atomic_ref<Value> place(values[index]);
        if (place.load(std::memory_order_acquire).isMark()) {
            wake(index);
        }
        return values[index];
    }
    void wake(unsigned index) const;

    const Attribute& attributeAt(unsigned index) const {
        return *getObjectClass()->getAttribute(index);
    }
    Value& slot(const Attribute& attribute) const { return values[attribute.getIndex()]; }
    Object* childAt(const Attribute& a) const { return awake(a.getIndex()).as<Object>(); }
    ValueSet* valueSetAt(const Attribute& a) const { return slot(a).as<ValueSet>(); }
    ObjectSet* objectSetAt(const Attribute& a) const { return slot(a).as<ObjectSet>(); }
    ValueSet& neededValueSet(const Attribute& attribute);
    ObjectSet& neededObjectSet(const Attribute& attribute);
    ObjectCallback* enabledCallback() const;

    Value* allocateSlots();
    void doInitAttr(const Attribute& attribute);
    void initChild(const Attribute& attribute);
    void doInitAttr(const Attribute& attribute, const Value& source);
    bool doInitAttrToDefault(const Attribute& attribute, bool full, bool mode);
    bool doSetAttrToDefault(const Attribute& attribute, bool full, bool mode);
    bool applyDefault(const Attribute& attribute);
    bool setChildToDefault(const Attribute& attribute, bool full, bool mode);
    bool isGiven(const Attribute& attribute) const;
    void doDestroyAttr(const Attribute& attribute);
    void doCloneAttr(const Attribute& attribute, Object& target) const;
    void cloneAttributes(Object& target, const ObjectMarker* marker, bool deep) const;
    Object* newClone(bool deep) const;
    bool isAttrEqual(const Attribute& attribute, const Object& other, bool deep);

    bool updateAttr(const Attribute& attribute, const Object& source, bool emptySets);
    Object& neededChild(const Attribute& attribute);
    bool doRecursiveUpdate(const Object* source, ObjectCallback* callback, AttributeList& deferred);
    void announce(ObjectCallback* callback, bool recursive, AttributeList& deferred);
    int persistentUpdateAs(const Object* source, const ObjectMarker* marker, bool deep);
    int doPersistentUpdate(const Object* source, const ObjectMarker* marker,
                           ObjectCallback* callback, Object* oldState, bool deep);
    int persistentlyUpdateChild(const Attribute& attribute, const Object& source,
                                ObjectCallback* callback, ObjectMarker& ownMarker);
};

} // namespace HConfig

#endif
