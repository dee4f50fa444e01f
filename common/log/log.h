// Logging for modules that know no client: function pointers, and the functions they start at.
// Each formats its text, cut to 1023 bytes, and logs it to the current thread's client; a thread
// without a client drops it. The Buffer forms log `length` raw bytes. An embedding program may
// point them elsewhere before it starts threads.

#ifndef MORVEX_COMMON_LOG_LOG_H
#define MORVEX_COMMON_LOG_LOG_H

[[gnu::format(printf, 1, 2)]] void debug_logCritical(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void debug_logError(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void debug_logWarning(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void debug_logInfo(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void debug_logProtoIn(const char* format, ...);
[[gnu::format(printf, 1, 2)]] void debug_logProtoOut(const char* format, ...);
void debug_logProtoInBuffer(int length, const char* data);
void debug_logProtoOutBuffer(int length, const char* data);

extern void (*logProtoOutBuffer)(int length, const char* data);
extern void (*logProtoInBuffer)(int length, const char* data);
extern void (*logProtoOut)(const char* format, ...) __attribute__((format(printf, 1, 2)));
extern void (*logProtoIn)(const char* format, ...) __attribute__((format(printf, 1, 2)));
extern void (*logDebug)(const char* format, ...) __attribute__((format(printf, 1, 2)));
extern void (*logInfo)(const char* format, ...) __attribute__((format(printf, 1, 2)));
extern void (*logWarning)(const char* format, ...) __attribute__((format(printf, 1, 2)));
extern void (*logError)(const char* format, ...) __attribute__((format(printf, 1, 2)));
extern void (*logCritical)(const char* format, ...) __attribute__((format(printf, 1, 2)));

#endif
