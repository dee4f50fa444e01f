// Time: a time of day without a date, the value of configuration attributes of that type.
//
// A plain value: copied by assignment, owns nothing, guarded by its owner where threads share it.
// Failure is a result of -1, or the present time of day where a constructor was given nonsense;
// the last error is never set.

#ifndef MORVEX_COMMON_TIME_TIME_OF_DAY_H
#define MORVEX_COMMON_TIME_TIME_OF_DAY_H

#include <cstdint>

class Time {
public:
    // Whether hours are below 24, minutes below 60 and seconds below 61.
    static bool isValidTime(unsigned hours, unsigned minutes, unsigned seconds);

    // Reads "HH:MM" or "HH:MM:SS" with nothing before or behind. 0, or -1: for another shape with
    // `out` as it was, for a value out of range with `out` changed. A null or empty text gives
    // 00:00:00.
    static int strToTime(const char* text, Time& out);

    // Writes "HH:MM:SS", cut to `size` bytes with its terminator; with `quoted` inside double
    // quotes, the form of the configuration file.
    static void timeToStr(const Time& value, char* buffer, int size, bool quoted);

    // Midnight.
    Time() = default;
    // Values that isValidTime refuses give the present local time.
    Time(unsigned hours, unsigned minutes, unsigned seconds);
    // Seconds since midnight.
    explicit Time(unsigned long long seconds);

    // The difference this minus other of the hours, or else of the minutes, or else of the
    // seconds: below 0, 0 or above 0.
    int compareTo(const Time& other) const;

    // Seconds since midnight. setSec cuts the hours to their field of 8 bits.
    unsigned long long getSec() const;
    void setSec(unsigned long long seconds);
    void setToNow();

    // Expands a pattern in which "h" and "hh" stand for the hours, "m" and "mm" for the minutes,
    // "s" and "ss" for the seconds, in either case; the doubled forms have two digits. "am" and
    // "a.m", all in lower or all in upper case, become "am" or "pm" and "a.m" or "p.m", and one
    // of them anywhere in the pattern turns the hours to the 12-hour form. A text between double
    // quotes is copied without the quotes; other characters stand for themselves. The output is
    // cut to `size` bytes with its terminator.
    void toStr(const char* pattern, char* buffer, int size) const;

    std::uint8_t hours = 0;
    std::uint8_t minutes = 0;
    std::uint8_t seconds = 0;
};

#endif
