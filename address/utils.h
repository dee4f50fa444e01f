// Small text, address and file utilities that stand beside the name checks. Free functions with no
// state of their own. Unless one says so, it sets no error and any thread may call it; functions
// that work in place need a text that no other thread reads meanwhile.

#ifndef MORVEX_ADDRESS_UTILS_H
#define MORVEX_ADDRESS_UTILS_H

#include <string>
#include <vector>

class Stream;

namespace Utils {

// --- Mail addresses -----------------------------------------------------------------------------

// Whether a text may be stored as a mail address: a user name, the last "@", which no backslash may
// precede, and a domain name. The text is changed while the call runs and left as it was given.
bool isValidMailAddress(char* address);

// Cuts an address in place at its last "@": `user` and `domain` point into `address`. With no "@",
// or one behind a backslash, `domain` is null and the result true. False for an "@" at the first
// byte, with both null, and for a null address, with neither written.
bool splitMailAddress(char* address, char*& user, char*& domain);

// Puts an IPv4 address in brackets, "1.2.3.4:25" becoming "[1.2.3.4]:25". Any other host stays.
void canonizeMailHost(std::string& host);

// --- Texts --------------------------------------------------------------------------------------

// Copies `text` to `out` with a backslash before each `\` and `"`. `size` is the room at `out` on
// entry and the length written, without the terminator, on return. 0, or -1 where the room may not
// do: copying stops when fewer than 4 bytes are left, `out` is not terminated then and `size`
// stays. Requires: text and out are not null.
int escapeString(const char* text, char* out, int& size);

// Removes the first and the last byte of a text that starts with `"`, in place, whatever the last
// byte is, and returns 0; a lone `"` becomes the empty text. Any other text, and null, gives 1 and
// stays.
int strStrip(char* text);

// Cuts trailing blanks, tabs, CR and LF in place and returns the first byte that is none of them.
// Null gives null.
char* trimString(char* text);

// Cuts the text in place behind its first token (a run of bytes other than blank, tab, CR and LF)
// and returns that token, empty where there is none. Null gives null.
char* firstToken(char* text);

// Turns a pattern with "*" into a regular expression: "." is escaped, "*" becomes ".*", and the
// whole stands between "^" and "$". No other character is touched.
void wildcharToRegex(std::string& text);

// Whether the text, up to its end or to maxLength bytes, is an optional sign and decimal digits, at
// least one. Null is none.
bool isNumber10(const char* text, unsigned int maxLength);

// Appends a number in decimal.
void appendIntToString(std::string& text, unsigned int value);

// Writes a number in decimal, terminated, and returns its length. Where `size` is too small the
// digits are cut and the result is -1; a size below 2 writes the empty text.
// Requires: buffer has room for `size` bytes, and for one in any case.
int intToAscii(char* buffer, unsigned int size, unsigned int value);

// Change the ASCII letters of a text in place and return the text. Null gives null.
char* stringToLower(char* text);
char* stringToUpper(char* text);

// Appends the maximal runs of bytes outside `delimiters` to `out`, in order.
void tokenizeString(const std::string& text, std::vector<std::string>& out,
                    const std::string& delimiters);

// Writes the text in URL form to `out` and returns out's text: ASCII letters and digits stand for
// themselves, a blank becomes "+" with plusForSpace, every other byte "%XX". A null text gives null
// and leaves `out` as it was.
const char* httpUrlEscape(const char* text, std::string& out, bool plusForSpace);

// Undoes httpUrlEscape in place. A "%" with no two hexadecimal digits behind it stays, and the two
// bytes behind it are passed over. Requires: text is not null.
void httpUrlUnescape(char* text);

// Writes a password of ten characters, six of them random, to a buffer of at least 14 bytes; a null
// or a smaller buffer stays as it is. The random digits come from rand(): it is a start value for a
// person to replace, not a secret that withstands an attacker. rand() decides about threads.
void generatePassword(char* buffer, int size);

// --- Hosts and files ----------------------------------------------------------------------------

// The part of a host name before "." and `domain` (compared without regard to case), or the whole
// host where it does not end so. False, with `bucket` as it was, for a null or empty host, an IPv4
// address, and the domain itself. Requires: domain is not null.
bool getBucketNameFromHostName(const char* host, const char* domain, std::string& bucket);

// Opens "templates/LANGUAGE/NAME" under the working directory, read-only and close-on-exec; the
// language is taken in lower case, and null stands for "default". The stream is the caller's, to
// release. Null on failure with the last error set: EINVAL for a null name or a language of more
// than 31 bytes, EACCES for a name that holds a slash or backslash, HE_NAMETOOLONG for a path of
// 1025 bytes or more, else what opening the file left. On success the last error is 0.
Stream* openTemplateFile(const char* name, const char* language);

} // namespace Utils

// A new message id for a host, with its angle brackets, as a new array for the caller to free with
// array delete: "<number@domain>", the number being the time in nanoseconds. Two calls within one
// microsecond give the same number. Requires: domain is not null.
char* generateMessageID(const char* domain);

// Cuts tabs and blanks from the end of a text in place. Null is ignored.
void removeTrailingSpaces(char* text);

#endif
