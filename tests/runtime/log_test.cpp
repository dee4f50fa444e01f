#include "common/log/log.h"
#include "common/log/log_client.h"
#include "common/log/log_line.h"
#include "common/log/thread_log.h"
#include "common/log/thread_log_client.h"
#include "tests/runtime/runtime.h"
#include "tests/stream/streams.h"
#include "tests/support/zone.h"

#include <time.h>

#include <cstdarg>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

class LogTest : public RuntimeTest {
protected:
    ~LogTest() override {
        thsLog.get()->client = nullptr;
        thsLog.get()->id = 0;
    }
    support::Zone zone{"UTC0"};
};

__attribute__((format(printf, 2, 3))) std::string finish(LogLine& line, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    line.addFormatted(format, arguments);
    va_end(arguments);
    return std::string(line.text(), static_cast<std::size_t>(line.length()));
}

TEST_F(LogTest, LineOfTheLogServer) {
    const time_t when = 1612335907; // 2021-02-03 07:05:07 UTC
    const struct {
        const char *rule, *name, *prefix, *text, *line;
    } rows[] = {
        {"EET-2", "queue", nullptr, "ok",
         "<08>02-03 09:05:07 +0200 localhost queue:0000002A: ok\n"},
        {"UTC0", nullptr, ">> ", "ends itself\n",
         "<08>02-03 07:05:07 +0000 localhost :0000002A: >> ends itself\n"},
        {"NST+3:30", "0123456789012345678901234567890123", "", "",
         "<08>02-03 03:35:07 -0330 localhost 01234567890123456789012345678901:0000002A: \n"},
        {"IST-5:30", "q", "<< ", "x", "<08>02-03 12:35:07 +0530 localhost q:0000002A: << x\n"},
    };
    for (const auto& row : rows) {
        const support::Zone local(row.rule);
        LogLine line(8, when, "localhost", row.name, 42, row.prefix);
        EXPECT_EQ(finish(line, "%s", row.text), row.line);
    }
}

TEST_F(LogTest, OddLevelOrTimeKeepsTheFormat) {
    const time_t farAway = std::numeric_limits<time_t>::max();
    LogLine line(std::numeric_limits<int>::min(), farAway, "localhost", "q", 1, nullptr);
    EXPECT_EQ(finish(line, "x"), "<-2147483648>01-00 00:00:00 +0000 localhost q:00000001: x\n");
}

TEST_F(LogTest, ZoneOffsetAcrossMidnight) {
    const struct {
        const char* rule;
        time_t when;
        int offset;
    } rows[] = {
        {"AAA-2", 1612395000, 200}, // 23:30 UTC, the next day there
        {"AAA-2", 1609457400, 200}, // the same on the last day of a year
        {"AAA+9:30", 1612335907, -930},
        {"AAA+9", 1609459200 + 3600, -900}, // 01:00 UTC on 1 January, the old year there
        {"AAA-0:30", 1612335907, 30},
        {"AAA+0:30", 1612335907, -30},
        {"AAA+1:30", 1612335907, -130},
        {"AAA-14", 1612335907, 1400},
    };
    for (const auto& row : rows) {
        const support::Zone local(row.rule);
        const struct tm here = *localtime(&row.when);
        EXPECT_EQ(LogLine::zoneOffset(here, *gmtime(&row.when)), row.offset)
            << row.rule << " " << row.when;
    }
    struct tm early {};
    struct tm late {};
    late.tm_hour = 23;
    late.tm_mday = late.tm_yday = 3;
    EXPECT_EQ(LogLine::zoneOffset(late, early), 2359) << "held to less than a day";
}

TEST_F(LogTest, LongTextsFillTheLine) {
    const std::string bytes(2000, 'b');
    LogLine formatted(1, 0, "localhost", "n", 1, nullptr);
    const std::string full = finish(formatted, "%s", bytes.c_str());
    EXPECT_EQ(full.size(), 1151u);
    EXPECT_EQ(full.substr(1148), "bb\n");

    const int start = 47; // of the text, behind "<01>... localhost n:00000001: "
    for (const int length : {2000, 1151 - start, 1150 - start, 1149 - start}) {
        LogLine raw(1, 0, "localhost", "n", 1, nullptr);
        ASSERT_EQ(raw.length(), start);
        raw.addData(bytes.data(), length);
        const bool fits = length <= 1150 - start;
        EXPECT_EQ(raw.length(), fits ? start + length + 1 : 1150) << length;
        EXPECT_EQ(raw.text()[raw.length() - 1], fits ? '\n' : 'b') << length;
        EXPECT_EQ(raw.text()[raw.length()], '\0') << length;
    }
    LogLine prefixed(1, 0, "localhost", "n", 1, bytes.c_str());
    prefixed.addData("xyz", 3);
    EXPECT_EQ(prefixed.length(), 1150);
}

// A client's lines without their time, which is the present one.
class LineCatcher {
public:
    Stream* target() { return &sink; }
    std::string take() {
        std::istringstream all(std::exchange(sink.text, ""));
        std::string lines;
        for (std::string line; std::getline(all, line);) {
            lines += line.substr(0, 4) + line.substr(24) + "\n";
        }
        return lines;
    }

private:
    support::Sink sink;
};

// One line of each kind, from this module and number.
std::string sixLines(const std::string& origin) {
    const std::string place = "> localhost " + origin + ": ";
    return "<01" + place + "1\n<02" + place + "2\n<04" + place + "3\n<08" + place + "4\n<16" +
           place + "<< 5\n<16" + place + ">> 6\n";
}

TEST_F(LogTest, ClientLogsWhatItsMaskHolds) {
    LineCatcher lines;
    LogClient client("mail", 0, nullptr, 0);
    EXPECT_EQ(Thread::getLastError(), HE_INVALOP);
    EXPECT_EQ(client.getLevelMask(), 0);
    client.setStream(lines.target());
    client.logCritical(1, "unheard");
    EXPECT_EQ(lines.take(), "");
    client.setLevelMask(31);
    client.logCritical(0x12, "%d", 1);
    client.logError(0x12, "2");
    client.logWarning(0x12, "3");
    client.logInfo(0x12, "4");
    client.logProtoIn(0x12, "5");
    client.logProtoOut(0x12, "6");
    EXPECT_EQ(lines.take(), sixLines("mail:00000012"));
    client.setLevelMask(2);
    client.logInfo(1, "unheard");
    client.log(16, 1, nullptr, "unheard", 7);
    client.log(2, 1, "p ", "data", 3);
    client.logChunk(8, 0, 1, nullptr, "chunk", 5);
    client.logChunk(8, 0, 1, nullptr, "chunk", 0);
    EXPECT_EQ(lines.take(), "<02> localhost mail:00000001: p dat\n"
                            "<08> localhost mail:00000001: chunk\n");
    support::Sink failing([] {
        Thread::setLastError(EPIPE);
        return -1;
    });
    client.setStream(&failing);
    Thread::setLastError(HE_CRC);
    client.logError(1, "lost");
    EXPECT_EQ(Thread::getLastError(), HE_CRC) << "of what is logged, not of the logging";
    client.setStream(nullptr);
    client.logError(1, "without a stream");
    EXPECT_EQ(lines.take(), "");
}

TEST_F(LogTest, ThreadsRecordChoosesTheClient) {
    const ThSpecificLogClient* record = thsLog.get();
    ASSERT_NE(record, nullptr);
    EXPECT_STREQ(record->module, "");
    EXPECT_STREQ(record->name, "<ANONYMOUS>");
    debug_logError("nobody hears %s", "this");
    AbstractLogClient::st_logError("nor %s", "this");
    AbstractLogClient::st_logProtoIn(4, "data");

    LineCatcher lines;
    LogClient client("c", 0, nullptr, 0);
    client.setStream(lines.target());
    client.setLevelMask(31);
    thsLog.get()->client = &client;
    thsLog.get()->id = 0xABC;
    AbstractLogClient::st_logCritical("%d", 1);
    AbstractLogClient::st_logError("%d", 2);
    AbstractLogClient::st_logWarning("%d", 3);
    AbstractLogClient::st_logInfo("%d", 4);
    AbstractLogClient::st_logProtoIn("%d", 5);
    AbstractLogClient::st_logProtoOut("%d", 6);
    EXPECT_EQ(lines.take(), sixLines("c:00000ABC"));
    logCritical("%d", 1);
    logError("%d", 2);
    logWarning("%d", 3);
    logInfo("%d", 4);
    logProtoIn("%d", 5);
    logProtoOut("%d", 6);
    EXPECT_EQ(lines.take(), sixLines("c:00000ABC"));
    AbstractLogClient::st_logProtoIn(1, "7");
    AbstractLogClient::st_logProtoOut(1, "8");
    const std::string byClient = lines.take();
    EXPECT_EQ(byClient, "<16> localhost c:00000ABC: << 7\n<16> localhost c:00000ABC: >> 8\n");
    logProtoInBuffer(1, "7");
    logProtoOutBuffer(1, "8");
    EXPECT_EQ(lines.take(), byClient);
    logDebug("%s", std::string(2000, 'd').c_str());
    EXPECT_EQ(lines.take(), "<08> localhost c:00000ABC: " + std::string(1023, 'd') + "\n");
    onThread([] { // another thread has a record of its own
        EXPECT_EQ(thsLog.get()->client, nullptr);
        logInfo("unheard");
        return 0;
    });
    EXPECT_EQ(lines.take(), "");
}

std::vector<std::string> caught; // what Thread::log got, as "level text"

__attribute__((format(printf, 2, 3))) void catchLog(int level, const char* format, ...) {
    char text[2048];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    caught.push_back(std::to_string(level) + " " + text);
}

TEST_F(LogTest, HookClientMapsLevelsAndCuts) {
    auto* const saved = std::exchange(Thread::log, catchLog);
    ThreadLogClient client(31 - 8);
    client.logCritical(9, "a%d", 1);
    client.logError(9, "b");
    client.logWarning(9, "c");
    client.logInfo(9, "masked");
    client.logProtoIn(9, "d");
    client.log(16, 9, nullptr, "raw bytes", 3);
    client.log(16, 9, ">> ", "raw bytes", 3);
    client.log(8, 9, nullptr, "masked", 6);
    const std::string longText(1500, 'l');
    client.log(16, 9, nullptr, longText.data(), 1500);
    client.log(16, 9, longText.c_str(), "x", 1);
    client.logProtoOut(9, "%s", longText.c_str());
    client.log(16, 9, ">> ", longText.data(), 1021);
    client.log(16, 9, ">> ", longText.data(), 1020);
    Thread::log = saved;
    std::vector<std::string> expected = {"3 a1", "3 b", "2 c", "1 << d", "1 raw", "1 >> raw"};
    expected.insert(expected.end(), 2, "1 " + longText.substr(0, 1023));
    expected.insert(expected.end(), 3, "1 >> " + longText.substr(0, 1020));
    EXPECT_EQ(caught, expected);
}

TEST_F(LogTest, LevelsOfMasks) {
    const std::pair<int, int> rows[] = {{0, 0},  {1, 3}, {2, 3}, {3, 3},  {4, 2},
                                        {12, 2}, {6, 3}, {8, 1}, {16, 1}, {24, 1}};
    for (const auto& [mask, level] : rows) {
        EXPECT_EQ(getSystemLogLevel(mask), level) << mask;
    }
}

} // namespace
