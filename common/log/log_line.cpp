#include "common/log/log_line.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// The most that each field in front of the text may add.
constexpr int levelRoom = 13; // "<%02d>" of any level
constexpr int timeRoom = 20;
constexpr int hostRoom = 32;
constexpr int nameRoom = 32;
constexpr int idRoom = 11;

constexpr int minutesPerDay = 1440;

} // namespace

LogLine::LogLine(int level, time_t now, const char* host, const char* name, unsigned id,
                 const char* prefix)
    : position(0) {
    struct tm local {};
    struct tm utc {};
    int zone = 0;
    if (localtime_r(&now, &local) == nullptr) {
        local = {};
    } else if (gmtime_r(&now, &utc) != nullptr) {
        zone = zoneOffset(local, utc);
    }
    addField(levelRoom, "<%02d>", level);
    addField(timeRoom, "%02d-%02d %02d:%02d:%02d %+05d", local.tm_mon + 1, local.tm_mday,
             local.tm_hour, local.tm_min, local.tm_sec, zone);
    addField(hostRoom, " %s ", host);
    addField(nameRoom, "%s", name != nullptr ? name : "");
    addField(idRoom, ":%08X: ", id);
    if (prefix != nullptr) {
        addField(textEnd - position, "%s", prefix);
    }
}

// A moment's local and UTC dates differ by a day at most, so the sign of the difference is all
// that counts; across New Year the year has it, and the day of the year would mislead.
int LogLine::zoneOffset(const struct tm& local, const struct tm& utc) {
    int minutes = (local.tm_hour - utc.tm_hour) * 60 + (local.tm_min - utc.tm_min);
    const int days =
        local.tm_year != utc.tm_year ? local.tm_year - utc.tm_year : local.tm_yday - utc.tm_yday;
    if (days > 0) {
        minutes += minutesPerDay;
    } else if (days < 0) {
        minutes -= minutesPerDay;
    }
    minutes = std::clamp(minutes, 1 - minutesPerDay, minutesPerDay - 1);
    return minutes + minutes / 60 * 40;
}

void LogLine::addField(int room, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int added =
        std::vsnprintf(buffer + position, static_cast<std::size_t>(room) + 1, format, arguments);
    va_end(arguments);
    position += std::clamp(added, 0, room);
}

void LogLine::addFormatted(const char* format, va_list& arguments) {
    const std::size_t room = static_cast<std::size_t>(textEnd - position);
    std::vsnprintf(buffer + position, room + 1, format, arguments);
    position += static_cast<int>(strnlen(buffer + position, room));
    endLine();
}

void LogLine::addData(const char* data, int length) {
    const int room = textEnd - position;
    const int taken = std::clamp(length, 0, room);
    if (taken > 0) {
        std::memcpy(buffer + position, data, static_cast<std::size_t>(taken));
    }
    position += taken;
    if (length > room) {
        buffer[position] = '\0'; // the data goes on beyond this line
    } else {
        endLine();
    }
}

void LogLine::endLine() {
    if (buffer[position - 1] != '\n') {
        buffer[position++] = '\n';
    }
    buffer[position] = '\0';
}
