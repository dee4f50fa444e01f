// CRC32: the reflected CRC-32 of IEEE 802.3 (polynomial 0xEDB88320), which the queue runs over
// message data. Pure functions over constant tables: any thread may call them, nothing fails.

#ifndef MORVEX_COMMON_CONTAINER_CRC32_H
#define MORVEX_COMMON_CONTAINER_CRC32_H

// The checksum of `length` bytes. The register starts as initial ^ xorValue, and the result is the
// register ^ xorValue, so a length of 0 gives `initial` back. With 0xFFFFFFFF as `xorValue`, 0 as
// the first `initial` and the previous result as each later one, a text cut into any pieces gives
// the standard CRC-32 of the whole.
unsigned int CRC32(const unsigned char* data, int length, unsigned int initial,
                   unsigned int xorValue);

// The same with each byte folded to lower case first.
unsigned int caseCRC32(const unsigned char* data, int length, unsigned int initial,
                       unsigned int xorValue);

#endif
