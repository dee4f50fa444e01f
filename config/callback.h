// Keys and listeners: the two small faces of a configuration object towards sets and servers.
//
// AKey is an ordered key: an object is its own key, and a key that is no object may hold only the
// leading key values, which finds every member that starts with them. ObjectCallback is what a
// running server puts on an object to hear of changes and to veto them.

#ifndef MORVEX_CONFIG_CALLBACK_H
#define MORVEX_CONFIG_CALLBACK_H

#include "config/value.h"

#include <vector>

namespace HConfig {

class Object;
class ObjectClass;
class ObjectMarker;

class AKey {
public:
    // Appends the key values, which stay the key's own, in the order of the class's KEY
    // attributes, and gives the class that tells their types.
    virtual const ObjectClass* getKeyDesc(std::vector<Value>& values) const = 0;

    // Compares value by value in the types of this side's class, up to the shorter key: below 0,
    // 0 or above 0. A key that overrides getKeyDesc of an object overrides this too.
    virtual int compareTo(const AKey* other) const;

    // The object that this key is, or null.
    virtual const Object* castToObject() const;

protected:
    AKey() = default;
    AKey(const AKey&) = default;
    AKey& operator=(const AKey&) = default;
    ~AKey() = default; // keys are destroyed as what they are
};

// A listener. A result of -1 vetoes what is told about, 0 agrees; where a veto counts, the
// operation that calls says so. While a listener is called its `enabled` flag is off, so that
// changes it makes itself do not come back to it; the flag is no lock. A listener must leave the
// set or child alone that it is being told about: the change is still under way. The changes are
// made before they are told about, unless told otherwise. Everything that is passed is good during
// the call only.
//
// Here every operation agrees and does nothing.
class ObjectCallback {
public:
    // Whether the listener is to be called; the second form is asked before a member is added to
    // the set of that attribute.
    virtual bool isEnabled() const { return enabled; }
    virtual bool isEnabled(unsigned attribute) const;

    // The listener was put on `object`. The result does not count.
    virtual int onCallerAttach(Object* object);

    // The marked attributes of the object have changed. `old` is a clone of the object before the
    // change, or null where the object is only announced (Object::update(bool)).
    virtual int onObjectUpdate(const ObjectMarker& marker, Object* old);

    // The end of an Object::persistentUpdate that changed something: the marks tell what, the parts
    // with a life of their own included.
    virtual int onObjectUpdateEnd(const ObjectMarker& marker, Object* old);

    // A member was added to the set of that attribute, or was taken out of it and is about to be
    // destroyed.
    virtual int onChildObjectAdd(unsigned attribute, Object* child);
    virtual int onChildObjectRemove(unsigned attribute, Object* child);

    // The child of that attribute, or a member of its set, has changed; `marker` and `old`, which
    // may be null, are the child's.
    virtual int onChildObjectUpdate(unsigned attribute, Object* child, const ObjectMarker& marker,
                                    Object* old);

    // This listener has vetoed an Object::persistentUpdate, whose changes still stand. `old` is a
    // clone of the object before it. The result does not count.
    virtual int onObjectRollback(Object* old);

    bool enabled = true;

protected:
    ~ObjectCallback() = default; // a listener belongs to whoever attached it
};

// What can have a listener. This one never has.
class ACallable {
public:
    // Puts a listener on `object`. The listener stays the caller's.
    virtual void attachCallback(ObjectCallback* callback, Object* object);
    virtual void enableCallback(bool enable);
    virtual ObjectCallback* getCallback() const;

protected:
    ~ACallable() = default;
};

// The implementation with a place for one listener.
class Callable : public ACallable {
public:
    // Replaces the listener and calls its onCallerAttach. Null takes the listener away.
    void attachCallback(ObjectCallback* newCallback, Object* object) override;
    // Sets the listener's flag, if there is a listener.
    void enableCallback(bool enable) override;
    ObjectCallback* getCallback() const override { return callback; }

protected:
    ~Callable() = default;

private:
    ObjectCallback* callback = nullptr;
};

} // namespace HConfig

#endif
