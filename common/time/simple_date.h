// SimpleDate and SimpleDateTime: compact date records with a text form of their own.
//
// Plain values: copied by assignment, own nothing, guarded by their owner where threads share
// them. Nothing here reads the clock or sets the last error.

#ifndef MORVEX_COMMON_TIME_SIMPLE_DATE_H
#define MORVEX_COMMON_TIME_SIMPLE_DATE_H

#include <cstdint>
#include <string>

class SimpleDate {
public:
    // Seconds since the Unix epoch of the local start of the day, in standard time; 0 for no date.
    unsigned long long toUTCBegin() const;

    // The same instant in ticks of 100 nanoseconds since 1 January 1601; 0 for no date. Good for
    // dates before 1970, too.
    // Requires: the year is 0, or 1898 or later.
    unsigned long long toEpochFileTimeBegin() const;

    // Appends "3-Nov-2026"; with `padDay` a blank stands before a day of one digit.
    // Requires: month <= 11.
    void dateToString(std::string& out, bool padDay) const;

    // Stores the month whose three letters `text` begins with, in any case. 0, or -1 with nothing
    // stored.
    // Requires: text is not null.
    int setMonth(const char* text);

    // 0 where month and day exist in the year, -1 otherwise.
    int checkDate() const;

    std::uint8_t day = 0;
    std::uint8_t month = 0; // 0 to 11
    std::uint16_t year = 0; // the full calendar year; 0 is no date
};

// A date with a time of day. The three time fields stand from the smallest to the largest: a
// writer fills them in that order.
class SimpleDateTime : public SimpleDate {
public:
    // Seconds since the Unix epoch, with the zone taken into account; 0 for no date.
    unsigned long long toUTC() const;

    // As checkDate: the time fields and the zone are not looked at.
    int check() const;

    // Appends the date with its day padded, a blank, the three time fields in the order in which
    // they are stored, with ":" between them, a blank and the zone: " 3-Nov-2026 59:30:7 +130" is
    // 59 seconds past 7:30. The first two fields have two digits, the third and the zone as many
    // as they need.
    void toString(std::string& out) const;

    std::uint8_t seconds = 0;
    std::uint8_t minutes = 0;
    std::uint8_t hours = 0;
    std::int16_t zone = 0; // decimal HHMM with sign: +130 is one hour thirty minutes east
};

#endif
