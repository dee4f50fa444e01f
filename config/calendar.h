// Calendar: the names of the time zones that an attribute may hold. The calendar itself is the
// server's; the configuration only needs to know what is a name.

#ifndef MORVEX_CONFIG_CALENDAR_H
#define MORVEX_CONFIG_CALENDAR_H

namespace Calendar {

constexpr int timezoneNameSize = 32; // with the terminator

// The names in their proper form, the default one first, and how many there are.
extern const char timezoneNames[][timezoneNameSize];
extern const unsigned timezoneDataSize;

} // namespace Calendar

#endif
