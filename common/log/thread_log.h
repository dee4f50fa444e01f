// The log record of each thread: which client, which id and which module the thread works for at
// present. Mail-handling code sets it before it works on a mail. Only its own thread touches it.

#ifndef MORVEX_COMMON_LOG_THREAD_LOG_H
#define MORVEX_COMMON_LOG_THREAD_LOG_H

#include "common/thread/thread_specific_key.h"

#include <cstdint>

class AbstractLogClient;

struct ThSpecificLogClient {
    ThSpecificLogClient();
    ThSpecificLogClient(const ThSpecificLogClient&) = delete;
    ThSpecificLogClient& operator=(const ThSpecificLogClient&) = delete;
    ~ThSpecificLogClient();

    AbstractLogClient* client; // not owned; null logs nothing
    std::uint32_t id;          // passed on every call
    const char* module;        // name of the module at work; not owned, never null
    char* name;                // the thread's logging name; owned, array new
};

class ThSpecificLogClientDataManager final : public Thread::SpecificDataManager {
public:
    void* createData() override;
    void destroyData(void* data) override;
};

// The record of the current thread: made with its Thread, or by Thread::init for all code outside
// any Thread. Null before that.
struct ThreadSpecificKeythsLog;
extern const ThreadSpecificKey<ThSpecificLogClient, ThreadSpecificKeythsLog> thsLog;

#endif
