// The operations of ICU that the system uses, reached through the dynamic loader.
//
// Loading ICU with the program costs more than all the rest of a short run, and nearly no message
// needs it; so it is loaded by the first call of loadIcu and stays to the end of the process. The
// names of the library and of its entry points carry ICU's version; they are taken from the
// headers that the system is built with. Any thread may call; the first calls may run together.

#ifndef MORVEX_MESSAGE_ICU_H
#define MORVEX_MESSAGE_ICU_H

#include <unicode/ucnv.h>

// The entry points, each with the type of its declaration in <unicode/ucnv.h>.
struct Icu {
    decltype(&::ucnv_open) open;
    decltype(&::ucnv_close) close;
    decltype(&::ucnv_convert) convert;
    decltype(&::ucnv_convertEx) convertEx;
    decltype(&::ucnv_toUChars) toUChars;
    decltype(&::ucnv_countAvailable) countAvailable;
    decltype(&::ucnv_getAvailableName) getAvailableName;
    decltype(&::ucnv_countAliases) countAliases;
    decltype(&::ucnv_getAlias) getAlias;
};

// The table, or null where ICU or one of its entry points cannot be found. A failure is final for
// the process.
const Icu* loadIcu();

// True once loadIcu has loaded the library.
bool isIcuLoaded();

#endif
