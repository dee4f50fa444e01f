// Query results: vectors that copy members of sets out, borrowed or as clones of their own.
//
// A result that owns clones destroys them when it is emptied or destroyed itself.

#ifndef MORVEX_CONFIG_QUERY_RESULT_H
#define MORVEX_CONFIG_QUERY_RESULT_H

#include "common/container/hvector.h"
#include "config/value.h"
#include "config/value_type.h"

namespace HConfig {

class Attribute;
class Object;

class ObjectResult : public HVector<Object*, ObjectResult*> {
public:
    // With `cloning`, holds deep clones of what is added in place of borrowed pointers.
    explicit ObjectResult(bool cloning = false)
        : HVector(NODE_ORDER, destroyObject, this), clones(cloning) {}
    ObjectResult(const ObjectResult&) = delete;
    ObjectResult& operator=(const ObjectResult&) = delete;
    ~ObjectResult() { clear(); }

    void add(Object* object);

private:
    static constexpr int NODE_ORDER = 16;
    bool clones;

    static void destroyObject(Object* object, ObjectResult* result);
};

class ValueResult : public HVector<Value, ValueResult*> {
public:
    // With `cloning`, holds copies of what is added in place of borrowed values.
    explicit ValueResult(bool cloning = false)
        : HVector(NODE_ORDER, destroyValue, this), clones(cloning) {}
    ValueResult(const ValueResult&) = delete;
    ValueResult& operator=(const ValueResult&) = delete;
    ~ValueResult() { clear(); }

    // Requires: values of one type between two clears.
    void add(const Value& value, const ValueType& type);

private:
    static constexpr int NODE_ORDER = 16;
    bool clones;
    const ValueHandler* handler = nullptr;

    static void destroyValue(Value value, ValueResult* result);
};

// Owned texts of at most 1023 bytes.
class StringResult : public HVector<char*, StringResult*> {
public:
    StringResult() : HVector(NODE_ORDER, destroyText, this) {}
    StringResult(const StringResult&) = delete;
    StringResult& operator=(const StringResult&) = delete;
    ~StringResult() { clear(); }

    // Adds the text form of a value, without escapes; an empty text for one that does not fit.
    void add(const Value& value, const Attribute& attribute);

private:
    static constexpr int NODE_ORDER = 16;

    // NOLINTNEXTLINE(readability-non-const-parameter): the type of a destroy function
    static void destroyText(char* text, StringResult*) { delete[] text; }
};

} // namespace HConfig

#endif
