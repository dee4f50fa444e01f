#include "message/date_matcher.h"
#include "message/mail_date.h"
#include "tests/support/random.h"
#include "tests/support/zone.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <memory>
#include <string>
#include <utility>

using support::Zone;

namespace {

const char* const ZONES[] = {"UTC0",           support::berlin,
                             support::newYork, support::kolkata,
                             "<-0930>9:30",    "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45"};

constexpr long long Y2K = 946684800; // 1 Jan 2000 00:00 UTC

TEST(MailDate, ParsesDates) {
    const struct {
        const char* text;
        long long seconds;
        int zone;
    } rows[] = {
        {"1 Jan 2000 00:00 +0000", Y2K, 0},
        {"  sat ,  1  jan  2000 00:00 GMT", Y2K, 0},
        {"Mon, 1 Jan 2000 00:00:00 +0000", Y2K, 0}, // a Saturday
        {"Thu, 19 Nov 2026 01:44:45 +0100", 1795049085, 100},
        {"1 Jan 2000 00:00:30 -0530 ", Y2K + 30 + 19800, -530},
        {"1 Jan 2000 00:00 +130", Y2K - 5400, 130},
        {"1 Jan 2000 00:00 +1", Y2K, 0},
        {"1 Jan 2000 00:00 -12", Y2K, 0},
        {"1 Jan 2000 00:00 : 05 GMT", Y2K + 5, 0},
        {"1 Jan 2000 0:0:5\tEST", Y2K + 5 + 18000, -500},
        {"1 Jan 2000 00:00 pdt", Y2K + 25200, -700},
        {"1 Jan 2000 00:00 UT", Y2K, 0},
        {"1 Jan 2000 00:00 A", Y2K - 3600, 100},
        {"1 Jan 2000 00:00 k", Y2K - 36000, 1000},
        {"1 Jan 2000 00:00 N", Y2K + 3600, -100},
        {"1 Jan 2000 00:00 Y", Y2K + 43200, -1200},
        {"1 Jan 2000 00:00 Z", Y2K, 0},
        {"1 (x) Jan 2000(y(z)) 00:00 (w) +0000 (UTC)", Y2K, 0},
        {"32 Jan 2000 25:61:61 +0000", Y2K + 31 * 86400 + 25 * 3600 + 61 * 60 + 61, 0},
        {"1 Jan 49 00:00 Z", 2493072000, 0},
        {"1 Jan 50 00:00 Z", -631152000, 0},
        {"1 Jan 100 00:00 Z", Y2K, 0}, // three digits count from 1900
        {"31 Dec 1969 23:59:59 Z", -1, 0},
    };
    for (const char* rule : ZONES) {
        const Zone zone(rule);
        for (const auto& row : rows) {
            MailDate date;
            EXPECT_EQ(date.parseDate(row.text), 0) << row.text;
            EXPECT_EQ(date.getSeconds(), row.seconds) << row.text << " in " << rule;
            EXPECT_EQ(date.getZone(), row.zone) << row.text;
        }
    }
}

TEST(MailDate, TellsWhereAMatchStopped) {
    const struct {
        const char* text;
        const char* state;
    } rows[] = {{"", "INITIAL"},
                {"  ", "D_Init"},
                {"x", "D_Init"},
                {"Sat", "D_DayName"},
                {"Saturday, 1 Jan 2000 00:00 Z", "D_DayName"},
                {"Sat, Jan 1", "D_DayNameComma"},
                {"123 Jan 2000 00:00 Z", "D_Space"},
                {"1 Jam 2000 00:00 Z", "D_Day"},
                {"1 Jan 2", "D_Month"},
                {"1 Jan 2000 ", "D_Year"},
                {"1 Jan 2000 00 :00 Z", "D_Colon"},
                {"1 Jan 2000 00: 00 Z", "D_Hour"},
                {"1 Jan 2000 00:00", "D_Min"},
                {"1 Jan 2000 00:00:x", "D_MinColon"},
                {"1 Jan 2000 00:00 ", "D_Sec"},
                {"1 Jan 2000 00:00 J", "D_Sec"},
                {"1 Jan 2000 00:00:00", "D_Space"},
                {"1 Jan 2000 00:00:00Z", "D_Space"},
                {"1 Jan 2000 00:00:00 UTC", "D_End"},
                {"1 Jan 2000 00:00:00 +00000", "D_End"},
                {"1 Jan 2000 00:00:00 + 0000", "D_OffSgn"}};
    for (const auto& row : rows) {
        DateMatcher matcher;
        matcher.setSubject(row.text, true);
        EXPECT_EQ(matcher.match(nullptr), -1) << row.text;
        EXPECT_STREQ(matcher.getStateName(matcher.getState()), row.state) << row.text;
        MailDate date;
        date.parseDate("1 Jan 2000 00:00 +0100");
        EXPECT_EQ(date.parseDate(row.text), -1) << row.text;
        EXPECT_EQ(date.getSeconds(), Y2K - 3600) << "a failed parse changes nothing";
        EXPECT_EQ(date.getZone(), 100);
    }
    MailDate date;
    EXPECT_EQ(date.parseDate(nullptr), -1);
    DateMatcher matcher;
    EXPECT_EQ(matcher.match(nullptr), -1);
    EXPECT_STREQ(DateMatcher::getClassStateName(matcher.getState()), "NoMatch");
    EXPECT_EQ(DateMatcher::getClassStateName(16), nullptr);
    EXPECT_EQ(matcher.getStateId("D_OffSgn"), 15);
    EXPECT_EQ(matcher.getStateId("D_Nowhere"), -1);
    EXPECT_EQ(matcher.getRecordId("Year"), 3);
}

TEST(DateTimeMatcher, TellsHowMuchWasGiven) {
    const struct {
        const char* text;
        int result;
        const char* state;
        const char* records; // each record as number=text
    } rows[] = {
        {"1 Jan 2000", 0, "D_Year", "1=1 2=Jan 3=2000 "},
        {" Sat,01 jan 99", 0, "D_Year", "0=Sat 1=01 2=jan 3=99 "},
        {"1 Jan 2000 01:02", 0, "D_Sec", "1=1 2=Jan 3=2000 4=01 5=02 "},
        {"1 Jan 2000  01:02 : 03", 0, "D_Sec", "1=1 2=Jan 3=2000 4=01 5=02 6=03 "},
        {"1 Jan 2000 01:02 gmt", 0, "D_End", "1=1 2=Jan 3=2000 4=01 5=02 "},
        {"1 Jan 2000 01:02:03 -0530 (Ab1) \t", 0, "D_End",
         "1=1 2=Jan 3=2000 4=01 5=02 6=03 7=- 8=05 9=30 "},
        {"1 Jan 2000 ", -1, "D_YearSpace", "1=1 2=Jan 3=2000 "},
        {"1 Jan 20000", -1, "D_Year", "1=1 2=Jan 3=2000 "},
        {"1 Jan 2000 1:02", -1, "D_YearSpace", "1=1 2=Jan 3=2000 "},
        {"1 Jan 2000 01:2", -1, "D_Hour", "1=1 2=Jan 3=2000 4=01 "},
        {"1 Jan 2000 01 :02", -1, "D_Colon", "1=1 2=Jan 3=2000 4=01 "},
        {"1 Jan 2000 01:02 ", -1, "D_SecSpace", "1=1 2=Jan 3=2000 4=01 5=02 "},
        {"1 Jan 2000 01:02x", -1, "D_Sec", "1=1 2=Jan 3=2000 4=01 5=02 "},
        {"1 Jan 2000 01:02:03 EST", -1, "D_SecSpace", "1=1 2=Jan 3=2000 4=01 5=02 6=03 "},
        {"1 Jan 2000 01:02 +053", -1, "D_OffHrs", "1=1 2=Jan 3=2000 4=01 5=02 7=+ 8=05 "},
        {"1 Jan 2000 01:02 +0530 (a b)", -1, "D_End", "1=1 2=Jan 3=2000 4=01 5=02 7=+ 8=05 9=30 "},
    };
    DateTimeMatcher matcher;
    for (const auto& row : rows) {
        matcher.setSubject(row.text, false);
        EXPECT_EQ(matcher.match(nullptr), row.result) << row.text;
        EXPECT_STREQ(matcher.getStateName(matcher.getState()), row.state) << row.text;
        std::string records;
        for (int type = 0; type < DateTimeMatcher::RECORD_TYPES; ++type) {
            for (int i = 0; i < matcher.getRecordCount(type); ++i) {
                records += std::to_string(type) + "=" + matcher.getRecord(type, i) + " ";
            }
        }
        EXPECT_EQ(records, row.records) << row.text;
    }
}

TEST(ProtocolMatcher, RefusesWhatIsOutOfRange) {
    DateMatcher matcher;
    char text[] = "a subject of some length";
    matcher.setSubject(9, text, true);
    text[0] = 'x';
    EXPECT_EQ(matcher.addRecord(4, 2, 7), 0);
    EXPECT_EQ(matcher.addRecord(4, 0, 1), 0);
    EXPECT_STREQ(matcher.getRecord(4, 0), "subject");
    EXPECT_STREQ(matcher.getRecord(4, 1), "a");
    EXPECT_EQ(*matcher.getRawRecord(4, 0), 's');
    const std::unique_ptr<char[]> copy(matcher.getRecordCopy(4, 0));
    EXPECT_STREQ(copy.get(), "subject");
    int offset = -7;
    int length = -7;
    for (const auto& [type, index] : {std::pair{-1, 0}, {10, 0}, {4, -1}, {4, 2}}) {
        errno = 0;
        EXPECT_EQ(matcher.getRecord(type, index), nullptr);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(matcher.getRawRecord(type, index), nullptr);
        EXPECT_EQ(matcher.getRecordCopy(type, index), nullptr);
        EXPECT_EQ(matcher.getRecordInfo(type, index, offset, length), -1);
    }
    EXPECT_EQ(offset, -7);
    EXPECT_EQ(matcher.getRecordInfo(4, 0, offset, length), 0);
    EXPECT_EQ(offset * 100 + length, 207);
    EXPECT_EQ(matcher.addRecord(10, 0, 1), -1);
    EXPECT_EQ(matcher.getRecordCount(-1), -1);
    matcher.setSubject("new", false);
    EXPECT_EQ(matcher.getRecordCount(4), 0);
}

TEST(MailDate, WritesInItsOwnZone) {
    const Zone zone(support::berlin);
    MailDate date;
    EXPECT_STREQ(date.write(), "Thu, 1 Jan 1970 00:00:00 +0000");
    date.parseDate("Thu, 19 Nov 2026 01:44:45 +0100");
    EXPECT_STREQ(date.write(), "Thu, 19 Nov 2026 01:44:45 +0100");
    EXPECT_STREQ(date.getASDateTime(), "2026-11-19T00:44:45.000Z");
    std::tm parts{};
    parts.tm_year = 100;
    parts.tm_mday = 1;
    parts.tm_hour = 10;
    EXPECT_EQ(date.set(parts, -530), 0);
    EXPECT_EQ(date.getSeconds(), Y2K + 10 * 3600 + 19800);
    EXPECT_STREQ(date.write(), "Sat, 1 Jan 2000 10:00:00 -0530");
    EXPECT_EQ(date.set(parts, -2147483647 - 1), 0);
    EXPECT_STREQ(date.write(), "Sat, 1 Jan 2000 10:00:00 -2147483648") << "the smallest";
    EXPECT_EQ(date.set(parts, -530), 0);
    EXPECT_STREQ(date.writeFriendly(0, 1), "Jan  1 2000");
    EXPECT_STREQ(date.writeFriendly(0, 0), " 1 Jan 2000");
    EXPECT_STREQ(date.writeFriendly(-1400, 0), " 1 Jan 2000");
    EXPECT_STREQ(date.writeFriendly(-1600, 0), "31 Dec 1999");
}

TEST(MailDate, WritesTodayAndThisYearShort) {
    const Zone zone("UTC0");
    MailDate date;
    date.now();
    const std::time_t present = static_cast<std::time_t>(date.getSeconds());
    std::tm parts = *std::gmtime(&present);
    const auto expect = [&](int shownZone, int style, const char* format) {
        char expected[40];
        std::strftime(expected, sizeof expected, format, &parts);
        EXPECT_STREQ(date.writeFriendly(shownZone, style), expected);
    };
    expect(0, 0, "%k:%M");
    // A day of this year that is not today.
    parts.tm_mon = parts.tm_mon == 5 ? 6 : 5;
    parts.tm_mday = 9;
    date.set(parts, 0);
    const std::time_t other = static_cast<std::time_t>(date.getSeconds());
    parts = *std::gmtime(&other);
    expect(-1, 1, "%a, %b  9");
    expect(0, 0, "%a,  9 %b");
}

TEST(MailDate, KnowsTheLocalZone) {
    const struct {
        const char* rule;
        int zone;
    } rows[] = {{"UTC0", 0},
                {"<+0530>-5:30", 530},
                {"<-0930>9:30", -930},
                {"<+14>-14", 1400},
                {"<-12>12", -1200},
                {"<-0030>0:30", -30},
                {"<+1245>-12:45", 1245},
                {"EST5EDT,0/0,J365/25", -400}}; // summer time all year
    for (const auto& row : rows) {
        const Zone zone(row.rule);
        const std::time_t before = std::time(nullptr);
        MailDate date;
        date.now();
        EXPECT_EQ(date.getZone(), row.zone) << row.rule;
        EXPECT_GE(date.getSeconds(), before) << row.rule;
        EXPECT_LE(date.getSeconds(), std::time(nullptr)) << row.rule;
    }
}

TEST(MailDate, ConvertsUtcUnderAnyLocalRules) {
    std::mt19937_64 random = support::seededRandom("MailDate.ConvertsUtcUnderAnyLocalRules");
    for (const char* rule : ZONES) {
        const Zone zone(rule);
        for (int i = 0; i < 5000; ++i) {
            const std::time_t seconds =
                static_cast<std::time_t>(support::below(random, 5000000000U)) - 2000000000;
            std::tm parts;
            ::gmtime_r(&seconds, &parts);
            ASSERT_EQ(MailDate::my_timegm(&parts), seconds) << rule;
        }
    }
}

TEST(MailDate, RefusesTimesThatCannotBeBrokenDown) {
    MailDate date;
    ASSERT_EQ(date.parseDate("1 Jan 99999999999999999999 00:00 Z"), 0);
    ASSERT_EQ(date.parseDate("1 Dec 2147483647 00:00 Z"), 0);
    EXPECT_STREQ(date.getASDateTime(), "2147483647-12-01T00:00:00.000Z");
    std::tm parts{};
    parts.tm_year = 0x7FFFFFFF;
    parts.tm_mon = 0x7FFFFFFF;
    EXPECT_EQ(date.set(parts, 0), -1);
}

} // namespace
