#include "config/callback.h"

#include "config/config.h"

#include <algorithm>

namespace HConfig {

int AKey::compareTo(const AKey* other) const {
    std::vector<Value> here;
    std::vector<Value> there;
    const ObjectClass* keyClass = getKeyDesc(here);
    other->getKeyDesc(there);
    const std::size_t shorter =
        std::min({here.size(), there.size(), static_cast<std::size_t>(keyClass->getKeyCount())});
    for (unsigned i = 0; i < shorter; ++i) {
        const int order = keyClass->getKeyAttribute(i)->getHandler().opCompare(here[i], there[i]);
        if (order != 0) {
            return order;
        }
    }
    return 0;
}

const Object* AKey::castToObject() const {
    return nullptr;
}

bool ObjectCallback::isEnabled(unsigned) const {
    return enabled;
}

int ObjectCallback::onCallerAttach(Object*) {
    return 0;
}

int ObjectCallback::onObjectUpdate(const ObjectMarker&, Object*) {
    return 0;
}

int ObjectCallback::onObjectUpdateEnd(const ObjectMarker&, Object*) {
    return 0;
}

int ObjectCallback::onChildObjectAdd(unsigned, Object*) {
    return 0;
}

int ObjectCallback::onChildObjectRemove(unsigned, Object*) {
    return 0;
}

int ObjectCallback::onChildObjectUpdate(unsigned, Object*, const ObjectMarker&, Object*) {
    return 0;
}

int ObjectCallback::onObjectRollback(Object*) {
    return 0;
}

void ACallable::attachCallback(ObjectCallback*, Object*) {
}

void ACallable::enableCallback(bool) {
}

ObjectCallback* ACallable::getCallback() const {
    return nullptr;
}

void Callable::attachCallback(ObjectCallback* newCallback, Object* object) {
    callback = newCallback;
    if (callback != nullptr) {
        callback->onCallerAttach(object);
    }
}

void Callable::enableCallback(bool enable) {
    if (callback != nullptr) {
        callback->enabled = enable;
    }
}

} // namespace HConfig
