// Opening a converter: ICU's own name first, then the alias table. The map over that table is built
// by the first look-up that needs it, since hardly any run does.

#include "message/charset.h"

#include "common/stream/fd_stream.h"
#include "common/thread/reentrant_cs.h"
#include "common/thread/thread.h"
#include "message/icu.h"

#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <map>
#include <optional>

namespace {

struct CaseStringLessThan {
    bool operator()(const char* a, const char* b) const { return ::strcasecmp(a, b) < 0; }
};

using AliasMap = std::map<const char*, const char*, CaseStringLessThan>;

// Written under the global lock, read without one once mapBuilt is set. Never freed: other threads
// may read it until the process ends.
AliasMap* aliasMap;
std::atomic<bool> mapBuilt{false};

void buildMap() {
    // Outside of the runtime's life there is no lock, and no second thread either.
    std::optional<ReentrantCS::Locker> lock;
    if (Thread::globalCS != nullptr) {
        lock.emplace(*Thread::globalCS);
    }
    if (mapBuilt.load(std::memory_order_relaxed)) {
        return;
    }
    aliasMap = new AliasMap;
    for (int i = 0; i < CHARSET_ALIAS_COUNT; ++i) {
        const CharsetAlias& row = mozillaCharsetAliasesData[i];
        aliasMap->emplace(row.alias, row.canonical);
        aliasMap->emplace(row.canonical, row.alias);
    }
    mapBuilt.store(true, std::memory_order_release);
}

constexpr char FIRST_RULE[] =
    "=======================================================================\n";
constexpr char ROW_RULE[] =
    "-----------------------------------------------------------------------\n";

} // namespace

const char* getCharsetAlias(const char* name) {
    if (!mapBuilt.load(std::memory_order_acquire)) {
        buildMap();
    }
    const AliasMap::const_iterator found = aliasMap->find(name);
    return found != aliasMap->end() ? found->second : nullptr;
}

UConverter* mvx_ucnv_open(const char* name, UErrorCode* err) {
    const Icu* icu = loadIcu();
    if (icu == nullptr) {
        *err = U_FILE_ACCESS_ERROR;
        return nullptr;
    }
    if (::strcasecmp(name, "GB2312") == 0) {
        name = "GB18030";
    }
    *err = U_ZERO_ERROR;
    UConverter* converter = icu->open(name, err);
    if (*err == U_FILE_ACCESS_ERROR) {
        const char* alias = getCharsetAlias(name);
        if (alias == nullptr) {
            return nullptr;
        }
        *err = U_ZERO_ERROR;
        converter = icu->open(alias, err);
    }
    return *err <= U_ZERO_ERROR ? converter : nullptr;
}

void closeConverter(UConverter* converter) {
    if (converter != nullptr) {
        loadIcu()->close(converter);
    }
}

void printSupportedCharsets() {
    FDStream output(STDOUT_FILENO);
    printSupportedCharsetsToStream(&output);
}

void printSupportedCharsetsToStream(Stream* stream) {
    stream->writeFormat("\nConverter name:                     | Aliases:            \n%s",
                        FIRST_RULE);
    const Icu* icu = loadIcu();
    const int converters = icu != nullptr ? icu->countAvailable() : 0;
    int aliasNumber = 0;
    for (int i = 0; i < converters; ++i) {
        const char* name = icu->getAvailableName(i);
        UErrorCode err = U_ZERO_ERROR;
        const int aliases = icu->countAliases(name, &err);
        for (int j = 0; j < aliases; ++j) {
            const char* alias = icu->getAlias(name, static_cast<std::uint16_t>(j), &err);
            ++aliasNumber;
            if (j == 0) {
                stream->writeFormat("%4d.%-30s | %4d.%s\n", i + 1, name, aliasNumber, alias);
            } else {
                stream->writeFormat("                                    | %4d.%s\n", aliasNumber,
                                    alias);
            }
        }
        stream->writeFormat("%s", ROW_RULE);
    }
    stream->writeFormat("Number of supported charsets: %u\n", static_cast<unsigned>(converters));
    stream->writeFormat("Total number of charset aliases: %u\n",
                        static_cast<unsigned>(aliasNumber));
}
