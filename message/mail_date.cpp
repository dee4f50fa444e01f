// Dates between their written form and seconds, through the C library's break-down calls and the
// local time rules.

#include "message/mail_date.h"

#include "message/date_matcher.h"
#include "message/header_field.h"

#include <strings.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

const char UTC64::month[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char UTC64::weekDay[8][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

namespace {

constexpr int DAY_MINUTES = 1440;

// The value of -1 asks writeFriendly for the local zone.
constexpr int LOCAL_ZONE = -1;

// The offset in seconds of a zone in the form HHMM.
long long zoneSeconds(int zone) {
    return zone / 100 * 3600LL + zone % 100 * 60LL;
}

// A time as seen in a zone; false if it cannot be broken down.
bool breakDown(long long seconds, int zone, std::tm& parts) {
    const std::time_t shifted = static_cast<std::time_t>(seconds + zoneSeconds(zone));
    return ::gmtime_r(&shifted, &parts) != nullptr;
}

int compare(int a, int b) {
    return a < b ? -1 : (a > b ? 1 : 0);
}

// The local zone (HHMM) at a time, with the local time itself. Where that cannot be had, the zone
// is 0, and the parts are zero if it is the local ones that are missing.
int localZone(std::time_t time, std::tm& local) {
    std::tm utc{};
    local = std::tm{};
    if (::localtime_r(&time, &local) == nullptr) {
        local = std::tm{};
        return 0;
    }
    if (::gmtime_r(&time, &utc) == nullptr) {
        return 0;
    }
    int days = compare(local.tm_year, utc.tm_year);
    if (days == 0) {
        days = compare(local.tm_yday, utc.tm_yday);
    }
    int minutes =
        (local.tm_hour - utc.tm_hour) * 60 + local.tm_min - utc.tm_min + days * DAY_MINUTES;
    if (minutes >= DAY_MINUTES) {
        minutes = DAY_MINUTES - 1;
    } else if (minutes <= -DAY_MINUTES) {
        minutes = -(DAY_MINUTES - 1);
    }
    return minutes + minutes / 60 * 40;
}

// mktime, with a second try an hour earlier: -1 is also what it gives for the second before the
// epoch.
std::time_t localSeconds(std::tm* parts) {
    const std::time_t seconds = std::mktime(parts);
    if (seconds != -1) {
        return seconds;
    }
    parts->tm_hour -= 1;
    const std::time_t earlier = std::mktime(parts);
    return earlier == -1 ? -1 : earlier + 3600;
}

// The decimal number of a record's text; one too large for an int counts as the largest.
int numberOf(const ProtocolMatcher& matcher, int type) {
    int offset = 0;
    int length = 0;
    if (matcher.getRecordInfo(type, 0, offset, length) != 0) {
        return 0;
    }
    const char* digits = matcher.getSubject() + offset;
    long long value = 0;
    for (int i = 0; i < length; ++i) {
        value = value * 10 + (digits[i] - '0');
        if (value > INT_MAX) {
            return INT_MAX;
        }
    }
    return static_cast<int>(value);
}

// The index of a three-letter name without regard to case, or -1.
int indexOf(const char (*names)[4], int count, const char* name) {
    for (int i = 0; i < count; ++i) {
        if (::strcasecmp(names[i], name) == 0) {
            return i;
        }
    }
    return -1;
}

struct NamedZone {
    char name[4];
    short zone;
};

constexpr NamedZone NAMED_ZONES[] = {
    {"UT", 0},     {"GMT", 0},    {"EST", -500}, {"EDT", -400}, {"CST", -600},
    {"CDT", -500}, {"MST", -700}, {"MDT", -600}, {"PST", -800}, {"PDT", -700},
};

// The zones of the letters A to Z (RFC 822, 5.1, signs included). J is no zone.
constexpr short LETTER_ZONES[26] = {100,  200,  300,  400,  500,   600,   700,   800,  900,
                                    0,    1000, 1100, 1200, -100,  -200,  -300,  -400, -500,
                                    -600, -700, -800, -900, -1000, -1100, -1200, 0};

int zoneOfName(const char* name) {
    for (const NamedZone& row : NAMED_ZONES) {
        if (::strcasecmp(row.name, name) == 0) {
            return row.zone;
        }
    }
    return LETTER_ZONES[(name[0] | 0x20) - 'a'];
}

// The numbers of DateMatcher's records.
enum Record { DAY_NAME, DAY, MONTH_NAME, YEAR, HOUR, MINUTE, SECOND, ZONE_NAME, SIGN, OFFSET };

int zoneOf(const ProtocolMatcher& matcher) {
    if (matcher.getRecordCount(ZONE_NAME) > 0) {
        return zoneOfName(matcher.getRecord(ZONE_NAME, 0));
    }
    int offset = 0;
    int digits = 0;
    matcher.getRecordInfo(OFFSET, 0, offset, digits);
    // Three digits are HMM and four HHMM: as a decimal number both are the zone as it is kept.
    const int zone = digits >= 3 ? numberOf(matcher, OFFSET) : 0;
    return *matcher.getRawRecord(SIGN, 0) == '-' ? -zone : zone;
}

} // namespace

MailDate::MailDate() : seconds(0), zone(0), text() {
}

void MailDate::format(const char* pattern, ...) {
    va_list values;
    va_start(values, pattern);
    std::vsnprintf(text, sizeof text, pattern, values);
    va_end(values);
}

// The fields of a local time, read as UTC, are its own seconds and the offset that it was broken
// down with. That is the sum of my_timegm, without the error that it has near a change of the
// zone's standard time, and without mktime's looks at the time zone file.
void MailDate::now() {
    const std::time_t present = std::time(nullptr);
    std::tm local;
    zone = localZone(present, local);
    const bool known = local.tm_mday > 0;
    seconds = (known ? present + local.tm_gmtoff : my_timegm(&local)) - zoneSeconds(zone);
}

int MailDate::set(std::tm t, int newZone) {
    zone = newZone;
    const long long converted = my_timegm(&t);
    if (converted == -1) {
        return -1;
    }
    seconds = converted - zoneSeconds(zone);
    return 0;
}

int MailDate::parseDate(const char* date) {
    const std::unique_ptr<char[]> plain(hstrdupNoComments(date));
    if (plain == nullptr) {
        return -1;
    }
    DateMatcher matcher;
    matcher.setSubject(plain.get(), false);
    return matcher.match(this);
}

int MailDate::matchDate(ProtocolMatcher* matcher) {
    std::tm parts{};
    if (matcher->getRecordCount(DAY_NAME) > 0) {
        parts.tm_wday = indexOf(UTC64::weekDay, 7, matcher->getRecord(DAY_NAME, 0));
    }
    parts.tm_mon = indexOf(UTC64::month, 12, matcher->getRecord(MONTH_NAME, 0));
    parts.tm_mday = numberOf(*matcher, DAY);
    // Two-digit years and their obsolete kin (RFC 2822, 4.3).
    const int year = numberOf(*matcher, YEAR);
    parts.tm_year = year >= 1900 ? year - 1900 : (year < 50 ? year + 100 : year);
    parts.tm_hour = numberOf(*matcher, HOUR);
    parts.tm_min = numberOf(*matcher, MINUTE);
    parts.tm_sec = matcher->getRecordCount(SECOND) > 0 ? numberOf(*matcher, SECOND) : 0;
    zone = zoneOf(*matcher);
    seconds = my_timegm(&parts) - zoneSeconds(zone);
    return 0;
}

const char* MailDate::write() {
    std::tm parts;
    if (!breakDown(seconds, zone, parts)) {
        return nullptr;
    }
    const long long magnitude = zone < 0 ? -static_cast<long long>(zone) : zone;
    format("%s, %d %s %lld %02d:%02d:%02d %s%04lld", UTC64::weekDay[parts.tm_wday], parts.tm_mday,
           UTC64::month[parts.tm_mon], parts.tm_year + 1900LL, parts.tm_hour, parts.tm_min,
           parts.tm_sec, zone < 0 ? "-" : "+", magnitude);
    return text;
}

const char* MailDate::writeFriendly(int shownZone, int style) {
    const std::time_t present = std::time(nullptr);
    std::tm today;
    std::tm parts;
    if (shownZone == LOCAL_ZONE) {
        shownZone = localZone(present, today);
    }
    if (!breakDown(present, shownZone, today) || !breakDown(seconds, shownZone, parts)) {
        return nullptr;
    }
    const char* day = UTC64::weekDay[parts.tm_wday];
    const char* month = UTC64::month[parts.tm_mon];
    const unsigned monthDay = static_cast<unsigned>(parts.tm_mday);
    const unsigned long long year = static_cast<unsigned long long>(parts.tm_year + 1900LL);
    if (parts.tm_year != today.tm_year) {
        if (style == 1) {
            format("%s %2u %4llu", month, monthDay, year);
        } else {
            format("%2u %s %4llu", monthDay, month, year);
        }
    } else if (parts.tm_mon == today.tm_mon && parts.tm_mday == today.tm_mday) {
        format("%2u:%02u", static_cast<unsigned>(parts.tm_hour),
               static_cast<unsigned>(parts.tm_min));
    } else if (style == 1) {
        format("%s, %s %2u", day, month, monthDay);
    } else {
        format("%s, %2u %s", day, monthDay, month);
    }
    return text;
}

const char* MailDate::getASDateTime() {
    std::memset(text, 0, sizeof text);
    std::tm parts;
    if (!breakDown(seconds, 0, parts)) {
        return nullptr;
    }
    format("%04lld-%02d-%02dT%02d:%02d:%02d.000Z", parts.tm_year + 1900LL, parts.tm_mon + 1,
           parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}

// What mktime makes of a UTC time is wrong by the local zone; the same conversion of an instant
// whose right value is known measures by how much.
long long MailDate::my_timegm(std::tm* t) {
    t->tm_isdst = 0;
    const std::time_t local = localSeconds(t);
    if (local == -1) {
        return -1;
    }
    std::tm again;
    if (::gmtime_r(&local, &again) == nullptr) {
        return -1;
    }
    again.tm_isdst = 0;
    const std::time_t twice = localSeconds(&again);
    return twice == -1 ? -1 : static_cast<long long>(local) + (local - twice);
}
