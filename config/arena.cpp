#include "config/arena.h"

namespace HConfig {

namespace {
constexpr std::size_t ALIGNMENT = alignof(std::max_align_t);
constexpr std::size_t CHUNK_SIZE = 32 * 1024;

constexpr std::size_t roundUp(std::size_t size) {
    return (size + ALIGNMENT - 1) & ~(ALIGNMENT - 1);
}
} // namespace

Arena::~Arena() {
    while (chunks != nullptr) {
        Chunk* next = chunks->next;
        ::operator delete(chunks);
        chunks = next;
    }
}

void* Arena::allocate(std::size_t size) {
    size = roundUp(size);
    if (size > left) {
        constexpr std::size_t header = roundUp(sizeof(Chunk));
        const std::size_t room = size > CHUNK_SIZE - header ? size : CHUNK_SIZE - header;
        void* memory = ::operator new(header + room);
        chunks = new (memory) Chunk{chunks};
        free = static_cast<char*>(memory) + header;
        left = room;
    }
    void* block = free;
    free += size;
    left -= size;
    return block;
}

} // namespace HConfig
