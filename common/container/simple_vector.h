// SimpleVector: a plain array that grows by 16 elements, for short lists of results.
//
// The vector owns its array and nothing that the elements point to. There is no capacity field:
// the capacity is the size rounded up to a multiple of 16. No locks; nothing here fails.

#ifndef MORVEX_COMMON_CONTAINER_SIMPLE_VECTOR_H
#define MORVEX_COMMON_CONTAINER_SIMPLE_VECTOR_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

template <class T> class SimpleVector {
public:
    SimpleVector() = default;
    SimpleVector(const SimpleVector&) = delete;
    SimpleVector& operator=(const SimpleVector&) = delete;
    ~SimpleVector() { delete[] data; }

    // Gives the array room for `newCapacity` elements, zeroed behind the old ones. 0 frees it.
    // `size` never changes here: who drops the array sets it to 0 as well.
    // Requires: newCapacity is 0, or a multiple of 16 that is not below size.
    void setDataSize(int newCapacity) {
        static_assert(std::is_trivially_copyable_v<T>, "elements are moved by bytes");
        if (newCapacity == 0) {
            delete[] data;
            data = nullptr;
            return;
        }
        const int capacity = data != nullptr ? (size + 15) & ~15 : 0;
        if (newCapacity == capacity) {
            return;
        }
        T* fresh = new T[static_cast<std::size_t>(newCapacity)]();
        std::copy_n(data, std::min(capacity, newCapacity), fresh);
        delete[] data;
        data = fresh;
    }

    // The array is made anew only where the size crosses a multiple of 16.
    void append(T value) {
        setDataSize((size | 15) + 1);
        data[size] = value; // NOLINT(clang-analyzer-core.NullDereference): that was above 0
        size += 1;
    }

    // Requires: 0 <= index < size.
    T& operator[](int index) { return data[index]; }
    const T& operator[](int index) const { return data[index]; }

    T* data = nullptr;
    std::int32_t size = 0;
};

#endif
