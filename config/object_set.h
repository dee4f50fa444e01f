// ObjectSet: an ordered set of configuration objects, the content of an OBJECT-SET attribute; and
// its cursor. Members are ordered by their keys, and no two have equal keys.
//
// A set owns its members. Functions that give 0 or -1 set the last error on -1, unless a listener
// vetoed. A set is guarded by its object's owner.

#ifndef MORVEX_CONFIG_OBJECT_SET_H
#define MORVEX_CONFIG_OBJECT_SET_H

#include "config/callback.h"

#include <set>
#include <vector>

namespace HConfig {

class ObjectIterator;
class ObjectResult;

class ObjectSet {
public:
    struct Element {
        AKey* key; // of a member, the member itself
    };

private:
    struct Less {
        bool operator()(const Element& a, const Element& b) const {
            return a.key->compareTo(b.key) < 0;
        }
    };
    using Elements = std::set<Element, Less>;

public:
    using Iterator = Elements::const_iterator;

    explicit ObjectSet(const ObjectClass* memberClass) : objectClass(memberClass) {}
    ~ObjectSet() { removeAllObjects(); }
    ObjectSet(const ObjectSet&) = delete;
    ObjectSet& operator=(const ObjectSet&) = delete;

    const ObjectClass* getObjectClass() const { return objectClass; }
    unsigned getCount() const { return static_cast<unsigned>(elements.size()); }
    Iterator begin() const { return elements.begin(); }
    Iterator end() const { return elements.end(); }
    static Object* member(Iterator at) { return const_cast<Object*>(at->key->castToObject()); }

    // The first member equal to the key, or null. A key with only the leading values equals every
    // member that starts with them.
    Object* findObject(const AKey* key) const;
    // All members equal to the key, into an emptied result; their number.
    unsigned findObjects(const AKey* key, ObjectResult& result) const;
    // From the first member not below `low` to before the first above `high`; nothing when that
    // first member is already above `high`.
    void getRangeObjectIterator(const AKey* low, const AKey* high, ObjectIterator& iterator) const;

    // Takes over an object. -1 with HE_CFG_OBJECT_EXISTS for an equal key; the object stays the
    // caller's.
    int addObject(Object* object);
    // The same with a listener, which is off meanwhile and may take the object out again: -1.
    int addObject(Object* object, ObjectCallback* callback, unsigned attribute);

    // Destroys the first member equal to the key. -1 with HE_CFG_OBJECT_NOT_FOUND.
    int removeObject(const AKey* key);
    // The same with a listener, which is off meanwhile and may keep the member: -1.
    int removeObject(const AKey* key, ObjectCallback* callback, unsigned attribute);
    void removeAllObjects();

    // Fills `target` with deep clones, in key order; a null target becomes a new set, which the
    // caller owns, another one is emptied first.
    void clone(ObjectSet*& target) const;

    // The members of one set that the other lacks, both ways, into emptied results.
    void diff(const ObjectSet& other, ObjectResult& onlyHere, ObjectResult& onlyThere) const;

    // Brings this set in line with `source` in one merge of the two orders: members only here are
    // destroyed, equal ones updated in place, those only there cloned deep. True when something
    // changed.
    bool update(const ObjectSet* source);
    // The same for attribute `index` of `owner`, with its listener told of each change. What the
    // listener answers is ignored.
    void update(const ObjectSet* source, const Object* owner, unsigned index);
    // Announces every member to the owner's listener as added.
    void update(const Object* owner, unsigned index);
    // The same merge with vetoes, when `useCallback`. 0, or -1 as soon as the listener gives it;
    // what was changed until then stays. `changed` is set true when something changed.
    int persistentUpdate(const ObjectSet* source, const Object* owner, unsigned index,
                         bool useCallback, bool& changed);

    // `copy` receives deep clones of the members, in place of what it held.
    void backup(ObjectSet& copy) const;
    // The members are destroyed and those of `copy` taken over; `copy` is left empty.
    void restore(ObjectSet& copy);

    // Brings the first member equal to `key` in line with `source`, which may change its key. -1
    // with HE_CFG_OBJECT_NOT_FOUND, or with HE_CFG_OBJECT_EXISTS when the new key is taken; the
    // member is unchanged then.
    int updateObject(const AKey* key, const Object* source);
    // The same; `old` receives a clone of the former state, which the caller owns.
    int updateObject(const AKey* key, const Object* source, Object*& old);
    // The same with the owner's listener told of a change; on its veto the member goes back to
    // the former state: -1.
    int updateObject(const AKey* key, const Object* source, const Object* owner, unsigned index);

private:
    const ObjectClass* objectClass;
    Elements elements;

    struct Listener;

    Iterator find(const AKey* key) const;
    Iterator upperBound(const AKey* key) const;
    int merge(const ObjectSet& source, const Listener& listener, bool& changed);
    int addPending(std::vector<Object*>& pending, const Listener& listener, bool& changed);
    int findForUpdate(const AKey* key, const Object* source, Iterator& at) const;
    Object* replace(Iterator at, const Object* source, ObjectMarker* marker, bool& changed);
};

// Walks an object set. A cursor is valid as long as the set is not changed.
class ObjectIterator {
public:
    ObjectIterator() = default;
    explicit ObjectIterator(const ObjectSet& set) : ObjectIterator(set.begin(), set.end()) {}
    ObjectIterator(ObjectSet::Iterator from, ObjectSet::Iterator to) : at(from), stop(to) {}

    // The next member, or null at the end.
    Object* next() { return at == stop ? nullptr : ObjectSet::member(at++); }

private:
    ObjectSet::Iterator at;
    ObjectSet::Iterator stop;
};

} // namespace HConfig

#endif
