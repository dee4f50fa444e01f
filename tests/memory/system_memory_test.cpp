#include "common/memory/memory_system.h"
#include "common/memory/system_memory.h"
#include "common/thread/thread.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(SystemMemory, ReadsTheTotalLine) {
    Thread::init(); // streams are let go by their last holder only while the runtime stands
    std::string longText;
    for (int i = 0; i < 2000; ++i) {
        longText += "Other" + std::to_string(i) + ":  12 kB\n";
    }
    const struct {
        std::string text;
        unsigned long long size;
    } rows[] = {
        {"MemTotal:        8192 kB\n", 8388608},
        {"MemTotal:        8192 MB\n", 4294967295},
        {"MemFree: 1 kB\nMEMTOTAL: 16 K\nmemtotal: 99 K\n", 16384},
        {"memtotal 5 b\n", 5},
        {"MemTotal: 3 \t m", 3145728},
        {"MemTotal: 3 G\r\n", 3221225472},
        {"MemTotal: 1 T\n", 4294967295},
        {"MemTotal: 18446744073709551615 T\n", 4294967295}, // the shift would wrap
        {longText + "MemTotal: 7 kB\n", 7168},
    };
    const support::TempDir dir;
    const std::string path = dir / "meminfo";
    for (const auto& row : rows) {
        support::writeFile(path, row.text);
        EXPECT_EQ(readMemTotal(path.c_str()), row.size) << row.text;
    }
    // No blank, no unit, none that is known, and a first line that decides.
    for (const char* bad :
         {"MemTotal: 0 kB\n", "MemTotal: 8192kB\n", "MemTotal: 8192\tkB\n", "MemTotal: 8192\n",
          "MemTotal: 8192 \n", "MemTotal: 8192 xB\n", "MemTotal: many\nMemTotal: 8192 kB\n",
          " MemTotal: 8192 kB\n", "MemFree: 8192 kB\n", ""}) {
        support::writeFile(path, bad);
        EXPECT_EQ(readMemTotal(path.c_str()), 0U) << bad;
    }
    EXPECT_EQ(readMemTotal((dir / "missing").c_str()), 0U);
    EXPECT_EQ(getSystemMemSize(), readMemTotal("/proc/meminfo"));
    Thread::cleanup();
}

} // namespace
