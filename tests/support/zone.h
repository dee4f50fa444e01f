// The process's time zone, set for the time of a test.

#ifndef MORVEX_TESTS_SUPPORT_ZONE_H
#define MORVEX_TESTS_SUPPORT_ZONE_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace support {

class Zone {
public:
    explicit Zone(const char* rule) {
        if (const char* old = std::getenv("TZ"); old != nullptr) {
            saved = old;
        }
        set(rule);
    }
    Zone(const Zone&) = delete;
    Zone& operator=(const Zone&) = delete;
    ~Zone() { set(saved ? saved->c_str() : nullptr); }

private:
    static void set(const char* rule) {
        rule != nullptr ? ::setenv("TZ", rule, 1) : ::unsetenv("TZ");
        ::tzset();
    }
    std::optional<std::string> saved;
};

// Rules in full, so that no zone data needs to be installed.
constexpr char berlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char newYork[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char kolkata[] = "IST-5:30";

} // namespace support

#endif
