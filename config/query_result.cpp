#include "config/query_result.h"

#include "config/config.h"
#include "config/object.h"

#include <cstring>

namespace HConfig {

void ObjectResult::add(Object* object) {
    Object* held = object;
    if (clones) {
        held = nullptr;
        object->clone(held, true);
    }
    append(held);
}

void ObjectResult::destroyObject(Object* object, ObjectResult* result) {
    if (result->clones) {
        delete object;
    }
}

void ValueResult::add(const Value& value, const ValueType& type) {
    handler = &type.getHandler();
    Value held = value;
    if (clones) {
        held = Value();
        handler->opInit(held, value);
    }
    append(held);
}

void ValueResult::destroyValue(Value value, ValueResult* result) {
    if (result->clones) {
        result->handler->opDestroy(value);
    }
}

void StringResult::add(const Value& value, const Attribute& attribute) {
    char buffer[1024];
    buffer[0] = '\0';
    if (attribute.getHandler().opToString(value, buffer, sizeof buffer, &attribute, false) < 0) {
        buffer[0] = '\0';
    }
    const std::size_t size = std::strlen(buffer) + 1;
    append(static_cast<char*>(std::memcpy(new char[size], buffer, size)));
}

} // namespace HConfig
