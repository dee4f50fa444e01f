#include "common/log/log.h"

#include "common/log/abstract_log_client.h"
#include "common/log/thread_log.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr int textSize = 1024;

using ClientOperation = void (AbstractLogClient::*)(unsigned id, const char* format, ...);

void logText(ClientOperation operation, const char* text) {
    const ThSpecificLogClient* record = thsLog.get();
    if (record != nullptr && record->client != nullptr) {
        (record->client->*operation)(record->id, "%s", text);
    }
}

} // namespace

#define LOG_FORMATTED(operation)                                                                   \
    char text[textSize];                                                                           \
    va_list arguments;                                                                             \
    va_start(arguments, format);                                                                   \
    std::vsnprintf(text, sizeof(text), format, arguments);                                         \
    va_end(arguments);                                                                             \
    logText(&AbstractLogClient::operation, text)

void debug_logCritical(const char* format, ...) {
    LOG_FORMATTED(logCritical);
}

void debug_logError(const char* format, ...) {
    LOG_FORMATTED(logError);
}

void debug_logWarning(const char* format, ...) {
    LOG_FORMATTED(logWarning);
}

void debug_logInfo(const char* format, ...) {
    LOG_FORMATTED(logInfo);
}

void debug_logProtoIn(const char* format, ...) {
    LOG_FORMATTED(logProtoIn);
}

void debug_logProtoOut(const char* format, ...) {
    LOG_FORMATTED(logProtoOut);
}

void debug_logProtoInBuffer(int length, const char* data) {
    AbstractLogClient::st_logProtoIn(length, data);
}

void debug_logProtoOutBuffer(int length, const char* data) {
    AbstractLogClient::st_logProtoOut(length, data);
}

void (*logProtoOutBuffer)(int, const char*) = debug_logProtoOutBuffer;
void (*logProtoInBuffer)(int, const char*) = debug_logProtoInBuffer;
void (*logProtoOut)(const char*, ...) = debug_logProtoOut;
void (*logProtoIn)(const char*, ...) = debug_logProtoIn;
void (*logDebug)(const char*, ...) = debug_logInfo; // debug text counts as information
void (*logInfo)(const char*, ...) = debug_logInfo;
void (*logWarning)(const char*, ...) = debug_logWarning;
void (*logError)(const char*, ...) = debug_logError;
void (*logCritical)(const char*, ...) = debug_logCritical;
