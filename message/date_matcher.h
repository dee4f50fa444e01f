// The scanners of dates: DateMatcher for the date-time of RFC 2822 and its obsolete zone names,
// and DateTimeMatcher, stricter in its numbers, whose time of day is optional.
//
// Each is a table of states and what they accept (date_matcher.cpp), run by a flexer object that
// keeps the position in the subject. A matcher is for one thread at a time.

#ifndef MORVEX_MESSAGE_DATE_MATCHER_H
#define MORVEX_MESSAGE_DATE_MATCHER_H

#include "message/protocol_matcher.h"

class MailDate;
class DateMatcher;
class DateTimeMatcher;

// Runs the table of DateMatcher.
class DateMatcherFlexer {
public:
    explicit DateMatcherFlexer(DateMatcher* owner);

    // Scans from position on; 0 on a full match, whose records went to date if that is not null;
    // otherwise -1.
    int scan();

    DateMatcher* matcher;
    MailDate* date; // null: only match
    int position;   // of the next unread byte
};

// A date-time of RFC 2822. Records, by number: 0 day name, 1 day of month, 2 month name, 3 year,
// 4 hour, 5 minute, 6 second, 7 zone name, 8 offset sign, 9 offset digits.
class DateMatcher : public ProtocolMatcher {
public:
    static constexpr int RECORD_TYPES = 10;

    DateMatcher();
    ~DateMatcher() override;

    // date is the MailDate to fill on a match, or null. Comments are not part of the language.
    int match(void* date) override;
    const char* getRecordName(int type) const override;
    const char* getStateName(int state) const override;

    // The name of a state; "NoMatch" for -1, null for a number without a name.
    static const char* getClassStateName(int state);

private:
    RecordTable tables[RECORD_TYPES];
    DateMatcherFlexer* flexer;
};

// Runs the table of DateTimeMatcher.
class DateTimeMatcherFlexer {
public:
    explicit DateTimeMatcherFlexer(DateTimeMatcher* owner);

    // Scans from position on; 0 on a full match, otherwise -1.
    int scan();

    DateTimeMatcher* matcher;
    MailDate* date; // kept for the shape's sake: this machine only fills records
    int position;   // of the next unread byte
};

// A date, or a date and time, with an optional zone. Records 0 to 6 as in DateMatcher; 7 offset
// sign, 8 offset hours, 9 offset minutes. The state on success tells how much was given: D_YEAR a
// date only, D_SEC a time without a zone, D_END all.
class DateTimeMatcher : public ProtocolMatcher {
public:
    static constexpr int RECORD_TYPES = 10;
    static constexpr int D_YEAR = 9;
    static constexpr int D_SEC = 14;
    static constexpr int D_END = 16;

    DateTimeMatcher();
    ~DateTimeMatcher() override;

    // date is not used: whoever wants a value reads the records.
    int match(void* date) override;
    const char* getRecordName(int type) const override;
    const char* getStateName(int state) const override;

    // The name of a state; "NoMatch" for -1, null for a number without a name.
    static const char* getClassStateName(int state);

private:
    RecordTable tables[RECORD_TYPES];
    DateTimeMatcherFlexer* flexer;
};

#endif
