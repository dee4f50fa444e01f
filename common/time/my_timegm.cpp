#include "common/time/my_timegm.h"

namespace {

// mktime with a way around local times that don't exist: an hour earlier, and then add it again.
// The instant one second before the epoch, whose right result looks like a failure, takes the same
// way and comes out right. False on failure.
bool localSeconds(std::tm* parts, std::time_t& seconds) {
    parts->tm_isdst = -1;
    seconds = std::mktime(parts);
    if (seconds == -1) {
        parts->tm_hour -= 1;
        seconds = std::mktime(parts);
        if (seconds == -1) {
            return false;
        }
        seconds += 3600;
    }
    return true;
}

} // namespace

std::time_t my_timegm(std::tm* parts) {
    std::time_t local = 0;
    std::tm again{};
    if (!localSeconds(parts, local) || ::gmtime_r(&local, &again) == nullptr) {
        return -1;
    }
    // What the same conversion makes of a known instant tells the error of the first one.
    std::time_t twice = 0;
    return localSeconds(&again, twice) ? 2 * local - twice : -1;
}
