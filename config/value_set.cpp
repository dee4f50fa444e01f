#include "config/value_set.h"

namespace HConfig {

namespace {
Value copyOf(const ValueType& type, const Value& value) {
    Value copy;
    type.getHandler().opInit(copy, value);
    return copy;
}

void destroy(const ValueType& type, Value value) {
    type.getHandler().opDestroy(value);
}
} // namespace

bool ValueSet::addValue(const Value& value) {
    const auto place = values.lower_bound(value);
    if (place != values.end() && valueType->getHandler().opCompare(value, *place) == 0) {
        return false;
    }
    values.emplace_hint(place, copyOf(*valueType, value));
    return true;
}

bool ValueSet::takeValue(const Value& value) {
    return values.insert(value).second;
}

bool ValueSet::removeValue(const Value& value) {
    const auto at = values.find(value);
    if (at == values.end()) {
        return false;
    }
    const Value member = *at;
    values.erase(at); // before the value goes: the tree may still compare it
    destroy(*valueType, member);
    return true;
}

void ValueSet::removeAllValues() {
    for (const Value& member : values) {
        destroy(*valueType, member);
    }
    values.clear();
}

void ValueSet::clone(ValueSet*& target) const {
    if (target == this) {
        return;
    }
    if (target == nullptr) {
        target = new ValueSet(*valueType);
    } else {
        target->removeAllValues();
    }
    for (const Value& member : values) {
        target->values.emplace_hint(target->values.end(), copyOf(*valueType, member));
    }
}

bool ValueSet::update(const ValueSet& other) {
    const ValueHandler& handler = valueType->getHandler();
    bool changed = false;
    auto own = values.begin();
    auto source = other.values.begin();
    while (own != values.end() || source != other.values.end()) {
        const int order = own == values.end()            ? 1
                          : source == other.values.end() ? -1
                                                         : handler.opCompare(*own, *source);
        if (order == 0) {
            ++own;
            ++source;
            continue;
        }
        changed = true;
        if (order < 0) {
            const Value member = *own;
            own = values.erase(own);
            destroy(*valueType, member);
        } else {
            values.emplace_hint(own, copyOf(*valueType, *source));
            ++source;
        }
    }
    return changed;
}

} // namespace HConfig
