#include "submit/report.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

void report(const char* format, ...) {
    const int savedError = errno;
    va_list args;
    va_start(args, format);
    std::vfprintf(stderr, format, args);
    va_end(args);
    std::fputc('\n', stderr);
    va_start(args, format);
    vsyslog(LOG_ERR, format, args);
    va_end(args);
    errno = savedError;
}
