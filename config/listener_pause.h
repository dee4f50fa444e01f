// ListenerPause: keeps a listener off while it or its object's update runs, so that changes it
// makes itself do not come back to it. At the end of the scope it is as it was.

#ifndef MORVEX_CONFIG_LISTENER_PAUSE_H
#define MORVEX_CONFIG_LISTENER_PAUSE_H

#include "config/callback.h"

namespace HConfig {

class ListenerPause {
public:
    explicit ListenerPause(ObjectCallback& paused) : callback(paused), wasEnabled(paused.enabled) {
        callback.enabled = false;
    }
    ~ListenerPause() { callback.enabled = wasEnabled; }
    ListenerPause(const ListenerPause&) = delete;
    ListenerPause& operator=(const ListenerPause&) = delete;

private:
    ObjectCallback& callback;
    bool wasEnabled;
};

} // namespace HConfig

#endif
