// Arena: memory for the registry of classes and attributes, which all goes away at once. Blocks
// are cut from large chunks and are never given back one by one.
//
// The arena runs no destructors. Not safe for threads: its owner guards it.

#ifndef MORVEX_CONFIG_ARENA_H
#define MORVEX_CONFIG_ARENA_H

#include <cstddef>
#include <new>
#include <utility>

namespace HConfig {

class Arena {
public:
    Arena() = default;
    ~Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // `size` bytes, aligned for any object and not cleared. Throws std::bad_alloc without memory.
    void* allocate(std::size_t size);

    // A new object whose destructor the caller runs, if it has anything to do.
    template <class T, class... Args> T* make(Args&&... args) {
        return new (allocate(sizeof(T))) T(std::forward<Args>(args)...);
    }

    // Uninitialised room for `count` elements.
    template <class T> T* makeRoom(std::size_t count) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): elements may be pointers
        return static_cast<T*>(allocate(count * sizeof(T)));
    }

private:
    struct Chunk {
        Chunk* next;
    };

    Chunk* chunks = nullptr;
    char* free = nullptr;
    std::size_t left = 0;
};

} // namespace HConfig

#endif
