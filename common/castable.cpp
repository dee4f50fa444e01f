#include "common/castable.h"

ACastable::~ACastable() = default;

void* ACastable::doCastInternal(CastableId*) const {
    return nullptr;
}

CastableId* ACastable::getOwnCastableId() const {
    return nullptr;
}
