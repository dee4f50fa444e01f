// Logging from inside a signal handler.

#ifndef MORVEX_SUBMIT_HANDLER_LOG_H
#define MORVEX_SUBMIT_HANDLER_LOG_H

#include <string_view>

// Writes a line, of at most 80 characters, to a descriptor. A failure changes nothing.
void writeFromHandler(int fd, std::string_view line);

// Sends a text, of at most 80 characters, to the log service with the priority of <syslog.h>, the
// facility mail and the command's identity. syslog(3) may hold its lock, or the interrupted code an
// allocator's, so this goes by the system calls underneath, and never waits; the receiver supplies
// the time. Without a log service the text is lost.
void logFromHandler(int priority, std::string_view text);

#endif
