#include "config/object_set.h"

#include "common/error.h"
#include "common/thread/thread.h"
#include "config/listener_pause.h"
#include "config/object.h"

#include <iterator>

namespace HConfig {

namespace {
int failWith(unsigned code) {
    Thread::setLastError(code);
    return -1;
}

// An element to search by; the set only compares it.
ObjectSet::Element searched(const AKey* key) {
    return {const_cast<AKey*>(key)};
}
} // namespace

ObjectSet::Iterator ObjectSet::find(const AKey* key) const {
    const Iterator at = elements.lower_bound(searched(key));
    return at != elements.end() && key->compareTo(at->key) == 0 ? at : elements.end();
}

ObjectSet::Iterator ObjectSet::upperBound(const AKey* key) const {
    return elements.upper_bound(searched(key));
}

Object* ObjectSet::findObject(const AKey* key) const {
    const Iterator at = find(key);
    return at != elements.end() ? member(at) : nullptr;
}

unsigned ObjectSet::findObjects(const AKey* key, ObjectResult& result) const {
    result.clear();
    const Iterator stop = upperBound(key);
    for (Iterator at = elements.lower_bound(searched(key)); at != stop; ++at) {
        result.add(member(at));
    }
    return static_cast<unsigned>(result.size());
}

void ObjectSet::getRangeObjectIterator(const AKey* low, const AKey* high,
                                       ObjectIterator& iterator) const {
    const Iterator from = elements.lower_bound(searched(low));
    const bool isEmpty = from == elements.end() || high->compareTo(from->key) < 0;
    iterator = ObjectIterator(from, isEmpty ? from : upperBound(high));
}

int ObjectSet::addObject(Object* object) {
    return elements.insert(Element{object}).second ? 0 : failWith(HE_CFG_OBJECT_EXISTS);
}

int ObjectSet::addObject(Object* object, ObjectCallback* callback, unsigned attribute) {
    const ListenerPause pause(*callback);
    const auto [at, isNew] = elements.insert(Element{object});
    if (!isNew) {
        return failWith(HE_CFG_OBJECT_EXISTS);
    }
    if (callback->onChildObjectAdd(attribute, object) == -1) {
        elements.erase(at);
        return -1;
    }
    return 0;
}

int ObjectSet::removeObject(const AKey* key) {
    const Iterator at = find(key);
    if (at == elements.end()) {
        return failWith(HE_CFG_OBJECT_NOT_FOUND);
    }
    Object* removed = member(at);
    elements.erase(at);
    delete removed;
    return 0;
}

int ObjectSet::removeObject(const AKey* key, ObjectCallback* callback, unsigned attribute) {
    const Iterator at = find(key);
    if (at == elements.end()) {
        return failWith(HE_CFG_OBJECT_NOT_FOUND);
    }
    Object* removed = member(at);
    const ListenerPause pause(*callback);
    elements.erase(at);
    if (callback->onChildObjectRemove(attribute, removed) == -1) {
        elements.insert(Element{removed});
        return -1;
    }
    delete removed;
    return 0;
}

void ObjectSet::removeAllObjects() {
    for (Iterator at = elements.begin(); at != elements.end(); ++at) {
        delete member(at);
    }
    elements.clear();
}

void ObjectSet::clone(ObjectSet*& target) const {
    if (target == this) {
        return;
    }
    if (target == nullptr) {
        target = new ObjectSet(objectClass);
    } else {
        target->removeAllObjects();
    }
    for (Iterator at = elements.begin(); at != elements.end(); ++at) {
        target->elements.insert(target->elements.end(), Element{member(at)->newClone(true)});
    }
}

void ObjectSet::diff(const ObjectSet& other, ObjectResult& onlyHere,
                     ObjectResult& onlyThere) const {
    onlyHere.clear();
    onlyThere.clear();
    Iterator here = elements.begin();
    Iterator there = other.elements.begin();
    while (here != elements.end() || there != other.elements.end()) {
        const int order = here == elements.end()          ? 1
                          : there == other.elements.end() ? -1
                                                          : here->key->compareTo(there->key);
        if (order < 0) {
            onlyHere.add(member(here));
        } else if (order > 0) {
            onlyThere.add(member(there));
        }
        here = order <= 0 ? std::next(here) : here;
        there = order >= 0 ? std::next(there) : there;
    }
}

} // namespace HConfig
