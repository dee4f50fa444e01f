#include "common/time/my_timegm.h"

namespace {

// mktime with a way around local times that don't exist: an hour earlier, and then add it again.
// The same step covers the instant one second before the epoch, whose right result looks like a
// failure. -1 on failure.
std::time_t localSeconds(std::tm* parts) {
    parts->tm_isdst = -1;
    std::time_t seconds = std::mktime(parts);
    if (seconds != -1) {
        return seconds;
    }
    parts->tm_hour -= 1;
    seconds = std::mktime(parts);
    return seconds == -1 ? -1 : seconds + 3600;
}

} // namespace

std::time_t my_timegm(std::tm* parts) {
    const std::time_t local = localSeconds(parts);
    if (local == -1) {
        return -1;
    }
    std::tm again{};
    if (::gmtime_r(&local, &again) == nullptr) {
        return -1;
    }
    // What the same conversion makes of a known instant tells the error of the first one.
    const std::time_t twice = localSeconds(&again);
    return twice == -1 ? -1 : 2 * local - twice;
}
