#include "common/log/thread_log_client.h"

#include "common/thread/thread.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// A text of up to 1023 bytes, its prefix included.
class Text {
public:
    explicit Text(const char* prefix) {
        if (prefix != nullptr) {
            used = strnlen(prefix, sizeof(buffer) - 1);
            std::memcpy(buffer, prefix, used);
        }
        buffer[used] = '\0';
    }

    void addFormatted(const char* format, va_list& arguments) {
        std::vsnprintf(buffer + used, sizeof(buffer) - used, format, arguments);
    }
    void addData(const char* data, int length) {
        const std::size_t taken =
            std::min(static_cast<std::size_t>(std::max(length, 0)), sizeof(buffer) - 1 - used);
        if (taken > 0) {
            std::memcpy(buffer + used, data, taken);
        }
        buffer[used + taken] = '\0';
    }
    const char* get() const { return buffer; }

private:
    std::size_t used = 0;
    char buffer[1024];
};

} // namespace

int getSystemLogLevel(int mask) {
    if (mask == 0) {
        return 0;
    }
    if ((mask & (LOG_BIT_CRITICAL | LOG_BIT_ERROR)) != 0) {
        return 3;
    }
    return (mask & LOG_BIT_WARNING) != 0 ? 2 : 1;
}

void ThreadLogClient::log(int level, unsigned, const char* prefix, const char* format,
                          va_list& arguments) {
    if ((level & levelMask) == 0) {
        return;
    }
    Text text(prefix);
    text.addFormatted(format, arguments);
    Thread::log(getSystemLogLevel(level), "%s", text.get());
}

void ThreadLogClient::log(int level, unsigned, const char* prefix, const char* data, int length) {
    if ((level & levelMask) == 0) {
        return;
    }
    Text text(prefix);
    text.addData(data, length);
    Thread::log(getSystemLogLevel(level), "%s", text.get());
}
