// AbstractLogClient: where log text goes. A severity is one bit, so that a client can hold a mask
// of what it wants. The st_ operations log to the client of the current thread, if it has one, so
// that code deep in a library need not be handed a client.
//
// Logging never reports a failure: a thread without a client logs nothing, a text that is too long
// is cut, and the last error stays as it was, so that a failure may be logged before it is
// returned.

#ifndef MORVEX_COMMON_LOG_ABSTRACT_LOG_CLIENT_H
#define MORVEX_COMMON_LOG_ABSTRACT_LOG_CLIENT_H

#include <cstdarg>

enum LogSeverity : int {
    LOG_BIT_CRITICAL = 1,
    LOG_BIT_ERROR = 2,
    LOG_BIT_WARNING = 4,
    LOG_BIT_INFO = 8,
    LOG_BIT_PROTOCOL = 16
};

class AbstractLogClient {
public:
    virtual ~AbstractLogClient();

    // What a client implements; here the last error is its own affair. Both are called through the
    // operations below.
    //
    // Logs a formatted text: `level` is one severity bit, `id` says what the text is about (such as
    // a mail's id), `prefix` may be null.
    virtual void log(int level, unsigned id, const char* prefix, const char* format,
                     va_list& arguments) = 0;
    // Logs `length` bytes as they are; no format, and no NUL needed behind them.
    virtual void log(int level, unsigned id, const char* prefix, const char* data, int length) = 0;

    [[gnu::format(printf, 3, 4)]] void logCritical(unsigned id, const char* format, ...);
    [[gnu::format(printf, 3, 4)]] void logError(unsigned id, const char* format, ...);
    [[gnu::format(printf, 3, 4)]] void logWarning(unsigned id, const char* format, ...);
    [[gnu::format(printf, 3, 4)]] void logInfo(unsigned id, const char* format, ...);
    // Protocol text, with "<< " in front of what came in and ">> " in front of what goes out.
    [[gnu::format(printf, 3, 4)]] void logProtoIn(unsigned id, const char* format, ...);
    [[gnu::format(printf, 3, 4)]] void logProtoOut(unsigned id, const char* format, ...);

    // To the current thread's client, with the id of the thread's record.
    [[gnu::format(printf, 1, 2)]] static void st_logCritical(const char* format, ...);
    [[gnu::format(printf, 1, 2)]] static void st_logError(const char* format, ...);
    [[gnu::format(printf, 1, 2)]] static void st_logWarning(const char* format, ...);
    [[gnu::format(printf, 1, 2)]] static void st_logInfo(const char* format, ...);
    [[gnu::format(printf, 1, 2)]] static void st_logProtoIn(const char* format, ...);
    [[gnu::format(printf, 1, 2)]] static void st_logProtoOut(const char* format, ...);
    static void st_logProtoIn(int length, const char* data);
    static void st_logProtoOut(int length, const char* data);
};

#endif
