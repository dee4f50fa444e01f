// How much memory the machine has, as a file in the form of /proc/meminfo tells it. Internal to
// the memory system and its tests.

#ifndef MORVEX_COMMON_MEMORY_SYSTEM_MEMORY_H
#define MORVEX_COMMON_MEMORY_SYSTEM_MEMORY_H

// The bytes of the file's "MemTotal" line, at most 0xFFFFFFFF; 0 where the file or such a line
// cannot be read.
unsigned long long readMemTotal(const char* path);

#endif
