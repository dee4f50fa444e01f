#include "common/log/log_client.h"

#include "common/log/log_line.h"
#include "common/stream/stream.h"
#include "common/thread/thread.h"

#include <sys/time.h>

#include <cstring>

namespace {

constexpr std::size_t longestName = 32;

time_t wallClock() {
    struct timeval now;
    gettimeofday(&now, nullptr);
    return now.tv_sec;
}

} // namespace

const std::uint8_t LogClient::syslevels[32] = {0, 2, 3, 3, 4, 6, 7, 7, 6, 6, 7, 7, 6, 6, 7, 7,
                                               7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7};

LogClient::LogClient(const char* clientName, int first, const SocketAddr* server, int second)
    : name(nullptr), host("localhost"), stream(nullptr), channel(0), levelMask(0) {
    if (clientName != nullptr) {
        const std::size_t length = strnlen(clientName, longestName);
        name = new char[length + 1];
        std::memcpy(name, clientName, length);
        name[length] = '\0';
    }
    configure(first, server, second);
}

LogClient::~LogClient() {
    delete[] name;
    setStream(nullptr);
}

int LogClient::configure(int, const SocketAddr*, int) {
    Thread::setLastError(HE_INVALOP);
    return -1;
}

void LogClient::setStream(Stream* newStream) {
    if (newStream != nullptr) {
        newStream->addReference();
    }
    if (stream != nullptr) {
        Stream::release(stream);
    }
    stream = newStream;
}

void LogClient::send(const char* line, int length) {
    if (stream != nullptr) {
        stream->writeAll(line, length); // a log line that can't be written is lost, as is its error
    }
}

void LogClient::log(int level, unsigned id, const char* prefix, const char* format,
                    va_list& arguments) {
    if ((level & levelMask) == 0) {
        return;
    }
    LogLine line(level, wallClock(), host, name, id, prefix);
    line.addFormatted(format, arguments);
    send(line.text(), line.length());
}

void LogClient::log(int level, unsigned id, const char* prefix, const char* data, int length) {
    if ((level & levelMask) != 0) {
        logChunk(level, channel, id, prefix, data, length);
    }
}

void LogClient::logChunk(int level, int, unsigned id, const char* prefix, const char* data,
                         int length) {
    if (length <= 0) {
        return;
    }
    LogLine line(level, wallClock(), host, name, id, prefix);
    line.addData(data, length);
    send(line.text(), line.length());
}
