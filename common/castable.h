// The root of all castable classes: a cheap, hand-made cast that needs no run-time type
// information. A class is identified by the address of an empty marker of its own.
//
// Each castable class has
//     static CastableId* getCastableClassId();
// which returns the address of a one-byte static object private to that operation, and overrides
// the two virtual operations below. An id is only ever compared as an address.

#ifndef MORVEX_COMMON_CASTABLE_H
#define MORVEX_COMMON_CASTABLE_H

struct CastableId {};

class ACastable {
public:
    virtual ~ACastable();

    // This object as the class whose id is given, moved to the base sub-object where that lies at
    // an offset of its own, or null where it is not of that class. Sets no error. A class compares
    // its own id first and then those of its bases, in declaration order.
    virtual void* doCastInternal(CastableId* id) const;

    // The id of the object's own, most derived class; null in the root.
    virtual CastableId* getOwnCastableId() const;
};

#endif
