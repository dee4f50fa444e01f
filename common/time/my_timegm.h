// my_timegm: the inverse of gmtime_r, worked out from mktime and the local time rules alone.

#ifndef MORVEX_COMMON_TIME_MY_TIMEGM_H
#define MORVEX_COMMON_TIME_MY_TIMEGM_H

#include <ctime>

// The seconds since the Unix epoch of a broken-down time read as UTC, or -1 where it cannot be
// converted. `parts` is normalised as by mktime, with its daylight flag overwritten, and is not of
// use afterwards. Sets no error. Reads the process's zone state, as mktime does.
//
// In the hour or two after the local clock changes between summer and winter time the result can
// be off by that change: the correction is measured at an instant on the other side of it.
std::time_t my_timegm(std::tm* parts);

#endif
