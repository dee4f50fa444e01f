#include "common/time/time_of_day.h"

#include "common/time/pattern_output.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>

bool Time::isValidTime(unsigned hours, unsigned minutes, unsigned seconds) {
    return hours < 24 && minutes < 60 && seconds < 61;
}

Time::Time(unsigned givenHours, unsigned givenMinutes, unsigned givenSeconds) {
    if (!isValidTime(givenHours, givenMinutes, givenSeconds)) {
        setToNow();
        return;
    }
    hours = static_cast<std::uint8_t>(givenHours);
    minutes = static_cast<std::uint8_t>(givenMinutes);
    seconds = static_cast<std::uint8_t>(givenSeconds);
}

Time::Time(unsigned long long secondsOfDay) {
    setSec(secondsOfDay);
}

namespace {

// Two digits at `text`, or -1.
int twoDigits(const char* text) {
    const auto digit = [](char c) { return c >= '0' && c <= '9'; };
    return digit(text[0]) && digit(text[1]) ? (text[0] - '0') * 10 + (text[1] - '0') : -1;
}

} // namespace

int Time::strToTime(const char* text, Time& out) {
    if (text == nullptr || *text == '\0') {
        out.setSec(0);
        return 0;
    }
    // Each test reads no further than the bytes that the tests before it found there.
    const int hour = twoDigits(text);
    if (hour < 0 || text[2] != ':') {
        return -1;
    }
    const int minute = twoDigits(text + 3);
    if (minute < 0) {
        return -1;
    }
    int second = 0;
    if (text[5] == ':') {
        second = twoDigits(text + 6);
        if (second < 0 || text[8] != '\0') {
            return -1;
        }
    } else if (text[5] != '\0') {
        return -1;
    }
    out.hours = static_cast<std::uint8_t>(hour);
    out.minutes = static_cast<std::uint8_t>(minute);
    out.seconds = static_cast<std::uint8_t>(second);
    return isValidTime(out.hours, out.minutes, out.seconds) ? 0 : -1;
}

void Time::timeToStr(const Time& value, char* buffer, int size, bool quoted) {
    if (buffer == nullptr || size <= 0) {
        return;
    }
    const char* quote = quoted ? "\"" : "";
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s%02u:%02u:%02u%s", quote,
                  unsigned{value.hours}, unsigned{value.minutes}, unsigned{value.seconds}, quote);
}

int Time::compareTo(const Time& other) const {
    if (hours != other.hours) {
        return hours - other.hours;
    }
    if (minutes != other.minutes) {
        return minutes - other.minutes;
    }
    return seconds - other.seconds;
}

unsigned long long Time::getSec() const {
    return hours * 3600ULL + minutes * 60ULL + seconds;
}

void Time::setSec(unsigned long long secondsOfDay) {
    hours = static_cast<std::uint8_t>(secondsOfDay / 3600);
    minutes = static_cast<std::uint8_t>(secondsOfDay % 3600 / 60);
    seconds = static_cast<std::uint8_t>(secondsOfDay % 60);
}

void Time::setToNow() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    if (::localtime_r(&now, &parts) == nullptr) {
        parts = {};
    }
    hours = static_cast<std::uint8_t>(parts.tm_hour);
    minutes = static_cast<std::uint8_t>(parts.tm_min);
    seconds = static_cast<std::uint8_t>(parts.tm_sec);
}

namespace {

// The marks of the 12-hour form, tried in this order; the first letter alone says which half.
struct HalfDayMark {
    const char* text;
    char afternoon;
};
constexpr HalfDayMark halfDayMarks[] = {{"am", 'p'}, {"AM", 'P'}, {"a.m", 'p'}, {"A.M", 'P'}};

bool hasHalfDayMark(const char* pattern) {
    return ::strcasestr(pattern, "am") != nullptr || ::strcasestr(pattern, "a.m") != nullptr;
}

// Copies a quoted run that starts behind its opening quote; returns where the pattern goes on.
const char* copyQuoted(const char* text, PatternOutput& output) {
    while (*text != '\0' && *text != '"') {
        output.put(*text++);
    }
    return *text == '"' ? text + 1 : text;
}

} // namespace

void Time::toStr(const char* pattern, char* buffer, int size) const {
    PatternOutput output(buffer, size);
    if (!output.usable() || pattern == nullptr) {
        return;
    }
    int shownHours = hours;
    const bool afternoon = hours >= 12;
    if (hasHalfDayMark(pattern)) {
        shownHours = hours == 0 ? 12 : hours > 12 ? hours - 12 : hours;
    }
    while (*pattern != '\0' && !output.full()) {
        if (*pattern == '"') {
            pattern = copyQuoted(pattern + 1, output);
            continue;
        }
        const HalfDayMark* mark = nullptr;
        for (const HalfDayMark& candidate : halfDayMarks) {
            if (std::strncmp(pattern, candidate.text, std::strlen(candidate.text)) == 0) {
                mark = &candidate;
                break;
            }
        }
        if (mark != nullptr) {
            output.put(afternoon ? mark->afternoon : mark->text[0]);
            output.put(mark->text + 1);
            pattern += std::strlen(mark->text);
            continue;
        }
        switch (std::tolower(static_cast<unsigned char>(*pattern))) {
        case 'h':
            pattern = output.putField(pattern, shownHours);
            break;
        case 'm':
            pattern = output.putField(pattern, minutes);
            break;
        case 's':
            pattern = output.putField(pattern, seconds);
            break;
        default:
            output.put(*pattern++);
        }
    }
}
