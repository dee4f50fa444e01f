// Defaults: the starting values of attributes. A row of the schema names at most one by a small id
// with parameters; the attribute owns the instance.
//
// A default is a typed constant that is made once and writes the attribute through the object's
// own operations, so constraints apply: a default that its own constraint refuses leaves the slot
// as it was, without an error. Defaults are immutable and may be used from any thread.

#ifndef MORVEX_CONFIG_DEFAULT_H
#define MORVEX_CONFIG_DEFAULT_H

#include "common/net/inet_addr.h"
#include "common/time/time_of_day.h"
#include "config/arena.h"
#include "config/constraint.h"
#include "config/schema_desc.h"

#include <cstdint>

namespace HConfig {

class Default {
public:
    explicit Default(std::uint32_t defaultId) : id(defaultId) {}
    virtual ~Default() = default;
    Default(const Default&) = delete;
    Default& operator=(const Default&) = delete;

    // Writes the attribute's starting value into `object`.
    virtual void setToDefault(const Attribute* attribute, Object* object) const = 0;

    virtual const DefaultDesc& getDefaultDesc() const;

    std::uint32_t getId() const { return id; }

private:
    std::uint32_t id;
};

// Makes the defaults of one id.
class DefaultFactory {
public:
    // A new default with the parameters of one row, owned by the caller. `params` is null for a
    // default without parameters and otherwise stays valid as long as the default. Runs while a
    // class is being resolved, so it must not ask classes for their attributes.
    virtual Default* getDefault(const DefaultParamValue* params) const = 0;

    // The same in an arena: the caller runs the destructor only. Null where the factory does not
    // support it; getDefault then serves.
    virtual Default* getDefault(const DefaultParamValue* params, Arena& arena) const;

    // Null for id 0 and for an id without a factory: the attribute then starts in its empty form.
    static const DefaultFactory* getFactory(unsigned id);

    // Whether a default of that id writes the same constant at any time: there is none, or it is
    // one of this library's.
    static bool isConstant(unsigned id);

    // The description of an id from 1. Requires: id < DEFAULT_COUNT.
    static const DefaultDesc& getDesc(unsigned id);

    // Gives an id a factory in place of the built-in one, or with null takes it away again. The
    // factory stays the caller's and outlives every Config that is made meanwhile. Requires: 0 < id
    // < DEFAULT_COUNT, and no Config in existence.
    static void registerFactory(unsigned id, const DefaultFactory* factory);

protected:
    ~DefaultFactory() = default; // not virtual: factories are static and never deleted
};

// A number, for number and choice types.
class UintConstantDefault final : public Default {
public:
    explicit UintConstantDefault(const DefaultParamValue* params);
    void setToDefault(const Attribute* attribute, Object* object) const override;

private:
    std::uint32_t value;
};

// A text; the object gets a copy.
class StringConstantDefault final : public Default {
public:
    explicit StringConstantDefault(const DefaultParamValue* params);
    void setToDefault(const Attribute* attribute, Object* object) const override;

private:
    const char* value;
};

// An address and port, parsed once; a text that does not parse gives 0.0.0.0 and port 0.
class IsaConstantDefault final : public Default {
public:
    explicit IsaConstantDefault(const DefaultParamValue* params);
    void setToDefault(const Attribute* attribute, Object* object) const override;

private:
    InetSocketAddr value;
};

// A time of day, parsed once; a text that does not parse gives the time of parsing.
class TimeConstantDefault final : public Default {
public:
    explicit TimeConstantDefault(const DefaultParamValue* params);
    void setToDefault(const Attribute* attribute, Object* object) const override;

private:
    Time value;
};

// The three folders that a purge looks at: "Trash", "Spam", "Deleted Items".
class PurgeFoldersDefault final : public Default {
public:
    explicit PurgeFoldersDefault(const DefaultParamValue*);
    void setToDefault(const Attribute* attribute, Object* object) const override;
};

} // namespace HConfig

#endif
