// The command's one way to complain.

#ifndef MORVEX_SUBMIT_REPORT_H
#define MORVEX_SUBMIT_REPORT_H

// Says the same text twice: on standard error, with a newline behind it, and to syslog at LOG_ERR,
// without one. The format is printf's. Leaves errno as it was, and works with either channel
// closed.
void report(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
