#include "common/time/date_time.h"

#include "common/time/my_timegm.h"
#include "common/time/pattern_output.h"
#include "message/date_matcher.h"

#include <strings.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>

const std::uint8_t DateTime::MONTH_LENGHTS[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

const char DateTime::MONTH_NAMES[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

const char DateTime::WEEK_DAY_NAMES[7][4] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

namespace {

constexpr unsigned long long secondsPerDay = 86400;

bool isLeapYear(unsigned year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// The sum wraps for the last years that fit the field; gmtime_r does reach them.
unsigned calendarYear(std::int32_t year) {
    return static_cast<unsigned>(year) + 1900;
}

// Seconds of a zone in minutes, for sums in the unsigned numbers of instants, where a zone west of
// Greenwich wraps and comes out right all the same.
unsigned long long zoneSeconds(int zone) {
    return static_cast<unsigned long long>(static_cast<long long>(zone) * 60);
}

} // namespace

bool DateTime::isValidDateTime(unsigned year, unsigned month, unsigned day, unsigned hours,
                               unsigned minutes, unsigned seconds, int zone) {
    if (month >= 12) {
        return false;
    }
    const unsigned days = month == 1 && isLeapYear(year) ? 29 : MONTH_LENGHTS[month];
    return day <= days && hours < 24 && minutes < 60 && seconds < 62 && zone >= -1439 &&
           zone <= 1439;
}

int DateTime::getMonthDays(unsigned month, unsigned year) {
    if (month < 1 || month > 12) {
        return -1;
    }
    return month == 2 && year != 0 && isLeapYear(year) ? 29 : MONTH_LENGHTS[month - 1];
}

DateTime::DateTime(unsigned givenYear, unsigned givenMonth, unsigned givenDay, unsigned givenHours,
                   unsigned givenMinutes, unsigned givenSeconds, int givenZone) {
    const unsigned month0 = givenMonth == 0 ? 0 : givenMonth - 1;
    if (!isValidDateTime(givenYear, month0, givenDay, givenHours, givenMinutes, givenSeconds,
                         givenZone)) {
        setToNow();
        return;
    }
    year = static_cast<std::int32_t>(givenYear - 1900);
    month = static_cast<std::uint8_t>(month0);
    day = static_cast<std::uint8_t>(givenDay);
    hours = static_cast<std::uint8_t>(givenHours);
    minutes = static_cast<std::uint8_t>(givenMinutes);
    seconds = static_cast<std::uint8_t>(givenSeconds);
    zone = static_cast<std::int16_t>(givenZone);
    weekDay = computeWeekDay();
}

DateTime::DateTime(unsigned long long utcSeconds) {
    if (utcSeconds != 1) {
        setLocaltime(utcSeconds);
    }
}

// The fields as they stand, whatever zone they are in.
std::tm DateTime::brokenDown() const {
    std::tm parts{};
    parts.tm_year = year;
    parts.tm_mon = month;
    parts.tm_mday = day;
    parts.tm_hour = hours;
    parts.tm_min = minutes;
    parts.tm_sec = seconds;
    return parts;
}

void DateTime::assign(const std::tm& parts, int zoneMinutes) {
    year = parts.tm_year;
    month = static_cast<std::uint8_t>(parts.tm_mon);
    day = static_cast<std::uint8_t>(parts.tm_mday);
    weekDay = static_cast<std::uint8_t>(parts.tm_wday);
    hours = static_cast<std::uint8_t>(parts.tm_hour);
    minutes = static_cast<std::uint8_t>(parts.tm_min);
    seconds = static_cast<std::uint8_t>(parts.tm_sec);
    zone = static_cast<std::int16_t>(zoneMinutes);
}

// The epoch day was a Thursday.
std::uint8_t DateTime::computeWeekDay() const {
    return static_cast<std::uint8_t>(((zoneSeconds(zone) + getUTC()) / secondsPerDay + 4) % 7);
}

unsigned long long DateTime::getUTC() const {
    std::tm parts = brokenDown();
    const std::time_t local = my_timegm(&parts);
    const std::time_t instant = local - std::time_t{zone} * 60;
    return local < 0 || instant < 0 ? 0 : static_cast<unsigned long long>(instant);
}

void DateTime::setLocaltime(unsigned long long utcSeconds) {
    auto instant = static_cast<std::time_t>(utcSeconds);
    std::tm parts{};
    if (::localtime_r(&instant, &parts) == nullptr) {
        instant = 0;
        if (::localtime_r(&instant, &parts) == nullptr) {
            assign(std::tm{}, 0);
            return;
        }
    }
    std::tm copy = parts;
    assign(parts, static_cast<int>((my_timegm(&copy) - instant) / 60));
}

void DateTime::setGMT(unsigned long long utcSeconds) {
    auto instant = static_cast<std::time_t>(utcSeconds);
    std::tm parts{};
    if (::gmtime_r(&instant, &parts) == nullptr) {
        instant = 0;
        if (::gmtime_r(&instant, &parts) == nullptr) {
            parts = {};
        }
    }
    assign(parts, 0);
}

void DateTime::setToNow() {
    setLocaltime(static_cast<unsigned long long>(std::time(nullptr)));
}

int DateTime::compareTo(const DateTime& other) const {
    const unsigned absent = unsigned{partial} | unsigned{other.partial};
    const auto instant = [absent](const DateTime& value) {
        std::tm parts = value.brokenDown();
        if ((absent & NoHours) != 0) {
            parts.tm_hour = 0;
        }
        if ((absent & NoMinutes) != 0) {
            parts.tm_min = 0;
        }
        if ((absent & NoSeconds) != 0) {
            parts.tm_sec = 0;
        }
        const auto result = static_cast<unsigned long long>(std::mktime(&parts));
        return (absent & NoZone) != 0 ? result : result - zoneSeconds(value.zone);
    };
    const unsigned long long left = instant(*this);
    const unsigned long long right = instant(other);
    return (left > right) - (left < right);
}

// ---- Text ------------------------------------------------------------------------------------

namespace {

// The records of the matcher.
enum Record {
    DayRecord = 1,
    MonthRecord = 2,
    YearRecord = 3,
    HoursRecord = 4,
    MinutesRecord = 5,
    SecondsRecord = 6,
    OffsetSignRecord = 7,
    OffsetHoursRecord = 8,
    OffsetMinutesRecord = 9,
};

// Reads a number up to `limit` into `out`. An absent record is 0 and sets `absentBit` in
// `partial`. False for a number above the limit; `out` keeps its value then.
template <class Field>
bool readNumber(const DateTimeMatcher& matcher, Record record, int limit, unsigned absentBit,
                unsigned& partial, Field& out) {
    int number = 0;
    if (matcher.getRecordCount(record) > 0) {
        number = std::atoi(matcher.getRecord(record, 0));
        if (number > limit) {
            return false;
        }
    } else {
        partial |= absentBit;
    }
    out = static_cast<Field>(number);
    return true;
}

void readMonth(const DateTimeMatcher& matcher, std::uint8_t& month) {
    const char* name = matcher.getRecord(MonthRecord, 0);
    for (std::uint8_t i = 0; name != nullptr && i < 12; ++i) {
        if (::strcasecmp(name, DateTime::MONTH_NAMES[i]) == 0) {
            month = i;
            return;
        }
    }
}

} // namespace

int DateTime::strToDateTime(const char* text, DateTime& out) {
    if (text == nullptr || *text == '\0') {
        out.setLocaltime(0);
        return 0;
    }
    DateTimeMatcher matcher;
    matcher.setSubject(text, false);
    if (matcher.match(nullptr) != 0) {
        return -1;
    }

    unsigned absent = 0;
    if (!readNumber(matcher, DayRecord, 31, 0, absent, out.day)) {
        return -1;
    }
    readMonth(matcher, out.month);
    if (!readNumber(matcher, YearRecord, 2038, 0, absent, out.year)) {
        return -1;
    }
    out.year -= 1900;
    if (!readNumber(matcher, HoursRecord, 23, NoHours, absent, out.hours) ||
        !readNumber(matcher, MinutesRecord, 59, NoMinutes, absent, out.minutes) ||
        !readNumber(matcher, SecondsRecord, 59, NoSeconds, absent, out.seconds)) {
        return -1;
    }

    int offsetHours = 0;
    int offsetMinutes = 0;
    if (!readNumber(matcher, OffsetHoursRecord, 23, NoZone, absent, offsetHours) ||
        !readNumber(matcher, OffsetMinutesRecord, 59, 0, absent, offsetMinutes)) {
        return -1;
    }
    const bool west = matcher.getRecordCount(OffsetSignRecord) > 0 &&
                      *matcher.getRecord(OffsetSignRecord, 0) == '-';
    const int offset = offsetHours * 60 + offsetMinutes;
    out.zone = static_cast<std::int16_t>(west ? -offset : offset);
    out.weekDay = out.computeWeekDay();
    out.partial = static_cast<std::uint8_t>(absent);
    return 0;
}

void DateTime::dateTimeToStr(const DateTime& value, char* buffer, int size, bool quoted) {
    if (buffer == nullptr || size <= 0) {
        return;
    }
    const char* quote = quoted ? "\"" : "";
    const auto offset = static_cast<unsigned>(std::abs(int{value.zone}));
    std::snprintf(
        buffer, static_cast<std::size_t>(size), "%s%3s, %02u %3s %04u %02u:%02u:%02u %c%02u%02u%s",
        quote, WEEK_DAY_NAMES[value.weekDay], unsigned{value.day}, MONTH_NAMES[value.month],
        calendarYear(value.year), unsigned{value.hours}, unsigned{value.minutes},
        unsigned{value.seconds}, value.zone < 0 ? '-' : '+', offset / 60, offset % 60, quote);
}

void DateTime::utcToStr(int utcSeconds, char* buffer, int size) {
    if (buffer == nullptr || size <= 0) {
        return;
    }
    buffer[0] = '\0';
    const std::time_t instant = utcSeconds;
    if (size >= 26) {
        buffer[::ctime_r(&instant, buffer) != nullptr ? 24 : 0] = '\0'; // cuts the newline off
    }
}

void DateTime::toStr(const char* pattern, char* buffer, int size) const {
    PatternOutput output(buffer, size);
    if (!output.usable() || pattern == nullptr) {
        return;
    }
    // How many letters of the run at the pattern's position, at most four, are a "y".
    const auto yearLetters = [](const char* run) {
        int letters = 0;
        while (letters < 4 && std::tolower(static_cast<unsigned char>(run[letters])) == 'y') {
            ++letters;
        }
        return letters;
    };
    while (*pattern != '\0' && !output.full()) {
        switch (std::tolower(static_cast<unsigned char>(*pattern))) {
        case 'd':
            pattern = output.putField(pattern, day);
            break;
        case 'm':
            pattern = output.putField(pattern, month + 1);
            break;
        case 'y':
            if (const int letters = yearLetters(pattern); letters == 4) {
                output.putNumber("%04d", static_cast<int>(calendarYear(year)));
                pattern += 4;
            } else if (letters >= 2) {
                output.putNumber("%02d", static_cast<int>(calendarYear(year)) % 100);
                pattern += 2;
            } else {
                output.put(*pattern++);
            }
            break;
        default:
            output.put(*pattern++);
        }
    }
}
