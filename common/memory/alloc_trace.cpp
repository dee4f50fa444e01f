// The interface of a tracing allocator: a switch, and a list of blocks that nothing fills.

#include "common/memory/memory_state.h"
#include "common/memory/memory_system.h"

#include <limits>

constinit bool allocTraceActivated = false;
constinit unsigned long allocThreshold = std::numeric_limits<unsigned long>::max();
constinit std::uint32_t allocTraceAge = 0;
constinit AllocTraceData* allocTraceRoot = nullptr;

AllocIterator::~AllocIterator() = default;

void enableAllocTrace(unsigned long threshold) {
    allocTraceActivated = true;
    allocThreshold = threshold;
}

void disableAllocTrace() {
    allocThreshold = std::numeric_limits<unsigned long>::max();
    ++allocTraceAge;
    allocTraceRoot = nullptr;
}

void iterateAllocations(AllocIterator& iterator) {
    for (AllocTraceData* block = allocTraceRoot; block != nullptr; block = block->next) {
        iterator.visit(block + 1, block->size, block->file, block->line);
    }
}

int memoryAllocCheck(bool, unsigned& damaged) {
    damaged = 0;
    return memory_state::mvxAllocCheck ? 0 : -1;
}
