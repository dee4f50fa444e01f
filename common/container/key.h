// HKey: the abstract key of the search trees, and its two plain kinds. A key is a value: a tree
// owns the key objects that were inserted into it, and `duplicate` makes another one.
//
// Keys of different classes must not meet in one tree. Comparing fails never and sets no error.

#ifndef MORVEX_COMMON_CONTAINER_KEY_H
#define MORVEX_COMMON_CONTAINER_KEY_H

#include <cstdint>

class HKey {
public:
    // Here each operator calls compareTo and tests its result against 0.
    virtual bool operator<(const HKey& other) const;
    virtual bool operator==(const HKey& other) const;
    virtual ~HKey();

    // A new key of the same class and value, owned by the caller.
    virtual HKey* duplicate() const = 0;

    virtual bool operator!=(const HKey& other) const;
    virtual bool operator>(const HKey& other) const;
    virtual bool operator>=(const HKey& other) const;
    virtual bool operator<=(const HKey& other) const;

    // Below 0, 0 or above 0 for this key below, equal to or above the other.
    // Requires: the other key is of the same class.
    virtual int compareTo(const HKey& other) const = 0;

protected:
    HKey() = default;
    HKey(const HKey&) = default;
    HKey& operator=(const HKey&) = default;
};

// A signed number. compareTo gives the 32-bit difference, which wraps.
// Requires: the numbers in one tree lie less than 2^31 apart.
class Int32Key final : public HKey {
public:
    explicit Int32Key(std::int32_t number) : value(number) {}

    bool operator<(const HKey& other) const override;
    bool operator==(const HKey& other) const override;
    Int32Key* duplicate() const override;
    bool operator!=(const HKey& other) const override;
    bool operator>(const HKey& other) const override;
    bool operator>=(const HKey& other) const override;
    bool operator<=(const HKey& other) const override;
    int compareTo(const HKey& other) const override;

    std::int32_t getValue() const { return value; }

private:
    std::int32_t value;
};

// A text that the key does not own: it must outlive the key and all its duplicates. The order is
// that of unsigned bytes up to the terminating zero; compareTo gives -1, 0 or 1.
class StringRefKey final : public HKey {
public:
    // Requires: text is not null.
    explicit StringRefKey(const char* text) : value(text) {}

    StringRefKey* duplicate() const override;
    int compareTo(const HKey& other) const override;

    const char* getValue() const { return value; }

private:
    const char* value;
};

#endif
