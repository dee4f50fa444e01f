// Value: the untyped 64-bit slot in which a configuration object keeps one attribute. 0 is empty.
//
// A slot owns nothing by itself and is copied bit by bit. What it holds is told by its attribute:
// a number in the low half, a pointer that the attribute's value handler owns, an owned Object,
// ValueSet or ObjectSet. Reading a slot as something it does not hold is undefined.

#ifndef MORVEX_CONFIG_VALUE_H
#define MORVEX_CONFIG_VALUE_H

#include <cstdint>

namespace HConfig {

class Value {
public:
    constexpr Value() = default;
    constexpr explicit Value(std::uint32_t number) : bits(number) {}
    constexpr explicit Value(std::int32_t number) : bits(static_cast<std::uint32_t>(number)) {}
    // The slot borrows what `pointer` names; only a handler makes an owned copy of it.
    explicit Value(const void* pointer) : bits(reinterpret_cast<std::uintptr_t>(pointer)) {}

    constexpr bool isEmpty() const { return bits == 0; }

    // Marks are slots that no value of any type has: no number fills the upper half and no object
    // lies there. Requires: mark < 256.
    static constexpr Value ofMark(unsigned mark) {
        Value value;
        value.bits = FIRST_MARK + mark;
        return value;
    }
    constexpr bool isMark() const { return bits >= FIRST_MARK; }

    constexpr std::uint32_t asUnsigned() const { return static_cast<std::uint32_t>(bits); }
    constexpr std::int32_t asInt() const { return static_cast<std::int32_t>(asUnsigned()); }
    // Null for an empty slot.
    const char* asText() const { return as<const char>(); }
    template <class T> T* as() const {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a slot is a number or a pointer
        return reinterpret_cast<T*>(static_cast<std::uintptr_t>(bits));
    }

    // The same bits, which for pointers means the same thing pointed to.
    friend constexpr bool operator==(const Value&, const Value&) = default;

private:
    static constexpr std::uint64_t FIRST_MARK = ~std::uint64_t{0xFF};

    std::uint64_t bits = 0;
};

} // namespace HConfig

#endif
