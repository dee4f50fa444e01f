// The command line of postdock as two tables: the options, in the order of the usage text, and the
// argument prefixes of the traditional mail submission command that are taken and dropped.

#ifndef MORVEX_SUBMIT_OPTIONS_H
#define MORVEX_SUBMIT_OPTIONS_H

#include "submit/get_args.h"

extern const getargs_config getArgsConf[];

// Matched before the option table, by prefix: "-o" drops "-oi" and "-oem" too. Ends with null.
extern const char* const ignoreArgs[];

#endif
