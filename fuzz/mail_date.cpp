// Dates: what parses is written and parses again to the same time and zone, and the conversion to
// seconds is the C library's. Input: the text of a date.

#include "message/mail_date.h"

#include "fuzz/target.h"
#include "message/date_matcher.h"

#include <ctime>

namespace {

// A year of four digits, and not the second before the epoch, which is also the mark of a failure.
constexpr long long FirstSecond = 2 * 86400;
constexpr long long LastSecond = 253402300800 - 2 * 86400;

// A zone with summer time, by a rule that needs no file.
[[maybe_unused]] const bool zoneIsSet = [] {
    ::setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    ::tzset();
    return true;
}();

template <class Matcher> void checkMatcher(const fuzz::Text& text) {
    Matcher matcher;
    matcher.setSubject(text.get(), false);
    const int result = matcher.match(nullptr);
    FUZZ_CHECK(result == 0 || result == -1);
    for (int type = 0; type < Matcher::RECORD_TYPES; ++type) {
        for (int i = 0; i < matcher.getRecordCount(type); ++i) {
            int offset = 0;
            int length = 0;
            FUZZ_CHECK(matcher.getRecordInfo(type, i, offset, length) == 0);
            FUZZ_CHECK(offset >= 0 && length >= 0 &&
                       offset + length <= static_cast<int>(text.size()));
        }
    }
}

} // namespace

FUZZ_TARGET(mail_date) {
    const fuzz::Text text(input.rest());
    checkMatcher<DateMatcher>(text);
    checkMatcher<DateTimeMatcher>(text);

    MailDate date;
    if (date.parseDate(text.get()) != 0) {
        FUZZ_CHECK(date.getSeconds() == 0 && date.getZone() == 0);
        return;
    }
    const long long seconds = date.getSeconds();
    date.writeFriendly(date.getZone(), 1);
    date.writeFriendly(-1, 0);
    if (seconds < FirstSecond || seconds > LastSecond) {
        date.write();
        date.getASDateTime();
        return;
    }
    MailDate again;
    const std::string written = date.write();
    FUZZ_CHECK(again.parseDate(written.c_str()) == 0);
    FUZZ_CHECK(again.getSeconds() == seconds);
    FUZZ_CHECK(again.getZone() == date.getZone());
    FUZZ_CHECK(written == again.write());

    std::tm broken{};
    const std::time_t time = seconds;
    ::gmtime_r(&time, &broken);
    char expected[64];
    std::strftime(expected, sizeof expected, "%Y-%m-%dT%H:%M:%S.000Z", &broken);
    FUZZ_CHECK(std::strcmp(date.getASDateTime(), expected) == 0);
    FUZZ_CHECK(MailDate::my_timegm(&broken) == seconds);
}
