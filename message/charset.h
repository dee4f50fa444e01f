// Charset converters by name, with the system's own table of aliases behind ICU's.
//
// ICU is loaded by the first call that needs it (message/icu.h). Where it cannot be loaded, every
// charset is unknown. The alias map is built once, under Thread::globalCS, and read without a lock
// from then on; it lives to the end of the process.

#ifndef MORVEX_MESSAGE_CHARSET_H
#define MORVEX_MESSAGE_CHARSET_H

#include <unicode/ucnv.h>

class Stream;

// A converter for the caller to close with closeConverter, or null. "GB2312" gives its superset
// GB18030. A name that ICU does not know is looked up in the alias table. *err keeps ICU's code:
// above 0 for an error; U_FILE_ACCESS_ERROR means that no such charset is known.
UConverter* mvx_ucnv_open(const char* name, UErrorCode* err);

// Closes a converter of mvx_ucnv_open; null does nothing.
void closeConverter(UConverter* converter);

// The other name of a charset by the alias table, in either direction, without regard to case; or
// null.
const char* getCharsetAlias(const char* name);

// List the converters that ICU offers and their aliases, on standard output or on a stream. Where
// ICU cannot be loaded the list is empty.
void printSupportedCharsets();
void printSupportedCharsetsToStream(Stream* stream);

// One row of the alias table. The names stand in place: a pointer each would have to be relocated
// at every start, for a table that hardly any run looks at.
struct CharsetAlias {
    char alias[28];
    char canonical[16];
};

constexpr int CHARSET_ALIAS_COUNT = 158;

// The alias table, ended by a row of empty names.
extern const CharsetAlias mozillaCharsetAliasesData[CHARSET_ALIAS_COUNT + 1];

#endif
