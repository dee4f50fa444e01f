// LogClient: builds the system's log line and hands it to a stream. The line is what a log server
// reads; its fields stand back to back:
//
//     <08>02-03 09:05:07 +0200 localhost queue:0000002A: text\n
//
// that is the severity bit, the local date and time with the zone, the host between blanks, the
// client's name, the id, and the text behind its prefix. A line is at most 1151 bytes.
//
// No transport is part of this library: configure fails, and an embedding program that has a
// connection hands its stream to setStream and says by setLevelMask what it wants logged. Without
// a mask no line is built, and without a stream a line is dropped.
//
// Threads: no lock is held. A line is built on the caller's stack; writing it is one writeAll, and
// a stream that several threads log to must take that.

#ifndef MORVEX_COMMON_LOG_LOG_CLIENT_H
#define MORVEX_COMMON_LOG_LOG_CLIENT_H

#include "common/log/abstract_log_client.h"

#include <cstdint>

class SocketAddr;
class Stream;

class LogClient : public AbstractLogClient {
public:
    // The syslog priority for each mask of severities.
    static const std::uint8_t syslevels[32];

    // Keeps the first 32 bytes of `clientName`, which may be null. The other arguments go to
    // configure, whose result is left in the last error.
    LogClient(const char* clientName, int first, const SocketAddr* server, int second);
    LogClient(const LogClient&) = delete;
    LogClient& operator=(const LogClient&) = delete;
    ~LogClient() override;

    void log(int level, unsigned id, const char* prefix, const char* format,
             va_list& arguments) override;
    void log(int level, unsigned id, const char* prefix, const char* data, int length) override;

    // Sets up the connection to a log server: always -1 with HE_INVALOP here.
    int configure(int first, const SocketAddr* server, int second);

    // Logs one line of raw data without a test of the mask. Nothing for a length of 0 or less. Data
    // beyond the line's end is dropped, and such a line has no line feed.
    void logChunk(int level, int toChannel, unsigned id, const char* prefix, const char* data,
                  int length);

    // Takes a reference to the stream that gets the lines; null stops them. The old one is let go.
    void setStream(Stream* newStream);
    void setLevelMask(int mask) { levelMask = mask; }
    int getLevelMask() const { return levelMask; }

private:
    void send(const char* line, int length);

    char* name;       // owned, or null
    const char* host; // this machine's name in the line
    Stream* stream;   // a reference is held; null until a transport is set
    std::int32_t channel;
    std::int32_t levelMask;
};

#endif
