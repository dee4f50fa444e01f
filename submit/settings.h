// What the command takes from the server's configuration file: where the queue is, how many entry
// directories it has, and the primary domain.
//
// The answers go to the process-wide variables of submit/state.h as copies of their own, so nothing
// of the configuration library is needed afterwards.

#ifndef MORVEX_SUBMIT_SETTINGS_H
#define MORVEX_SUBMIT_SETTINGS_H

class GetArgs;

// Reads the server's file and fills `primary_domain`, `expand_domain`, `queue_path` and
// `queue_entry_count`. A file that is missing (HE_NOENT, HE_NOTDIR) means the server's defaults;
// one that cannot be looked at or read to its end is a failure, since mail for the queue it names
// would be lost in another. Uses the options C (the file) and W (what relative paths hang on, taken
// as it stands), which have defaults, and n (`expand_domain` stays null).
//
// Gives 0, or EX_CONFIG (78) after reporting why; the variables are as before then.
// Requires: HConfig::Config::init; those variables do not own anything yet.
int loadConfig(GetArgs* args);

#endif
