#include "common/time/simple_date.h"

#include "common/time/date_time.h"
#include "common/time/my_timegm.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

constexpr char monthNames[] = "JanFebMarAprMayJunJulAugSepOctNovDec";

// 100-nanosecond ticks between 1 January 1601 and the epoch, and the same less 72 years.
constexpr unsigned long long epochTicks = 116'444'736'000'000'000ULL;
constexpr unsigned long long epochTicksLess72Years = 93'723'264'000'000'000ULL;
constexpr unsigned long long ticksPerSecond = 10'000'000ULL;

std::time_t startOfDay(const SimpleDate& date, int yearOffset) {
    std::tm parts{};
    parts.tm_mday = date.day;
    parts.tm_mon = date.month;
    parts.tm_year = date.year - 1900 + yearOffset;
    return std::mktime(&parts);
}

} // namespace

unsigned long long SimpleDate::toUTCBegin() const {
    return year == 0 ? 0 : static_cast<unsigned long long>(startOfDay(*this, 0));
}

unsigned long long SimpleDate::toEpochFileTimeBegin() const {
    if (year == 0) {
        return 0;
    }
    // mktime is asked about years from 1970 on only; 72 years keep the cycle of leap years.
    const bool early = year < 1970;
    const auto seconds = static_cast<unsigned long long>(startOfDay(*this, early ? 72 : 0));
    return seconds * ticksPerSecond + (early ? epochTicksLess72Years : epochTicks);
}

void SimpleDate::dateToString(std::string& out, bool padDay) const {
    char text[24];
    std::snprintf(text, sizeof text, padDay ? "%2u-%.3s-%u" : "%u-%.3s-%u", unsigned{day},
                  monthNames + 3 * month, unsigned{year});
    out += text;
}

int SimpleDate::setMonth(const char* text) {
    char folded[3] = {};
    for (int i = 0; i < 3 && text[i] != '\0'; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        folded[i] = static_cast<char>(i == 0 ? std::toupper(c) : std::tolower(c));
    }
    for (std::uint8_t i = 0; i < 12; ++i) {
        const char* name = monthNames + 3 * i;
        if (folded[0] == name[0] && folded[1] == name[1] && folded[2] == name[2]) {
            month = i;
            return 0;
        }
    }
    return -1;
}

int SimpleDate::checkDate() const {
    if (month > 11 || day < 1) {
        return -1;
    }
    // getMonthDays knows no leap year 0, which the calendar rule does.
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    const int days = DateTime::MONTH_LENGHTS[month] + (month == 1 && leap ? 1 : 0);
    return day <= days ? 0 : -1;
}

unsigned long long SimpleDateTime::toUTC() const {
    if (year == 0) {
        return 0;
    }
    std::tm parts{};
    parts.tm_sec = seconds;
    parts.tm_min = minutes - zone % 100;
    parts.tm_hour = hours - zone / 100;
    parts.tm_mday = day;
    parts.tm_mon = month;
    parts.tm_year = year - 1900;
    return static_cast<unsigned long long>(my_timegm(&parts));
}

int SimpleDateTime::check() const {
    return checkDate();
}

void SimpleDateTime::toString(std::string& out) const {
    out.reserve(out.size() + 31);
    dateToString(out, true);
    char text[32];
    std::snprintf(text, sizeof text, " %02u:%02u:%u %c%d", unsigned{seconds}, unsigned{minutes},
                  unsigned{hours}, zone < 0 ? '-' : '+', std::abs(int{zone}));
    out += text;
}
