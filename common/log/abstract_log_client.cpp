#include "common/log/abstract_log_client.h"

#include "common/log/thread_log.h"

#include <cerrno>

namespace {

// Brings the last error back at the end of the scope.
class KeptError {
public:
    KeptError() = default;
    KeptError(const KeptError&) = delete;
    KeptError& operator=(const KeptError&) = delete;
    ~KeptError() { errno = code; }

private:
    const int code = errno;
};

constexpr const char* incoming = "<< ";
constexpr const char* outgoing = ">> ";

} // namespace

AbstractLogClient::~AbstractLogClient() = default;

// A variadic function can't hand its arguments to another one by a call, so each of the twelve
// operations below takes them up itself; these macros are what they have in common.
#define LOG_WITH_ID(level, prefix)                                                                 \
    const KeptError kept;                                                                          \
    va_list arguments;                                                                             \
    va_start(arguments, format);                                                                   \
    log(level, id, prefix, format, arguments);                                                     \
    va_end(arguments)

#define LOG_TO_THREAD(level, prefix)                                                               \
    const ThSpecificLogClient* record = thsLog.get();                                              \
    if (record != nullptr && record->client != nullptr) {                                          \
        const KeptError kept;                                                                      \
        va_list arguments;                                                                         \
        va_start(arguments, format);                                                               \
        record->client->log(level, record->id, prefix, format, arguments);                         \
        va_end(arguments);                                                                         \
    }

void AbstractLogClient::logCritical(unsigned id, const char* format, ...) {
    LOG_WITH_ID(LOG_BIT_CRITICAL, nullptr);
}

void AbstractLogClient::logError(unsigned id, const char* format, ...) {
    LOG_WITH_ID(LOG_BIT_ERROR, nullptr);
}

void AbstractLogClient::logWarning(unsigned id, const char* format, ...) {
    LOG_WITH_ID(LOG_BIT_WARNING, nullptr);
}

void AbstractLogClient::logInfo(unsigned id, const char* format, ...) {
    LOG_WITH_ID(LOG_BIT_INFO, nullptr);
}

void AbstractLogClient::logProtoIn(unsigned id, const char* format, ...) {
    LOG_WITH_ID(LOG_BIT_PROTOCOL, incoming);
}

void AbstractLogClient::logProtoOut(unsigned id, const char* format, ...) {
    LOG_WITH_ID(LOG_BIT_PROTOCOL, outgoing);
}

void AbstractLogClient::st_logCritical(const char* format, ...) {
    LOG_TO_THREAD(LOG_BIT_CRITICAL, nullptr)
}

void AbstractLogClient::st_logError(const char* format, ...) {
    LOG_TO_THREAD(LOG_BIT_ERROR, nullptr)
}

void AbstractLogClient::st_logWarning(const char* format, ...) {
    LOG_TO_THREAD(LOG_BIT_WARNING, nullptr)
}

void AbstractLogClient::st_logInfo(const char* format, ...) {
    LOG_TO_THREAD(LOG_BIT_INFO, nullptr)
}

void AbstractLogClient::st_logProtoIn(const char* format, ...) {
    LOG_TO_THREAD(LOG_BIT_PROTOCOL, incoming)
}

void AbstractLogClient::st_logProtoOut(const char* format, ...) {
    LOG_TO_THREAD(LOG_BIT_PROTOCOL, outgoing)
}

void AbstractLogClient::st_logProtoIn(int length, const char* data) {
    const ThSpecificLogClient* record = thsLog.get();
    if (record != nullptr && record->client != nullptr) {
        const KeptError kept;
        record->client->log(LOG_BIT_PROTOCOL, record->id, incoming, data, length);
    }
}

void AbstractLogClient::st_logProtoOut(int length, const char* data) {
    const ThSpecificLogClient* record = thsLog.get();
    if (record != nullptr && record->client != nullptr) {
        const KeptError kept;
        record->client->log(LOG_BIT_PROTOCOL, record->id, outgoing, data, length);
    }
}
