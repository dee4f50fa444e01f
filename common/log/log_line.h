// LogLine: one line of the log server's format (see LogClient), built in place.

#ifndef MORVEX_COMMON_LOG_LOG_LINE_H
#define MORVEX_COMMON_LOG_LOG_LINE_H

#include <time.h>

#include <cstdarg>

class LogLine {
public:
    static constexpr int bufferSize = 1152;
    static constexpr int textEnd = 1150; // the text ends here at the latest

    // Writes the fields in front of the text. `name` and `prefix` may be null.
    LogLine(int level, time_t now, const char* host, const char* name, unsigned id,
            const char* prefix);

    // Writes the text and ends the line. Exactly one of the two is called, once.
    void addFormatted(const char* format, va_list& arguments);
    void addData(const char* data, int length);

    // The line, with a NUL behind it.
    const char* text() const { return buffer; }
    int length() const { return position; }

    // The distance of local time from UTC of one moment, as the signed decimal number HHMM.
    static int zoneOffset(const struct tm& local, const struct tm& utc);

private:
    void addField(int room, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void endLine();

    int position;
    char buffer[bufferSize];
};

#endif
