// DateTime: a broken-down local date and time with its offset from UTC. It is the value of
// configuration attributes of that type, and what a "date:" token of an incoming mail reads as.
//
// A plain value: copied by assignment, owns nothing, guarded by its owner where threads share it.
// The operations use the reentrant calls of the platform only; mktime reads the process's zone.
// Failure is a result of -1, or the present moment where a constructor was given nonsense; the
// last error is never set.

#ifndef MORVEX_COMMON_TIME_DATE_TIME_H
#define MORVEX_COMMON_TIME_DATE_TIME_H

#include <cstdint>
#include <ctime>

class DateTime {
public:
    // What a parsed text left out: bits of `partial`.
    static constexpr unsigned NoHours = 1;
    static constexpr unsigned NoMinutes = 2;
    static constexpr unsigned NoSeconds = 4;
    static constexpr unsigned NoZone = 8;

    static const std::uint8_t MONTH_LENGHTS[12]; // of a year that is no leap year
    static const char MONTH_NAMES[12][4];        // "Jan" to "Dec"
    static const char WEEK_DAY_NAMES[7][4];      // "Sun" to "Sat"

    // Whether the values are in range; `month` counts from 0 here. Seconds may be 60 or 61, a
    // `day` of 0 is not refused, and `zone` is in minutes, from -1439 to 1439.
    static bool isValidDateTime(unsigned year, unsigned month, unsigned day, unsigned hours,
                                unsigned minutes, unsigned seconds, int zone);

    // The number of days of a month that counts from 1, or -1 for no such month. The year 0
    // counts as no leap year.
    static int getMonthDays(unsigned month, unsigned year);

    // Reads a text such as "Tue, 03 Nov 2026 10:11:12 +0100", in which the day's name, the zone,
    // the seconds and the whole time may be left out. 0, or -1 for another text; the fields read
    // until then have changed in `out`. A null or empty text gives the epoch in local form and
    // keeps `partial`. The day is tested against 31 only, and the year against 2038.
    static int strToDateTime(const char* text, DateTime& out);

    // Writes "Tue, 03 Nov 2026 10:11:12 +0100", cut to `size` bytes with its terminator; with
    // `quoted` inside double quotes, the form of the configuration file.
    // Requires: weekDay <= 6 and month <= 11.
    static void dateTimeToStr(const DateTime& value, char* buffer, int size, bool quoted);

    // Writes the ctime form, in local time and without a newline, of seconds since the Unix
    // epoch. A buffer below 26 bytes stays empty.
    static void utcToStr(int seconds, char* buffer, int size);

    // All fields 0; does not read the clock.
    DateTime() = default;

    // Here `year` is the calendar year and `month` counts from 1, with 0 for January too. Values
    // that isValidDateTime refuses give the present moment.
    DateTime(unsigned year, unsigned month, unsigned day, unsigned hours, unsigned minutes,
             unsigned seconds, int zone);

    // Local form of seconds since the Unix epoch. The value 1 is reserved: all fields become 0.
    explicit DateTime(unsigned long long seconds);

    // -1, 0 or 1 for an instant before, equal to or after the other one. What either side's text
    // left out counts on neither side: such hours, minutes and seconds are taken as 0, and without
    // a zone both zones are ignored.
    int compareTo(const DateTime& other) const;

    // Seconds since the Unix epoch; 0 where the time cannot be represented, which the instants
    // before the epoch cannot.
    unsigned long long getUTC() const;

    // The three keep `partial`. A time that cannot be broken down counts as the epoch.
    void setLocaltime(unsigned long long seconds);
    void setGMT(unsigned long long seconds);
    void setToNow();

    // Expands a pattern in which, in either case, "d" and "dd" stand for the day, "m" and "mm" for
    // the month from 1, "yyyy" and "yy" for the year; the doubled forms have two digits at least.
    // Of a longer run of "d" or "m" each letter too many stands for itself, as every other
    // character does. The output is cut to `size` bytes with its terminator.
    void toStr(const char* pattern, char* buffer, int size) const;

    std::int32_t year = 0;    // calendar year minus 1900
    std::uint8_t month = 0;   // 0 to 11
    std::uint8_t day = 0;     // day of the month
    std::uint8_t weekDay = 0; // 0 is Sunday
    std::uint8_t hours = 0;   // 0 to 23
    std::uint8_t minutes = 0; // 0 to 59
    std::uint8_t seconds = 0; // 0 to 59 from text, up to 61 by the constructor
    std::int16_t zone = 0;    // minutes from UTC, east positive
    std::uint8_t partial = 0; // what the parsed text left out

private:
    std::tm brokenDown() const;
    void assign(const std::tm& parts, int zoneMinutes);
    std::uint8_t computeWeekDay() const;
};

#endif
