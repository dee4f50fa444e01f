// Byte tests of header text, used on the way into and out of encoded words, and by the queue.
// Reentrant; they set no error.

#ifndef MORVEX_MESSAGE_TEXT_CHECKS_H
#define MORVEX_MESSAGE_TEXT_CHECKS_H

namespace Utils {

// True if every byte above 0x7F belongs to a sequence of a lead byte, which announces one to five
// continuation bytes, and exactly those. Overlong forms, surrogates and values above U+10FFFF
// pass. Requires: text is zero-terminated.
bool isValidUTF8(unsigned char* text);

// True if none of the length bytes has its top bit set.
bool isASCII(const char* text, unsigned int length);

} // namespace Utils

#endif
