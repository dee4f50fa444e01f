#include "common/memory/system_memory.h"

#include "common/memory/memory_system.h"
#include "common/stream/file.h"
#include "message/line_tokenizer.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/resource.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr unsigned long long largestSize = 0xFFFFFFFF;
constexpr char totalName[] = "memtotal";
constexpr int anyLineEnd = 143; // every kind of line end, and none of it in the token

// The power of two that a unit stands for, or -1.
int shiftOfUnit(char letter) {
    switch (std::toupper(static_cast<unsigned char>(letter))) {
    case 'B':
        return 0;
    case 'K':
        return 10;
    case 'M':
        return 20;
    case 'G':
        return 30;
    case 'T':
        return 40;
    default:
        return -1;
    }
}

// "       8192 kB" and the like.
unsigned long long parseSize(const char* text) {
    text += std::strcspn(text, "0123456789");
    char* behind = nullptr;
    const unsigned long number = std::strtoul(text, &behind, 10);
    if (behind == text || *behind != ' ') {
        return 0;
    }
    while (std::isspace(static_cast<unsigned char>(*behind)) != 0) {
        ++behind;
    }
    const int shift = shiftOfUnit(*behind);
    if (shift < 0) {
        return 0;
    }
    const bool fits = number <= std::numeric_limits<unsigned long long>::max() >> shift;
    return fits ? std::min<unsigned long long>(number * 1ULL << shift, largestSize) : largestSize;
}

} // namespace

unsigned long long readMemTotal(const char* path) {
    File file(path);
    if (file.open(O_RDONLY) != 0) { // sets close-on-exec
        return 0;
    }
    LineTokenizer lines(&file, anyLineEnd, true);
    for (;;) {
        int size = 0;
        const char* line = static_cast<const char*>(lines.readToken(size));
        if (line == nullptr || (size == 0 && !lines.lastTokenCompleted())) {
            return 0;
        }
        if (::strncasecmp(line, totalName, sizeof totalName - 1) == 0) {
            return parseSize(line + sizeof totalName - 1);
        }
    }
}

unsigned long long getSystemMemSize() {
    static const unsigned long long size = readMemTotal("/proc/meminfo");
    return size;
}

unsigned long long getVirtualMemoryLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        return limit.rlim_cur;
    }
    return getSystemMemSize();
}
