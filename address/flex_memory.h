// Memory of the generated scanners: each block comes from the per-thread string pools, so that a
// scanner that is made again takes over the blocks of the one before.
//
// The pools hand out bytes with no alignment to speak of, while a scanner keeps structures in its
// blocks. A block here is therefore taken 16 bytes larger and moved up to a multiple of 16; the
// byte below it says how far. Never gives null: the memory layer below does not.

#ifndef MORVEX_ADDRESS_FLEX_MEMORY_H
#define MORVEX_ADDRESS_FLEX_MEMORY_H

#include <cstddef>

// A block aligned for any type. Requires: size is below 2^31 - 64.
void* flexAllocate(std::size_t size);

// The block with room for `size` bytes, its content kept; null acts as flexAllocate.
// Requires: size is not below the block's present size.
void* flexReallocate(void* block, std::size_t size);

// Gives the block back; null is ignored.
void flexFree(void* block);

#endif
