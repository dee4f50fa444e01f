// Pooled text buffers, for scanners and others that need buffers often and briefly. A buffer of up
// to 32770 bytes comes from one of eleven pools by size; a longer one is allocated for itself. In
// front of each buffer stand four bytes: the pool's id, or the size as a negative number.
//
// A buffer is aligned for bytes only. It may be released on another thread than it was got on. On
// a thread outside any Thread a released buffer is freed at once. Out of memory is the affair of
// operator new; nothing else fails here.

#ifndef MORVEX_COMMON_THREAD_STRING_POOL_H
#define MORVEX_COMMON_THREAD_STRING_POOL_H

// A buffer of at least `size` bytes, its content undefined. A size below 1 counts as 1.
char* getString(int size);

// Gives a buffer of getString or reallocString back; null is ignored.
void releaseString(const char* text);

// A buffer of at least `size` bytes with the content of `text`, which must not be used any more
// unless it is what is returned. Size 0 releases `text` and gives null; a null `text` is getString.
// A size that `text` already has room for gives `text` itself.
char* reallocString(char* text, int size);

#endif
