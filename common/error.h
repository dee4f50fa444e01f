// The error codes of the system. An operation that fails returns -1 or null and leaves one 32-bit
// code as its thread's last error (common/thread/thread.h: Thread::setLastError and the texts).
// On success the last error is not reset and means nothing.
//
// Three ranges: the platform's errno numbers as they are, twelve of them under a symbol of this
// system; the system's own codes from HE_BASE on; and two codes that say where a free text stands.

#ifndef MORVEX_COMMON_ERROR_H
#define MORVEX_COMMON_ERROR_H

#include <errno.h>

// System codes: the platform's numbers.
inline constexpr unsigned HE_INVALOP = EPERM; // not allowed in the object's present state
inline constexpr unsigned HE_NOENT = ENOENT;
inline constexpr unsigned HE_NOMEM = ENOMEM;
inline constexpr unsigned HE_EEXISTS = EEXIST;
inline constexpr unsigned HE_NOTDIR = ENOTDIR;
inline constexpr unsigned HE_INVAL = EINVAL;
inline constexpr unsigned HE_NFILE = ENFILE;
inline constexpr unsigned HE_MFILE = EMFILE;
inline constexpr unsigned HE_FBIG = EFBIG;
inline constexpr unsigned HE_NAMETOOLONG = ENAMETOOLONG;
inline constexpr unsigned HE_DIR_NOT_EMPTY = ENOTEMPTY;
inline constexpr unsigned HE_TIMEOUT = ETIMEDOUT;

// The system's own codes: bit 29 and the row number.
#define MORVEX_ERROR(n, symbol, message) inline constexpr unsigned symbol = 0x20000000u + (n);
#include "common/error_codes.inc"
#undef MORVEX_ERROR

// The text of the error stands in the thread's text buffer.
inline constexpr unsigned HE_TEXT_SET = 0x20000098;
// The text of the error is got by calling the thread's text function.
inline constexpr unsigned HE_TEXT_FUNC = 0x20000099;

// True for a code that has a row in the table of the system's own codes, an unassigned row
// included: bit 29 is set and the code is not past the last row.
constexpr bool isOwnErrorCode(unsigned code) {
    return (code & HE_BASE) != 0 && code <= HE_SENT_RCPT_EXCEEDED;
}

// The sentence and the symbol of a row. An unassigned row answers as HE_BASE. The texts are
// constant; neither call takes a lock or touches the last error.
// Requires: isOwnErrorCode(code).
const char* ownErrorMessage(unsigned code);
const char* ownErrorSymbol(unsigned code);

// The symbol of one of the twelve named system codes, or null for any other code.
const char* systemErrorSymbol(unsigned code);

#endif
