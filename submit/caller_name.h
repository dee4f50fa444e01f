// The login name of the caller, as the log and the default sender give it.
//
// The C library asks the name service cache twice, reads how names are looked up, and then reads
// /etc/passwd: nineteen system calls. Where that file is what would be asked first it is read right
// away, and where it has no answer, or a line of it is unusual, the library is asked in full.

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

// The name that a file in the form of passwd(5) has for a uid. Empty where it has none, cannot be
// read, or has a line in front of that one that is in any way unusual: a comment, another source's
// entry, a field too few.
std::string nameInPasswdFile(const char* path, uid_t wanted);

#endif
