// The classes of configuration object, as C++ types. They mirror the schema's class tree and add
// nothing to Object but their row: no fields, no operations.
//
// An object made by newObject, or by any other operation of the library, is a RowObject that knows
// its class, whatever its type name here. A type of its own for each of more than a hundred
// classes with virtual bases would cost thousands of relocations at every start. So a cast by
// doCastInternal to one of these classes, which answers by the class tree, gives the address of
// the Object: use it as `Object*`. Only an object that was declared as, say, a Server is one in the
// language's eyes.

#ifndef MORVEX_CONFIG_CLASSES_H
#define MORVEX_CONFIG_CLASSES_H

#include "config/object.h"
#include "config/schema/class_tree.h"

namespace HConfig {

// An object of the class at one row of the registry.
class RowObject : public Object {
public:
    // The most rows that a schema may have.
    static constexpr unsigned MAX_ROWS = 256;

    // The object has no slots until doInit. Requires: Config::init, a row of the registry.
    explicit RowObject(unsigned row) : objectClass(Config::theConfig->getClass(row)) {}
    ~RowObject() override { doDestroy(); }

    // The id that stands for the class of a row. Requires: row < MAX_ROWS.
    static CastableId* getRowClassId(unsigned row);

    // Answers for the classes of the object's own row, of its bases, and of Object.
    void* doCastInternal(CastableId* classId) const override;
    CastableId* getOwnCastableId() const override;

    const ObjectClass* getObjectClass() const override { return objectClass; }

    // A new object of a row with all its slots in their empty forms, owned by the caller.
    static Object* newRowObject(unsigned row);

private:
    const ObjectClass* objectClass;
};

// NOLINTBEGIN(bugprone-macro-parentheses): names of classes take none

// What every concrete class adds to its base: its row.
#define MORVEX_CONFIG_CONCRETE_CLASS(uid, rows, Name, Base)                                        \
    class Name : public Base##Type {                                                               \
    public:                                                                                        \
        static constexpr unsigned ROW = Name##Row;                                                 \
        Name() : Name(ROW) {}                                                                      \
        static Object* newObject() { return newRowObject(ROW); }                                   \
        static CastableId* getCastableClassId() { return getRowClassId(ROW); }                     \
                                                                                                   \
    protected:                                                                                     \
        explicit Name(unsigned row) : Base##Type(row) {}                                           \
    };                                                                                             \
    using Name##Type = Name;

// What an abstract class adds: no way to make one.
#define MORVEX_CONFIG_ABSTRACT_CLASS(uid, rows, Name, Base)                                        \
    class Name : public Base##Type {                                                               \
    public:                                                                                        \
        static constexpr unsigned ROW = Name##Row;                                                 \
        static CastableId* getCastableClassId() { return getRowClassId(ROW); }                     \
                                                                                                   \
    protected:                                                                                     \
        explicit Name(unsigned row) : Base##Type(row) {}                                           \
    };                                                                                             \
    using Name##Type = Name;

// NOLINTEND(bugprone-macro-parentheses)

#define MORVEX_CONFIG_ROW(uid, rows, Name, Base) Name##Row,

// The rows of the classes: their places in the tree's list.
enum ClassRows : unsigned {
    MORVEX_CONFIG_CLASSES(MORVEX_CONFIG_ROW, MORVEX_CONFIG_ROW) CLASS_ROW_COUNT
};
static_assert(CLASS_ROW_COUNT <= RowObject::MAX_ROWS);

using ObjectType = RowObject; // what a class without a base builds on
MORVEX_CONFIG_CLASSES(MORVEX_CONFIG_CONCRETE_CLASS, MORVEX_CONFIG_ABSTRACT_CLASS)

#undef MORVEX_CONFIG_ROW
#undef MORVEX_CONFIG_CONCRETE_CLASS
#undef MORVEX_CONFIG_ABSTRACT_CLASS

} // namespace HConfig

#endif
