#include "config/classes.h"

namespace HConfig {

namespace {
// One marker a row: only the addresses mean anything.
CastableId rowClassIds[RowObject::MAX_ROWS];
static_assert(sizeof(CastableId) == 1);
} // namespace

CastableId* RowObject::getRowClassId(unsigned row) {
    return &rowClassIds[row];
}

void* RowObject::doCastInternal(CastableId* classId) const {
    for (const ObjectClass* at = objectClass; at != nullptr; at = at->getBaseClass()) {
        if (classId == getRowClassId(at->getIndex())) {
            return static_cast<Object*>(const_cast<RowObject*>(this));
        }
    }
    return Object::doCastInternal(classId);
}

CastableId* RowObject::getOwnCastableId() const {
    return getRowClassId(objectClass->getIndex());
}

Object* RowObject::newRowObject(unsigned row) {
    Object* object = new RowObject(row);
    object->doInit(false, true);
    return object;
}

} // namespace HConfig
