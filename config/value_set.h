// ValueSet: an ordered set of values of one type, the content of a VALUE-SET attribute; and its
// cursor. Order and equality are those of the value type's handler.
//
// A set owns copies of its values. It is guarded by its object's owner.

#ifndef MORVEX_CONFIG_VALUE_SET_H
#define MORVEX_CONFIG_VALUE_SET_H

#include "config/value.h"
#include "config/value_type.h"

#include <set>

namespace HConfig {

class ValueSet {
    struct Less {
        const ValueHandler* handler;
        bool operator()(const Value& a, const Value& b) const {
            return handler->opCompare(a, b) < 0;
        }
    };
    using Values = std::set<Value, Less>;

public:
    using Iterator = Values::const_iterator;

    explicit ValueSet(const ValueType& type) : valueType(&type), values(Less{&type.getHandler()}) {}
    ~ValueSet() { removeAllValues(); }
    ValueSet(const ValueSet&) = delete;
    ValueSet& operator=(const ValueSet&) = delete;

    const ValueType& getValueType() const { return *valueType; }
    unsigned getCount() const { return static_cast<unsigned>(values.size()); }
    bool hasValue(const Value& value) const { return values.contains(value); }
    Iterator begin() const { return values.begin(); }
    Iterator end() const { return values.end(); }

    // Copies a value in; false for one that is there already.
    bool addValue(const Value& value);
    // Takes a value over; false for one that is there already, which stays the caller's.
    bool takeValue(const Value& value);
    // Destroys a member; false where it is none.
    bool removeValue(const Value& value);
    void removeAllValues();

    // Fills `target` with copies; a null target becomes a new set, which the caller owns, another
    // one is emptied first.
    void clone(ValueSet*& target) const;

    // Becomes equal to `other`; members of both stay as they are. True when something changed.
    // Requires: sets of one type.
    bool update(const ValueSet& other);

private:
    const ValueType* valueType;
    Values values;
};

// Walks a value set. A cursor is valid as long as the set is not changed.
class ValueIterator {
public:
    ValueIterator() = default;
    explicit ValueIterator(const ValueSet& set) : at(set.begin()), stop(set.end()) {}

    // The next value, or null at the end.
    const Value* next() { return at == stop ? nullptr : &*at++; }

private:
    ValueSet::Iterator at;
    ValueSet::Iterator stop;
};

} // namespace HConfig

#endif
