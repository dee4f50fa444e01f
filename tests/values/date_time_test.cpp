#include "common/time/date_time.h"
#include "common/time/my_timegm.h"
#include "common/time/simple_date.h"
#include "common/time/time_of_day.h"
#include "tests/support/random.h"
#include "tests/support/zone.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <string>

using support::berlin;
using support::kolkata;
using support::newYork;
using support::Zone;

namespace {

constexpr const char* zones[] = {"UTC0", berlin, newYork, kolkata};

std::string textOf(const DateTime& value, bool quoted = false) {
    char buffer[64];
    DateTime::dateTimeToStr(value, buffer, sizeof buffer, quoted);
    return buffer;
}

std::string textOf(const Time& value) {
    char buffer[16];
    Time::timeToStr(value, buffer, sizeof buffer, false);
    return buffer;
}

template <class Value> std::string expand(const Value& value, const char* pattern, int size = 64) {
    char buffer[65];
    std::memset(buffer, 'x', sizeof buffer);
    value.toStr(pattern, buffer, size);
    for (std::size_t i = std::strlen(buffer) + 1; i < sizeof buffer; ++i) {
        EXPECT_EQ(buffer[i], 'x') << "wrote behind the terminator";
    }
    EXPECT_LT(std::strlen(buffer), static_cast<std::size_t>(size));
    return buffer;
}

// ---- DateTime --------------------------------------------------------------------------------

TEST(DateTime, ValidRangesAndMonthLengths) {
    struct {
        unsigned year, month, day, hours, minutes, seconds;
        int zone;
        bool valid;
    } const rows[] = {
        {2026, 0, 31, 23, 59, 61, 1439, true}, {2026, 0, 0, 0, 0, 0, -1439, true},
        {2026, 0, 32, 0, 0, 0, 0, false},      {2026, 12, 1, 0, 0, 0, 0, false},
        {1900, 1, 29, 0, 0, 0, 0, false},      {2000, 1, 29, 0, 0, 0, 0, true},
        {2026, 3, 31, 0, 0, 0, 0, false},      {2026, 0, 1, 24, 0, 0, 0, false},
        {2026, 0, 1, 0, 60, 0, 0, false},      {2026, 0, 1, 0, 0, 62, 0, false},
        {2026, 0, 1, 0, 0, 0, 1440, false},    {2026, 0, 1, 0, 0, 0, -1440, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(DateTime::isValidDateTime(row.year, row.month, row.day, row.hours, row.minutes,
                                            row.seconds, row.zone),
                  row.valid)
            << "row " << &row - rows;
    }
    struct {
        unsigned month, year;
        int days;
    } const months[] = {{2, 0, 28},     {2, 2000, 29}, {2, 1900, 28},  {2, 2024, 29},
                        {12, 2023, 31}, {4, 2023, 30}, {13, 2000, -1}, {0, 2000, -1}};
    for (const auto& row : months) {
        EXPECT_EQ(DateTime::getMonthDays(row.month, row.year), row.days) << row.month;
    }
}

TEST(DateTime, ReadsText) {
    struct {
        const char *text, *written;
        unsigned partial;
    } const rows[] = {
        {"Tue, 03 Nov 2026 10:11:12 +0130", "Tue, 03 Nov 2026 10:11:12 +0130", 0},
        {"Tue, 03 Nov 2026 10:11:12 -0500", "Tue, 03 Nov 2026 10:11:12 -0500", 0},
        {"3 nov 2026 10:11:12 +0000", "Tue, 03 Nov 2026 10:11:12 +0000", 0},
        {"Tue, 03 Nov 2026 10:11", "Tue, 03 Nov 2026 10:11:00 +0000", 4 | 8},
        {"03 Nov 2026", "Tue, 03 Nov 2026 00:00:00 +0000", 1 | 2 | 4 | 8},
        {"03 Nov 2026 10:11:12 GMT", "Tue, 03 Nov 2026 10:11:12 +0000", 8},
        {"Mon, 03 Nov 2026 23:59:59 +2359", "Tue, 03 Nov 2026 23:59:59 +2359", 0},
        {"1 Jan 1970 00:00 +0000", "Thu, 01 Jan 1970 00:00:00 +0000", 4},
        {"1 Jan 1970 01:00 +0100", "Thu, 01 Jan 1970 01:00:00 +0100", 4},
        {"31 Feb 2026", "Tue, 31 Feb 2026 00:00:00 +0000", 1 | 2 | 4 | 8},
        {"31 Dec 2038", "Fri, 31 Dec 2038 00:00:00 +0000", 1 | 2 | 4 | 8},
    };
    for (const char* zone : zones) {
        const Zone local(zone);
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(row.text) + " in " + zone);
            DateTime value;
            value.partial = 15;
            EXPECT_EQ(DateTime::strToDateTime(row.text, value), 0);
            EXPECT_EQ(textOf(value), row.written);
            EXPECT_EQ(value.partial, row.partial);
        }
        DateTime value;
        for (const char* bad : {"1 Jan 2039", "32 Jan 2026", "1 Jan 2026 24:00", "1 Jan 2026 10:60",
                                "1 Jan 2026 10:00:60", "1 Jan 2026 10:00:00 +2400",
                                "1 Jan 2026 10:00:00 +0060", "1 Foo 2026", "tomorrow"}) {
            EXPECT_EQ(DateTime::strToDateTime(bad, value), -1) << bad << " in " << zone;
        }
    }
    const Zone local(kolkata);
    for (const char* text : {static_cast<const char*>(nullptr), ""}) {
        DateTime value;
        EXPECT_EQ(DateTime::strToDateTime(text, value), 0);
        EXPECT_EQ(textOf(value), "Thu, 01 Jan 1970 05:30:00 +0530") << "the epoch in local form";
        EXPECT_EQ(value.getUTC(), 0U);
    }
}

TEST(DateTime, AFailedReadLeavesWhatWasReadBefore) {
    DateTime value;
    EXPECT_EQ(DateTime::strToDateTime("7 Mar 2030 12:61:00", value), -1);
    EXPECT_EQ(expand(value, "dd.mm.yyyy"), "07.03.2030");
    EXPECT_EQ(value.hours, 12);
    EXPECT_EQ(value.minutes, 0);
}

TEST(DateTime, InstantsSurviveTheRoundTripInEveryZone) {
    auto random = support::seededRandom("DateTime");
    for (const char* zone : zones) {
        const Zone local(zone);
        for (int round = 0; round < 300; ++round) {
            // The clocks change more than a day, which offsets reach, before or after these days.
            std::tm parts{};
            parts.tm_year = 70 + static_cast<int>(support::below(random, 68));
            parts.tm_mon = static_cast<int>(support::below(random, 12));
            parts.tm_mday = 16 + static_cast<int>(support::below(random, 5));
            parts.tm_hour = 12;
            parts.tm_min = 34;
            parts.tm_sec = 56;
            const int offset = static_cast<int>(support::below(random, 2879)) - 1439;
            const DateTime value(static_cast<unsigned>(parts.tm_year) + 1900,
                                 static_cast<unsigned>(parts.tm_mon) + 1,
                                 static_cast<unsigned>(parts.tm_mday), 12, 34, 56, offset);
            std::tm copy = parts;
            const std::time_t plain = ::timegm(&parts);
            ASSERT_EQ(my_timegm(&copy), plain) << zone;
            const auto instant = static_cast<unsigned long long>(plain - offset * 60L);
            ASSERT_EQ(value.getUTC(), instant);
            ASSERT_EQ(value.weekDay, parts.tm_wday);

            DateTime forms[3];
            ASSERT_EQ(DateTime::strToDateTime(textOf(value).c_str(), forms[0]), 0);
            forms[1].setLocaltime(instant);
            forms[2].setGMT(instant);
            ASSERT_EQ(forms[2].zone, 0);
            for (const DateTime& form : forms) {
                ASSERT_EQ(form.getUTC(), instant) << zone;
            }
            ASSERT_EQ(forms[0].compareTo(value), 0);
            ASSERT_EQ(forms[1].compareTo(value), 0);
        }
    }
}

TEST(DateTime, LocalFormCarriesTheLocalOffset) {
    struct {
        const char* zone;
        unsigned long long instant;
        const char* text;
    } const rows[] = {
        {berlin, 1783512000, "Wed, 08 Jul 2026 14:00:00 +0200"},
        {berlin, 1767874000, "Thu, 08 Jan 2026 13:06:40 +0100"},
        {newYork, 1783512000, "Wed, 08 Jul 2026 08:00:00 -0400"},
        {kolkata, 1783512000, "Wed, 08 Jul 2026 17:30:00 +0530"},
    };
    for (const auto& row : rows) {
        const Zone local(row.zone);
        EXPECT_EQ(textOf(DateTime(row.instant)), row.text);
    }
    DateTime kept;
    kept.partial = 5;
    kept.setGMT(1783512000);
    kept.setLocaltime(1783512000);
    EXPECT_EQ(kept.partial, 5);
}

TEST(DateTime, Constructors) {
    EXPECT_EQ(textOf(DateTime(2026, 0, 5, 1, 2, 3, 0)), textOf(DateTime(2026, 1, 5, 1, 2, 3, 0)));
    const DateTime reserved(1ULL);
    EXPECT_EQ(reserved.year + reserved.day + reserved.weekDay + reserved.hours + reserved.zone, 0);

    const auto before = static_cast<unsigned long long>(std::time(nullptr));
    const DateTime nonsense(2026, 13, 1, 0, 0, 0, 0);
    const auto after = static_cast<unsigned long long>(std::time(nullptr));
    EXPECT_GE(nonsense.getUTC(), before);
    EXPECT_LE(nonsense.getUTC(), after);

    // The last years that the field holds must not overflow on their way to the calendar.
    DateTime late;
    late.setGMT(67768036191676799ULL);
    EXPECT_EQ(textOf(late), "Wed, 31 Dec 2147485547 23:59:59 +0000");

    // Too far away to be broken down: the epoch instead.
    EXPECT_EQ(DateTime(0x7fffffffffffffffULL).getUTC(), 0U);
    DateTime gmt;
    gmt.setGMT(0x7fffffffffffffffULL);
    EXPECT_EQ(gmt.getUTC(), 0U);
    EXPECT_EQ(DateTime(1960, 5, 5, 0, 0, 0, 0).getUTC(), 0U);
    EXPECT_EQ(DateTime(1970, 1, 1, 0, 0, 0, 60).getUTC(), 0U) << "not wrapped to a far future";
}

TEST(DateTime, ComparesInstantsByWhatBothSidesHave) {
    struct {
        const char *a, *b;
        int order;
    } const rows[] = {
        {"3 Nov 2026 10:00:00 +0000", "3 Nov 2026 10:00:01 +0000", -1},
        {"3 Nov 2026 12:00:00 +0200", "3 Nov 2026 10:00:00 +0000", 0},
        {"3 Nov 2026 10:00:00 -0100", "3 Nov 2026 10:00:00 +0000", 1},
        {"3 Nov 2026 10:11", "3 Nov 2026 10:11:55 +0700", 0},
        {"3 Nov 2026 10:11", "3 Nov 2026 10:12:00 +0700", -1},
        {"3 Nov 2026", "3 Nov 2026 23:59:59 -0900", 0},
        {"4 Nov 2026", "3 Nov 2026 23:59:59 -0900", 1},
        {"3 Nov 2026 10:11 +0100", "3 Nov 2026 09:11:59 +0000", 0},
    };
    for (const char* zone : zones) {
        const Zone local(zone);
        for (const auto& row : rows) {
            SCOPED_TRACE(std::string(row.a) + " and " + row.b + " in " + zone);
            DateTime a;
            DateTime b;
            ASSERT_EQ(DateTime::strToDateTime(row.a, a) + DateTime::strToDateTime(row.b, b), 0);
            EXPECT_EQ(a.compareTo(b), row.order);
            EXPECT_EQ(b.compareTo(a), -row.order);
        }
    }
}

TEST(DateTime, WritesWithinItsBuffer) {
    const DateTime value(2026, 11, 3, 4, 5, 6, -90);
    EXPECT_EQ(textOf(value), "Tue, 03 Nov 2026 04:05:06 -0130");
    EXPECT_EQ(textOf(value, true), "\"Tue, 03 Nov 2026 04:05:06 -0130\"");
    char small[9] = "xxxxxxxx";
    DateTime::dateTimeToStr(value, small, 6, false);
    EXPECT_EQ(std::string(small, 8), std::string("Tue, \0xx", 8));

    const Zone local("UTC0");
    char buffer[27];
    DateTime::utcToStr(1783512000, buffer, 26);
    EXPECT_STREQ(buffer, "Wed Jul  8 12:00:00 2026");
    DateTime::utcToStr(1783512000, buffer, 25);
    EXPECT_STREQ(buffer, "");
}

TEST(DateTime, ExpandsPatterns) {
    const DateTime value(2007, 3, 4, 0, 0, 0, 0);
    struct {
        const char *pattern, *text;
    } const rows[] = {{"dd.mm.yyyy", "04.03.2007"},
                      {"d/m/yy", "4/3/07"},
                      {"DD-Mm-YyYy", "04-03-2007"},
                      {"ddd", "d04"},
                      {"mmmM", "mm03"},
                      {"y", "y"},
                      {"yyy", "07y"},
                      {"yyyyy", "2007y"},
                      {"on d!", "on 4!"}};
    for (const auto& row : rows) {
        EXPECT_EQ(expand(value, row.pattern), row.text) << row.pattern;
    }
    EXPECT_EQ(expand(value, "dd.mm.yyyy", 8), "04.03.2");
    EXPECT_EQ(expand(value, "dd.mm.yyyy", 1), "");

    char buffer[4] = "abc";
    value.toStr(nullptr, buffer, 4);
    EXPECT_STREQ(buffer, "");
    buffer[0] = 'a';
    value.toStr("d", buffer, 0);
    EXPECT_EQ(buffer[0], 'a');
    value.toStr("d", nullptr, 4);
}

// ---- my_timegm -------------------------------------------------------------------------------

TEST(MyTimegm, TheSecondBeforeTheEpochIsNoFailure) {
    // mktime's result for it is -1. In a zone where it is met on the way the sum must still be
    // done.
    struct {
        const char* zone;
        int day, hour; // of minute 59, second 59, in January 1970
        std::time_t result;
    } const rows[] = {{"UTC0", 0, 23, -1},
                      {berlin, 1, 0, 3599},
                      {berlin, 0, 23, -1},
                      {newYork, 0, 18, -18001},
                      {newYork, 1, 4, 17999}};
    for (const auto& row : rows) {
        const Zone local(row.zone);
        std::tm parts{59, 59, row.hour, row.day, 0, 70, 0, 0, 0, 0, nullptr};
        EXPECT_EQ(my_timegm(&parts), row.result) << row.zone << " " << row.hour;
    }
}

// ---- Time ------------------------------------------------------------------------------------

TEST(Time, ReadsText) {
    const struct {
        const char* text;
        int result;
        const char* after;
    } rows[] = {
        {"10:11", 0, "10:11:00"},  {"00:00:60", 0, "00:00:60"}, {"23:59:59", 0, "23:59:59"},
        {"25:00", -1, "25:00:00"}, {"10:60", -1, "10:60:00"},   {"10:11:61", -1, "10:11:61"},
        {"", 0, "00:00:00"},       {nullptr, 0, "00:00:00"},
    };
    for (const auto& row : rows) {
        Time value(1, 2, 3);
        EXPECT_EQ(Time::strToTime(row.text, value), row.result) << row.after;
        EXPECT_EQ(textOf(value), row.after);
    }
    for (const char* text : {"1:11", "10:1", "10-11", "10:11:", "10:11:1", "10:11:12x", "10:11 ",
                             " 10:11", "1", "10:", "+1:11"}) {
        Time value(1, 2, 3);
        EXPECT_EQ(Time::strToTime(text, value), -1) << text;
        EXPECT_EQ(textOf(value), "01:02:03") << text;
    }
}

TEST(Time, ValuesAndOrder) {
    EXPECT_TRUE(Time::isValidTime(23, 59, 60));
    EXPECT_FALSE(Time::isValidTime(24, 0, 0));
    EXPECT_EQ(Time(10, 20, 30).getSec(), 37230U);
    EXPECT_EQ(textOf(Time(37230ULL)), "10:20:30");
    EXPECT_EQ(Time(3600ULL * 257).hours, 1) << "cut to its field";

    EXPECT_EQ(Time(10, 0, 0).compareTo(Time(8, 59, 59)), 2);
    EXPECT_EQ(Time(10, 5, 0).compareTo(Time(10, 9, 59)), -4);
    EXPECT_EQ(Time(10, 5, 7).compareTo(Time(10, 5, 2)), 5);

    const Zone local("UTC0");
    const auto before = static_cast<unsigned long long>(std::time(nullptr)) % 86400;
    const unsigned long long nonsense = Time(24, 0, 0).getSec();
    const auto after = static_cast<unsigned long long>(std::time(nullptr)) % 86400;
    EXPECT_TRUE(before <= after ? before <= nonsense && nonsense <= after
                                : before <= nonsense || nonsense <= after);

    char buffer[16];
    Time::timeToStr(Time(1, 2, 3), buffer, sizeof buffer, true);
    EXPECT_STREQ(buffer, "\"01:02:03\"");
}

TEST(Time, ExpandsPatterns) {
    struct {
        Time value;
        const char *pattern, *text;
    } const rows[] = {
        {{0, 5, 0}, "hh:mm am", "12:05 am"},
        {{13, 5, 0}, "hh:mm am", "01:05 pm"},
        {{0, 5, 0}, "hh:mm", "00:05"},
        {{13, 5, 0}, "hh:mm", "13:05"},
        {{12, 0, 0}, "h AM", "12 PM"},
        {{11, 59, 9}, "h:m:s a.m.", "11:59:9 a.m."},
        {{23, 0, 0}, "H A.M.", "11 P.M."},
        {{15, 7, 8}, "Am h", "A7 3"}, // no token, but it asks for the 12-hour form
        {{1, 2, 3}, "hhh mmm sss", "h01 m02 s03"},
        {{1, 2, 3}, "\"hh am\" h", "hh am 1"},
        {{1, 2, 3}, "h \"unfinished mm", "1 unfinished mm"},
        {{1, 2, 3}, "\"\"s", "3"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(expand(row.value, row.pattern), row.text) << row.pattern;
    }
    EXPECT_EQ(expand(Time(1, 2, 3), "\"quoted\" hh", 5), "quot");
    EXPECT_EQ(expand(Time(13, 2, 3), "hh a.m.", 6), "01 p.");
}

// ---- SimpleDate, SimpleDateTime --------------------------------------------------------------

SimpleDate simpleDate(int day, int month, int year) {
    SimpleDate date;
    date.day = static_cast<std::uint8_t>(day);
    date.month = static_cast<std::uint8_t>(month);
    date.year = static_cast<std::uint16_t>(year);
    return date;
}

TEST(SimpleDate, TextMonthsAndChecks) {
    std::string text = ">";
    simpleDate(3, 10, 2026).dateToString(text, false);
    simpleDate(3, 0, 2026).dateToString(text, true);
    simpleDate(13, 11, 26).dateToString(text, true);
    EXPECT_EQ(text, ">3-Nov-2026 3-Jan-202613-Dec-26");

    SimpleDate date;
    struct {
        const char* text;
        int month; // 7, which it was before, for a refused one
    } const rows[] = {{"jAN", 0}, {"January", 0}, {"DECember", 11}, {"may", 4},
                      {"Ja", 7},  {"", 7},        {"anF", 7},       {"xyz", 7}};
    for (const auto& row : rows) {
        date.month = 7;
        EXPECT_EQ(date.setMonth(row.text), row.month == 7 ? -1 : 0) << row.text;
        EXPECT_EQ(date.month, row.month) << row.text;
    }
    for (const SimpleDate& good : {simpleDate(1, 0, 2026), simpleDate(31, 0, 2026),
                                   simpleDate(29, 1, 2024), simpleDate(29, 1, 2000)}) {
        EXPECT_EQ(good.checkDate(), 0) << +good.day << '.' << +good.month << '.' << good.year;
    }
    for (const SimpleDate& bad :
         {simpleDate(0, 0, 2026), simpleDate(32, 0, 2026), simpleDate(29, 1, 2026),
          simpleDate(29, 1, 1900), simpleDate(31, 3, 2026), simpleDate(1, 12, 2026),
          simpleDate(30, 1, 2024)}) {
        EXPECT_EQ(bad.checkDate(), -1) << +bad.day << '.' << +bad.month << '.' << bad.year;
    }
}

TEST(SimpleDate, StartOfDay) {
    constexpr unsigned long long epoch = 116444736000000000ULL;
    constexpr unsigned long long day = 864000000000ULL;
    const Zone local("UTC0");
    EXPECT_EQ(simpleDate(1, 0, 0).toUTCBegin(), 0U);
    EXPECT_EQ(simpleDate(1, 0, 0).toEpochFileTimeBegin(), 0U);
    EXPECT_EQ(simpleDate(8, 6, 2026).toUTCBegin(), 1783468800U);
    EXPECT_EQ(simpleDate(1, 0, 1970).toEpochFileTimeBegin(), epoch);
    EXPECT_EQ(simpleDate(1, 0, 1969).toEpochFileTimeBegin(), epoch - 365 * day);
    EXPECT_EQ(simpleDate(28, 1, 1968).toEpochFileTimeBegin() + 2 * day,
              simpleDate(1, 2, 1968).toEpochFileTimeBegin());
    EXPECT_EQ(simpleDate(2, 0, 1970).toEpochFileTimeBegin(), epoch + day);

    const Zone east(berlin);
    EXPECT_EQ(simpleDate(8, 0, 2026).toUTCBegin(), 1767830400U - 3600U);
    EXPECT_EQ(simpleDate(8, 6, 2026).toUTCBegin(), 1783468800U - 3600U) << "by standard time";
}

TEST(SimpleDateTime, TimeFieldsStandFromTheSmallestUp) {
    SimpleDateTime value;
    EXPECT_EQ(value.toUTC(), 0U);
    static_cast<SimpleDate&>(value) = simpleDate(8, 6, 2026);
    value.seconds = 59;
    value.minutes = 3;
    value.hours = 7;
    value.zone = 130;
    std::string text;
    value.toString(text);
    EXPECT_EQ(text, " 8-Jul-2026 59:03:7 +130");
    constexpr unsigned long long shown = 1783468800U + 7 * 3600 + 3 * 60 + 59;
    for (const char* zone : zones) {
        const Zone local(zone);
        value.zone = 130;
        EXPECT_EQ(value.toUTC(), shown - 90 * 60) << zone;
        value.zone = -500;
        EXPECT_EQ(value.toUTC(), shown + 5 * 3600) << zone;
    }
    text = "x";
    value.toString(text);
    EXPECT_EQ(text, "x 8-Jul-2026 59:03:7 -500");
}

} // namespace
