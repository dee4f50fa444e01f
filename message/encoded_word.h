// Encoded words of header text (RFC 2047) from and to UTF-8, the form of all header text inside
// the system.
//
// Both directions keep nothing between calls and may run in any number of threads. A malformed or
// undecodable encoded word is no error: it stays in the text as it stands. Text without an encoded
// word costs no charset converter, nor does a word in US-ASCII, UTF-8 or ISO-8859-1; any other
// charset reaches ICU through message/charset.h, and is an unknown charset where ICU is missing.

#ifndef MORVEX_MESSAGE_ENCODED_WORD_H
#define MORVEX_MESSAGE_ENCODED_WORD_H

// The text in a form fit for a header, in a new array for the caller to free with array delete: a
// copy where it is plain ASCII, otherwise one or more "=?utf-8?Q?...?=" words joined by single
// spaces, which are the places where a writer may fold. No character is split between two words,
// and no word is longer than RFC 2047 allows, a last character's own bytes aside. Null for a null
// text.
char* encodeHeader(const char* text);

// The text with its encoded words decoded to UTF-8, in a new array for the caller to free with
// array delete; null for a null text. A result that is not UTF-8 is taken for ISO-8859-1 and
// converted; where that takes more than 4096 bytes, the result is the unconverted text, or null
// with strict true.
char* decodeHeader(const char* text, bool strict);

// The text with its encoded words decoded, in a new array for the caller to free with array
// delete; null for a null text. With wide false the array holds UTF-8, the plain parts as they
// stood, and length counts bytes. With wide true it holds 16-bit units of UTF-16 in the machine's
// byte order, length counts units, and bytes above 0x7F in the plain parts are U+FFFD. Both end in
// a zero that length does not count.
char* decodeHeader(const char* text, int& length, bool wide);

#endif
