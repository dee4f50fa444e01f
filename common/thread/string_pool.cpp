#include "common/thread/string_pool.h"

#include "common/thread/object_pool.h"
#include "common/thread/thread.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

constexpr std::size_t headerSize = sizeof(std::int32_t);

// Buffers of N bytes, in blocks of N + 4. The limits count bytes: 16384 buffers of 32 bytes for
// the fullest cache of a thread, half as many for each next size, rounded down.
template <int N> class StringObjectPool final : public BaseObjectPool {
public:
    int minLocalPoolSize() const override { return 4096 * 32 / N; }
    int maxLocalPoolSize() const override { return 16384 * 32 / N; }
    int minGlobalPoolSize() const override { return 16384 * 32 / N; }
    int maxGlobalPoolSize() const override { return 65536 * 32 / N; }
    void destroyObject(void* object) override { ::operator delete[](object); }
    int getSize() const override { return N; }
};

StringObjectPool<32> pool32;
StringObjectPool<64> pool64;
StringObjectPool<128> pool128;
StringObjectPool<256> pool256;
StringObjectPool<512> pool512;
StringObjectPool<1024> pool1024;
StringObjectPool<2048> pool2048;
StringObjectPool<4096> pool4096;
StringObjectPool<8192> pool8192;
StringObjectPool<16386> pool16386; // a scanner's default buffer and its two end bytes
StringObjectPool<32770> pool32770; // the same, doubled once

constexpr int largestPooled = 32770;

// The pool of the smallest buffers that hold `size` bytes, or null.
BaseObjectPool* poolFor(int size) {
    static BaseObjectPool* const bySize[] = {&pool32,   &pool64,    &pool128,  &pool256,
                                             &pool512,  &pool1024,  &pool2048, &pool4096,
                                             &pool8192, &pool16386, &pool32770};
    if (size > largestPooled) {
        return nullptr;
    }
    if (size > 8192) {
        return bySize[size > 16386 ? 10 : 9];
    }
    const unsigned last = size > 32 ? static_cast<unsigned>(size) - 1 : 31;
    return bySize[std::bit_width(last) - 5];
}

char* newBlock(std::size_t size, std::int32_t header) {
    char* block = static_cast<char*>(::operator new[](size + headerSize));
    std::memcpy(block, &header, headerSize);
    return block + headerSize;
}

std::int32_t headerOf(const char* text) {
    std::int32_t header;
    std::memcpy(&header, text - headerSize, headerSize);
    return header;
}

} // namespace

char* getString(int size) {
    const BaseObjectPool* pool = poolFor(size);
    if (pool == nullptr || pool->getId() < 0) {
        const int kept = size > 0 ? size : 1;
        return newBlock(static_cast<std::size_t>(kept), -kept);
    }
    void* block = Thread::getObjectFromPool(pool->getId());
    if (block != nullptr) {
        return static_cast<char*>(block) + headerSize; // its header is still there
    }
    return newBlock(static_cast<std::size_t>(pool->getSize()), pool->getId());
}

void releaseString(const char* text) {
    if (text == nullptr) {
        return;
    }
    void* block = const_cast<char*>(text) - headerSize;
    const std::int32_t header = headerOf(text);
    if (header < 0) {
        ::operator delete[](block);
    } else {
        Thread::putObjectToPool(block, header);
    }
}

char* reallocString(char* text, int size) {
    if (size == 0) {
        releaseString(text);
        return nullptr;
    }
    if (text == nullptr) {
        return getString(size);
    }
    const std::int32_t header = headerOf(text);
    const int room = header < 0 ? -header : BaseObjectPool::pools[header]->getSize();
    if (header < 0 ? size < room : size <= room) {
        return text;
    }
    char* grown = getString(size);
    std::memcpy(grown, text, static_cast<std::size_t>(room));
    releaseString(text);
    return grown;
}
