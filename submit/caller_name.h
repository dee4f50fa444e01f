// The login name of the caller, as the log and the default sender give it.
//
// The C library asks the name service cache twice, reads how names are looked up, and then reads
// /etc/passwd: nineteen system calls. Where that file is what would be asked first it is read right
// away, by the C library's own reader of its lines, and only where it has no answer is the library
// asked in full.

#ifndef MORVEX_SUBMIT_CALLER_NAME_H
#define MORVEX_SUBMIT_CALLER_NAME_H

#include <sys/types.h>

#include <string>
#include <string_view>

// The name that getpwuid has for a uid; the uid as a number where there is no entry.
std::string callerName(uid_t uid);

// Whether a name service configuration, the text of an nsswitch.conf(5), lets /etc/passwd answer
// first whenever it has an answer: true only where that is beyond doubt.
bool asksPasswdFileFirst(std::string_view configuration);

#endif
