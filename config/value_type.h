// Value types: what an attribute's slot means, how it is copied, compared, printed and parsed.
// Each type is a table of six functions; objects, the text loader and the text saver work through
// these tables only and know no type.
//
// The tables are constant and need no start-up. The functions keep no state and lock nothing.

#ifndef MORVEX_CONFIG_VALUE_TYPE_H
#define MORVEX_CONFIG_VALUE_TYPE_H

#include "config/schema_desc.h"
#include "config/value.h"

namespace HConfig {

class Attribute;

// How slots of one type are handled.
struct ValueHandler {
    // Makes `slot` an owned copy of `source`, whatever it held before. An empty source gives the
    // type's empty form: 0, "", 0.0.0.0, no bytes, or the present moment for times.
    void (*opInit)(Value& slot, const Value& source);

    // Releases what the slot owns and empties it.
    void (*opDestroy)(Value& slot);

    // Whether the value stands as it is: always for numbers, for the others when not empty.
    bool (*opTest)(const Value& value);

    // Below 0, 0 or above 0: the order of sets, and equality.
    int (*opCompare)(const Value& a, const Value& b);

    // The text form; with `escape` fit to stand between double quotes in a file. -1 when it does
    // not fit `size`, or when a choice has no name. The length for texts, numbers and choices; 0
    // for the others. Bytes that do not fit give an empty text and 0.
    int (*opToString)(const Value& value, char* buffer, int size, const Attribute* attribute,
                      bool escape);

    // Parses `text` into `slot`, replacing what it held. 0, or -1 for a bad text; the slot is
    // then as it was, or holds another valid value of its type. Sets no error of its own.
    int (*opToValue)(const char* text, Value& slot, const Attribute* attribute);
};

struct ValueTypeDesc {
    char name[16];
    char description[24];
};

// The names of the value types, by id.
extern const ValueTypeDesc VALUE_TYPE_DESC[TYPE_COUNT];

class ValueType {
public:
    constexpr ValueType(const ValueHandler& typeHandler, unsigned typeId)
        : handler(&typeHandler), id(typeId) {}

    // The type of an id, or null for an id without one.
    static const ValueType* getValueType(unsigned id);

    const ValueHandler& getHandler() const { return *handler; }
    const ValueTypeDesc& getDesc() const { return VALUE_TYPE_DESC[id]; }
    unsigned getId() const { return id; }

private:
    const ValueHandler* handler;
    unsigned id;
};

// The twelve handlers. Slots of the first four hold numbers; of the others owned objects: array
// new for texts, plain new for the rest.
struct IntValueHandler {
    static const ValueType VALUE_TYPE;
};
struct UintValueHandler {
    static const ValueType VALUE_TYPE;
};
struct ChoiceValueHandler {
    static const ValueType VALUE_TYPE;
};
struct ChoiceSetValueHandler {
    static const ValueType VALUE_TYPE;
};
// A slot whose text is empty may point to one shared empty text, which nobody may write to or
// free; the handler knows it. fastSetValue may be given an array-new text at any time.
struct StringValueHandler {
    static const ValueType VALUE_TYPE; // compares without regard to case
};
struct CSStringValueHandler {
    static const ValueType VALUE_TYPE; // compares unsigned bytes
};
struct InetAddrValueHandler {
    static const ValueType VALUE_TYPE;
};
struct InetAddrSetValueHandler {
    static const ValueType VALUE_TYPE;
};
struct InetSockAddrValueHandler {
    static const ValueType VALUE_TYPE;
};
struct DateTimeValueHandler {
    static const ValueType VALUE_TYPE;
};
struct BStringValueHandler {
    static const ValueType VALUE_TYPE;
};
struct TimeValueHandler {
    static const ValueType VALUE_TYPE;
};

} // namespace HConfig

#endif
