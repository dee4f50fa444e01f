// The date of a message: read from the date-time form of RFC 2822, 3.3 and 4.3, and written as the
// Date header has it.
//
// A MailDate is a small value, not for use by two threads at once. The conversions use the
// reentrant break-down calls; mktime reads the process's time zone.

#ifndef MORVEX_MESSAGE_MAIL_DATE_H
#define MORVEX_MESSAGE_MAIL_DATE_H

#include <ctime>

class ProtocolMatcher;

// The names of months and of days. A day's index is its tm_wday; the week has a second Sunday at
// its end.
struct UTC64 {
    static const char month[12][4];
    static const char weekDay[8][4];
};

class MailDate {
public:
    // The epoch, in zone 0.
    MailDate();

    // The current time in the local zone. Cannot fail: where the clock cannot be broken down into
    // local time, the zone is 0.
    void now();

    // The time t, taken to be in the given zone (HHMM). Returns 0, or -1 if t cannot be converted;
    // the zone is stored even then.
    int set(std::tm t, int zone);

    // Reads a date. Returns 0, or -1 if the text is null or not a date; the date then keeps its
    // old value. Comments are skipped. Values out of range roll over; a wrong day name does not
    // matter; the zone must be there.
    int parseDate(const char* date);

    // The Date header's form in the date's own zone: "Thu, 19 Nov 2026 01:44:45 +0100". The result
    // is good until the next write operation; null if the time cannot be broken down.
    const char* write();

    // A short form for display, in the given zone (HHMM) or, with -1, the local one: the time
    // today, day and month within this year, otherwise day, month and year; month first with
    // style 1. The result is good until the next write operation; null if the time cannot be
    // broken down.
    const char* writeFriendly(int zone, int style);

    // The time in UTC: "2026-11-19T00:44:45.000Z". The result is good until the next write
    // operation; null if the time cannot be broken down.
    const char* getASDateTime();

    // Takes the date from the records of a DateMatcher whose subject matched. Returns 0.
    int matchDate(ProtocolMatcher* matcher);

    // The seconds since 1970 of a time in UTC, by mktime, gmtime_r and the local time rules alone.
    // Fields out of range roll over. Returns -1 on failure, and for the second before the epoch.
    // *t is left as mktime normalised it.
    static long long my_timegm(std::tm* t);

    long long getSeconds() const { return seconds; }
    int getZone() const { return zone; }

private:
    // Formats into text, cut at its size.
    void format(const char* pattern, ...) __attribute__((format(printf, 2, 3)));

    long long seconds; // since 1970, UTC, whatever the zone
    int zone;          // HHMM with a sign: +0200 is 200, -0530 is -530
    char text[40];     // the last written form
};

#endif
