// Base64 (RFC 4648, 4; RFC 2045, 6.8). All calls use the caller's buffer, keep no state and set no
// last error. Reentrant.
//
// Of the two families, the plain one pads with "=". The modified one pads with nothing (pad byte
// 0), as the modified UTF-7 of mailbox names does; its encoder breaks lines.

#ifndef MORVEX_MESSAGE_BASE64_H
#define MORVEX_MESSAGE_BASE64_H

// For each byte its 6-bit value; "=" is 0, and a byte outside the alphabet is 128.
extern const unsigned char base64table[256];

// True for the 64 bytes of the alphabet and for "=".
bool isbase64(unsigned char byte);

// Encodes inLength bytes into out, whose size is *outLength, and adds a zero byte. Returns 0 with
// the length of the text, without that zero byte, in *outLength. With lineBreaks set, CR LF
// follows each 57 bytes of input, so that lines have 76 characters. With pad 0 the padding is zero
// bytes; *outLength counts them, and read as a zero-terminated string the text has none.
// Returns -1 with *outLength 0 for a null in, a length that is not positive, or a null out, and
// -1 with the size needed in *outLength and an empty text in out (if it has a byte of room) where
// out is too small. An input whose text would pass 2 GB is refused as not positive.
int base64encodeBase(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                     unsigned char pad, int lineBreaks);
int base64encode(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                 int lineBreaks);
int base64encodeModified(const unsigned char* in, int inLength, unsigned char* out, int* outLength);

// Decodes inLength bytes into out, whose size is *outLength, and adds a zero byte. Returns 0 with
// the number of bytes in *outLength. CR and LF are skipped; other bytes outside the alphabet fail
// with strict set and are skipped without it. A pad ends the data.
// Returns -1 with *outLength unchanged for a null in, a length that is not positive, or a null
// out; -1 with the size needed in *outLength and an empty text in out (if it has a byte of room)
// where out is too small; and -1 with *outLength 0 and an empty text in out for data that cannot
// be decoded, or that gave no byte by its end.
int base64decodeBase(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                     int strict, unsigned char pad);
int base64decode(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                 int strict);
int base64decodeModified(const unsigned char* in, int inLength, unsigned char* out, int* outLength,
                         int strict);

// Decodes data that arrives in pieces, without error reports: writes whole groups from out on, not
// past outEnd, reads from in on, not past inEnd, and moves both on. Returns the number of bytes
// written. CR and LF are skipped; an unfinished group stays unread, from its first byte on. With
// less than 4 bytes of room in out nothing happens, and the result is 0. A byte outside the
// alphabet, or a pad in the first two places of a group, ends with the result 0 and in at the start
// of that group; what earlier groups of the call gave is in out, which has moved on behind it. A
// pad in the last two places of a group ends the data: in moves behind the group's first pad.
int decodeBase64Ex(unsigned char*& out, const unsigned char* outEnd, const char*& in,
                   const char* inEnd);

#endif
