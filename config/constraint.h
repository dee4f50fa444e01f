// Constraints: whether a value may be stored in an attribute, or an object added to it. A row of
// the schema names at most one by a small id with parameters; the attribute owns the instance.
//
// Constraints are immutable after they are made and may be asked from any thread. Answers are
// bools and set no error. They see the owning object, so some hold two attributes of one object
// apart; the object may be null.

#ifndef MORVEX_CONFIG_CONSTRAINT_H
#define MORVEX_CONFIG_CONSTRAINT_H

#include "common/castable.h"
#include "config/arena.h"
#include "config/schema_desc.h"
#include "config/value.h"

#include <cstdint>

namespace HConfig {

class Attribute;
class Menu;
class Object;

// The name and the parameters, in slot order, of a constraint or a default.
struct ConstraintDesc {
    const char* name;
    const char* description;
    const char* const* params;
    unsigned paramCount;
};
using DefaultDesc = ConstraintDesc;

class Constraint : public virtual ACastable {
public:
    explicit Constraint(std::uint32_t constraintId) : id(constraintId) {}

    static CastableId* getCastableClassId();
    void* doCastInternal(CastableId* classId) const override;
    CastableId* getOwnCastableId() const override;

    virtual const ConstraintDesc& getConstraintDesc() const;

    // Whether `value`, in the form of the attribute's value type, may be stored. The time zone
    // constraints correct the text that `value` points to in place, which must then be writable.
    // Here: never.
    virtual bool isValueCorrect(const Attribute* attribute, const Object* object,
                                const Value& value) const;

    // Whether `child` may stand in that attribute of `parent`. Here: never.
    virtual bool isObjectCorrect(const Attribute* attribute, const Object* parent,
                                 const Object* child) const;

    // Prints the parameter of that name: numbers in decimal, truth values as "true" or "false".
    // An unknown name leaves the buffer alone, and so does a constraint without parameters.
    virtual void getParamValue(const char* name, char* buffer, unsigned size) const;

    std::uint32_t getId() const { return id; }

private:
    std::uint32_t id;
};

// Makes the constraints of one id. Factories are static objects that stand in a constant table.
class ConstraintFactory {
public:
    // A new constraint with the parameters of one row, owned by the caller. `params` is null for
    // a constraint without parameters and otherwise stays valid as long as the constraint.
    virtual Constraint* getConstraint(const ConstraintParamValue* params) const = 0;

    // The same in an arena: the caller runs the destructor only. Null where the factory does not
    // support it; getConstraint then serves.
    virtual Constraint* getConstraint(const ConstraintParamValue* params, Arena& arena) const;

    // Null for id 0 and for an id without a factory.
    static const ConstraintFactory* getFactory(unsigned id);

    // The description of an id from 1. An id that is not used has an empty name.
    // Requires: id < CONSTRAINT_COUNT.
    static const ConstraintDesc& getDesc(unsigned id);

protected:
    ~ConstraintFactory() = default; // not virtual: factories are static and never deleted
};

// 0 passes when `allowZero`, 0xFFFFFFFF when `allowInfinite`; otherwise minValue to maxValue, both
// included.
class UintIntervalConstraint final : public Constraint {
public:
    explicit UintIntervalConstraint(const ConstraintParamValue* params);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;
    void getParamValue(const char* name, char* buffer, unsigned size) const override;

private:
    std::uint32_t maxValue;
    std::uint32_t minValue;
    bool allowZero;
    bool allowInfinite;
};

// The length of a text, with a null text counting as 0, or the size of a binary string, from
// minLength to maxLength, both included. False for any other value type.
class LengthConstraint final : public Constraint {
public:
    explicit LengthConstraint(const ConstraintParamValue* params);
    bool isValueCorrect(const Attribute* attribute, const Object*,
                        const Value& value) const override;
    void getParamValue(const char* name, char* buffer, unsigned size) const override;

private:
    std::uint32_t maxLength;
    std::uint32_t minLength;
};

// In the following a null text is refused unless told otherwise.

// A valid mail address; an empty text exactly when `allowEmpty`.
class EmailAddressConstraint final : public Constraint {
public:
    explicit EmailAddressConstraint(const ConstraintParamValue* params);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;

private:
    bool allowEmpty;
};

// Refuses a text that starts with a quote. Passes "none" in any case, absolute paths, also with a
// drive letter, and what File::containsRelativePath calls relative.
class PathConstraint final : public Constraint {
public:
    explicit PathConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;
};

// A mailbox name by checkMboxName; "*" when `allowWildcard`.
class MboxPathConstraint final : public Constraint {
public:
    explicit MboxPathConstraint(const ConstraintParamValue* params);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;

private:
    bool allowWildcard;
};

// A domain name. In a `Domain` the name (attribute 0) and the aliases (1) are held apart, and any
// other attribute is refused; without an object, or for another class, the name alone decides.
class DomainNameConstraint final : public Constraint {
public:
    explicit DomainNameConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute* attribute, const Object* object,
                        const Value& value) const override;
};

// A user name of at most 256 bytes.
class RcptNameConstraint final : public Constraint {
public:
    explicit RcptNameConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;
};

// The same for the name (attribute 0) or an alias of a `User` (1) or a `UserV41` (11), which are
// held apart. Refused for any other attribute or class and without an object.
class UserRcptNameConstraint final : public Constraint {
public:
    explicit UserRcptNameConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute* attribute, const Object* object,
                        const Value& value) const override;
};

// A user name of at most 200 bytes for one of the four names of a `Maillist` (attributes 0, 14,
// 15, 16), all of which differ without regard to case. Refused for anything else.
class MaillistRcptNameConstraint final : public Constraint {
public:
    explicit MaillistRcptNameConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute* attribute, const Object* object,
                        const Value& value) const override;
};

// A name of Calendar::timezoneNames in any case, which is corrected to the table's form; or
// "GMT-14" or "GMT-13" in any case, whose fourth byte is changed to "+".
class TimeZoneConstraint final : public Constraint {
public:
    explicit TimeZoneConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;
};

// Passes everything; "GMT-14" and "GMT-13" are corrected as above.
class TimeZoneTransformConstraint final : public Constraint {
public:
    explicit TimeZoneTransformConstraint(const ConstraintParamValue*);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;
};

// A user name of minLength to maxLength bytes; exactly "(none)" when `allowNone`.
class ObjectNameConstraint final : public Constraint {
public:
    explicit ObjectNameConstraint(const ConstraintParamValue* params);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;
    void getParamValue(const char* name, char* buffer, unsigned size) const override;

private:
    std::uint32_t maxLength;
    std::uint32_t minLength;
    bool allowNone;
};

// A condition that MailSearch::parseSearchStream takes; a null or empty text when `allowEmpty`.
class SearchConditionConstraint final : public Constraint {
public:
    explicit SearchConditionConstraint(const ConstraintParamValue* params);
    bool isValueCorrect(const Attribute*, const Object*, const Value& value) const override;

private:
    bool allowEmpty;
};

} // namespace HConfig

#endif
