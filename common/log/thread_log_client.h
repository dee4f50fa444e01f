// ThreadLogClient: hands log text to the process-wide hook Thread::log, with the severity brought
// down to the hook's levels. The id is not used. No state but the mask, so threads may share one
// whose mask does not change.

#ifndef MORVEX_COMMON_LOG_THREAD_LOG_CLIENT_H
#define MORVEX_COMMON_LOG_THREAD_LOG_CLIENT_H

#include "common/log/abstract_log_client.h"

#include <cstdint>

class ThreadLogClient : public AbstractLogClient {
public:
    // Logs the severities in `mask`.
    explicit ThreadLogClient(int mask) : levelMask(mask) {}

    // A text of prefix and data is cut to 1023 bytes.
    void log(int level, unsigned id, const char* prefix, const char* format,
             va_list& arguments) override;
    void log(int level, unsigned id, const char* prefix, const char* data, int length) override;

    void setLevelMask(int mask) { levelMask = mask; }

private:
    std::int32_t levelMask;
};

// The level of Thread::log for a mask of severities: 3 with critical or error in it, else 2 with
// warning, else 1; 0 for an empty mask.
int getSystemLogLevel(int mask);

#endif
