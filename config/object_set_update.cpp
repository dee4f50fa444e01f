// Bringing object sets in line with each other, with and without a listener.

#include "common/error.h"
#include "common/thread/thread.h"
#include "config/object.h"
#include "config/object_set.h"

#include <iterator>
#include <memory>

namespace HConfig {

// Whom a merge tells of its changes, and whether the answers count.
struct ObjectSet::Listener {
    ObjectCallback* callback; // null for nobody
    const Object* owner;      // makes the new members where given
    unsigned attribute;
    bool vetoes;

    // Whether a listener's answer ends the work.
    bool isVeto(int answer) const { return vetoes && answer == -1; }

    Object* cloneOf(const Object* member) const {
        Object* clone =
            owner != nullptr && vetoes ? owner->newChildObjectInstance(attribute) : nullptr;
        member->clone(clone, true);
        return clone;
    }

    // Brings a member in line; whether that changed it.
    bool updateMember(Object* member, const Object* source, bool& vetoed) const {
        if (callback == nullptr) {
            return member->doUpdate(source, nullptr, nullptr);
        }
        Object* old = nullptr;
        member->clone(old, true);
        const std::unique_ptr<Object> oldState(old);
        ObjectMarker marker(member->getObjectClass()->getAttributeCount());
        if (!member->doUpdate(source, nullptr, &marker)) {
            return false;
        }
        vetoed = isVeto(callback->onChildObjectUpdate(attribute, member, marker, old));
        return true;
    }
};

// One pass over the two orders. New members wait until it is over, so that it does not meet them.
int ObjectSet::merge(const ObjectSet& source, const Listener& listener, bool& changed) {
    std::vector<Object*> pending;
    Iterator own = elements.begin();
    Iterator theirs = source.elements.begin();
    bool vetoed = false;
    while (!vetoed && (own != elements.end() || theirs != source.elements.end())) {
        const int order = own == elements.end()             ? 1
                          : theirs == source.elements.end() ? -1
                                                            : own->key->compareTo(theirs->key);
        if (order == 0) {
            changed |= listener.updateMember(member(own), member(theirs), vetoed);
            ++own;
            ++theirs;
        } else if (order > 0) {
            pending.push_back(listener.cloneOf(member(theirs)));
            ++theirs;
        } else {
            const std::unique_ptr<Object> removed(member(own));
            own = elements.erase(own);
            changed = true;
            vetoed = listener.callback != nullptr &&
                     listener.isVeto(
                         listener.callback->onChildObjectRemove(listener.attribute, removed.get()));
        }
    }
    if (vetoed) {
        for (Object* object : pending) {
            delete object;
        }
        return -1;
    }
    return addPending(pending, listener, changed);
}

int ObjectSet::addPending(std::vector<Object*>& pending, const Listener& listener, bool& changed) {
    bool vetoed = false;
    for (Object* object : pending) {
        if (vetoed || !elements.insert(Element{object}).second) {
            delete object;
            continue;
        }
        changed = true;
        vetoed = listener.callback != nullptr &&
                 listener.isVeto(listener.callback->onChildObjectAdd(listener.attribute, object));
    }
    return vetoed ? -1 : 0;
}

bool ObjectSet::update(const ObjectSet* source) {
    bool changed = false;
    merge(*source, Listener{nullptr, nullptr, 0, false}, changed);
    return changed;
}

void ObjectSet::update(const ObjectSet* source, const Object* owner, unsigned index) {
    bool changed = false;
    merge(*source, Listener{owner->getCallback(), owner, index, false}, changed);
}

void ObjectSet::update(const Object* owner, unsigned index) {
    ObjectCallback* callback = owner->getCallback();
    if (callback == nullptr) {
        return;
    }
    for (Iterator at = elements.begin(); at != elements.end(); ++at) {
        callback->onChildObjectAdd(index, member(at));
    }
}

int ObjectSet::persistentUpdate(const ObjectSet* source, const Object* owner, unsigned index,
                                bool useCallback, bool& changed) {
    return merge(*source,
                 Listener{useCallback ? owner->getCallback() : nullptr, owner, index, true},
                 changed);
}

void ObjectSet::backup(ObjectSet& copy) const {
    ObjectSet* target = &copy;
    clone(target);
}

void ObjectSet::restore(ObjectSet& copy) {
    if (&copy == this) {
        return;
    }
    removeAllObjects();
    elements.swap(copy.elements);
}

// --- One member ---------------------------------------------------------------------------------

int ObjectSet::findForUpdate(const AKey* key, const Object* source, Iterator& at) const {
    at = find(key);
    if (at == elements.end()) {
        Thread::setLastError(HE_CFG_OBJECT_NOT_FOUND);
        return -1;
    }
    if (at->key->compareTo(source) != 0 && findObject(source) != nullptr) {
        Thread::setLastError(HE_CFG_OBJECT_EXISTS);
        return -1;
    }
    return 0;
}

// Updates a member outside the set, since its place may change.
Object* ObjectSet::replace(Iterator at, const Object* source, ObjectMarker* marker, bool& changed) {
    Object* object = member(at);
    elements.erase(at);
    changed = object->doUpdate(source, nullptr, marker);
    elements.insert(Element{object});
    return object;
}

int ObjectSet::updateObject(const AKey* key, const Object* source) {
    Iterator at;
    if (findForUpdate(key, source, at) != 0) {
        return -1;
    }
    bool changed = false;
    replace(at, source, nullptr, changed);
    return 0;
}

int ObjectSet::updateObject(const AKey* key, const Object* source, Object*& old) {
    Iterator at;
    if (findForUpdate(key, source, at) != 0) {
        return -1;
    }
    old = member(at)->newClone(true);
    bool changed = false;
    replace(at, source, nullptr, changed);
    return 0;
}

int ObjectSet::updateObject(const AKey* key, const Object* source, const Object* owner,
                            unsigned index) {
    Iterator at;
    if (findForUpdate(key, source, at) != 0) {
        return -1;
    }
    const std::unique_ptr<Object> old(member(at)->newClone(true));
    ObjectMarker marker(member(at)->getObjectClass()->getAttributeCount());
    bool changed = false;
    Object* object = replace(at, source, &marker, changed);
    ObjectCallback* callback = owner->getCallback();
    if (!changed || callback == nullptr ||
        callback->onChildObjectUpdate(index, object, marker, old.get()) != -1) {
        return 0;
    }
    const Iterator now = find(object);
    replace(now, old.get(), nullptr, changed);
    return -1;
}

} // namespace HConfig
