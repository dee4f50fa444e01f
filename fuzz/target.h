// What every fuzz target shares. A target is one source that holds FUZZ_TARGET(name) and a body
// over `input`; the name is that of its corpus and its dictionary. The same source is built two
// ways: with MORVEX_FUZZ_ENTRY as a libFuzzer program of its own, and without it into one test
// binary that runs all targets over their corpora (tests/corpus).
//
// A target reports a fault by FUZZ_CHECK, which tells the place and aborts; the fuzzer keeps the
// input then. The runtime is up while a target runs. One thread runs all.

#ifndef MORVEX_FUZZ_TARGET_H
#define MORVEX_FUZZ_TARGET_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace fuzz {

// The bytes of one run, taken from the front. Behind the end all bytes are 0.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : left(reinterpret_cast<const char*>(data), size) {}

    unsigned byte() {
        if (left.empty()) {
            return 0;
        }
        const unsigned value = static_cast<unsigned char>(left.front());
        left.remove_prefix(1);
        return value;
    }

    // All that is left.
    std::string_view rest() const { return left; }

private:
    std::string_view left;
};

// A zero-terminated copy of a text up to its first NUL byte, in a block of exactly that size: what
// reads past the end is seen by the address sanitizer.
class Text {
public:
    explicit Text(std::string_view text)
        : length(std::min(text.size(), text.find('\0'))), copy(new char[length + 1]) {
        std::memcpy(copy.get(), text.data(), length);
        copy[length] = '\0';
    }

    char* get() const { return copy.get(); }
    std::size_t size() const { return length; }
    std::string_view view() const { return {copy.get(), length}; }

private:
    std::size_t length;
    std::unique_ptr<char[]> copy;
};

inline const unsigned char* bytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

inline std::string_view viewOf(const unsigned char* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

[[noreturn]] inline void fail(const char* condition, const char* file, int line) {
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

#define FUZZ_CHECK(condition)                                                                      \
    ((condition) ? static_cast<void>(0) : fuzz::fail(#condition, __FILE__, __LINE__))

using Body = void (*)(Input input);

// The list of the targets in one binary.
struct Target {
    Target(const char* targetName, Body targetBody)
        : name(targetName), body(targetBody), next(first) {
        first = this;
    }

    const char* name;
    Body body;
    Target* next;

    static inline Target* first = nullptr;
};

} // namespace fuzz

#ifdef MORVEX_FUZZ_ENTRY

#include "common/thread/thread.h"

#define FUZZ_TARGET(name)                                                                          \
    static void name##Body(fuzz::Input input);                                                     \
    extern "C" int LLVMFuzzerInitialize(int*, char***) {                                           \
        Thread::init();                                                                            \
        return 0;                                                                                  \
    }                                                                                              \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {            \
        name##Body(fuzz::Input(data, size));                                                       \
        return 0;                                                                                  \
    }                                                                                              \
    static void name##Body(fuzz::Input input)

#else

#define FUZZ_TARGET(name)                                                                          \
    static void name##Body(fuzz::Input input);                                                     \
    static const fuzz::Target name##Target(#name, name##Body);                                     \
    static void name##Body(fuzz::Input input)

#endif

#endif
