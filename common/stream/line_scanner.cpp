#include "common/stream/line_scanner.h"

#include "common/stream/line_scanner_kernels.h"
#include "common/stream/stream.h"

#include <atomic>
#include <climits>

#if defined(__x86_64__)
#include <dlfcn.h>
#endif

namespace {

constexpr std::uint16_t CrCr = scan::pair('\r', '\r');
constexpr std::uint16_t LfLf = scan::pair('\n', '\n');
constexpr std::uint16_t CrLf = scan::pair('\r', '\n');
constexpr std::uint16_t LfCr = scan::pair('\n', '\r');
constexpr std::uint16_t NulNul = scan::pair('\0', '\0');

using Scanner = int (*)(const unsigned char*, int, int&);

#if defined(__x86_64__)

// A process that never searches more than this at once does not gain what the question costs.
constexpr int NOT_ASKED = 4095;

// The largest range that does not go to the wide kernel; any, where the processor does not run it.
std::atomic<int> narrowUpTo = NOT_ASKED;

[[gnu::noinline, gnu::cold]] bool askProcessor() {
    const bool usable = scan::avx2IsUsable();
    narrowUpTo.store(usable ? scan::Avx2Kernel::LeastSize - 1 : INT_MAX, std::memory_order_relaxed);
    return usable;
}

struct ChosenKernel {
    template <class Set> static int findTrigger(const unsigned char* data, int size) {
        const int narrow = narrowUpTo.load(std::memory_order_relaxed);
        if (size > narrow && (narrow != NOT_ASKED || askProcessor())) {
            return scan::Avx2Kernel::findTrigger<Set>(data, size);
        }
        return scan::Kernel::findTrigger<Set>(data, size);
    }
};

#else

using ChosenKernel = scan::Kernel;

#endif

} // namespace

#if defined(__x86_64__)

// The loader has asked the processor already; to ask again costs a trap into the hypervisor on a
// virtual machine. Where the C library does not tell, the answer is no. The declarations are those
// of glibc's <sys/platform/x86.h>, which is C only.
bool scan::avx2IsUsable() {
    struct Leaf {
        unsigned present[4]; // eax, ebx, ecx and edx of one question to the processor
        unsigned active[4];  // of that, what the system supports as well
    };
    constexpr unsigned leafSeven = 1;
    constexpr unsigned ebx = 1;
    constexpr unsigned avx2 = 1U << 5;
    void* const address = ::dlsym(RTLD_DEFAULT, "__x86_get_cpuid_feature_leaf");
    if (address == nullptr) {
        return false;
    }
    const auto getLeaf = reinterpret_cast<const Leaf* (*)(unsigned)>(address);
    return (getLeaf(leafSeven)->active[ebx] & avx2) != 0;
}

#endif

template <std::uint16_t Pair, unsigned Mode>
int searchTwoChars(const unsigned char* data, int size, int& eolSize) {
    return scan::findLineEnd<scan::LineEndSet<Pair, Mode>, ChosenKernel>(data, size, eolSize);
}

template int searchTwoChars<scan::pair('\t', ' '), 7>(const unsigned char*, int, int&);
template int searchTwoChars<scan::pair(')', ' '), 7>(const unsigned char*, int, int&);

int searchTabOrBlank(const unsigned char* data, int size) {
    int length;
    return safeSearchTwoChars<scan::pair('\t', ' '), 7>(data, size, length);
}

int searchParenthesisOrBlank(const unsigned char* data, int size) {
    int length;
    return safeSearchTwoChars<scan::pair(')', ' '), 7>(data, size, length);
}

int Stream::searchEOL(int flags, const unsigned char* data, int size, int& eolSize) {
    // By flags & 31: the upper half is the lower one without the NUL byte. CR LF and LF CR
    // together never take NUL for a line end, so 12 and 28 share a member.
    static constexpr Scanner scanners[32] = {
        searchTwoChars<NulNul, 16>,    searchTwoChars<CrCr, 5 | 16>, searchTwoChars<LfLf, 5 | 16>,
        searchTwoChars<CrLf, 7 | 16>,  searchTwoChars<CrLf, 16>,     searchTwoChars<CrLf, 1 | 16>,
        searchTwoChars<CrLf, 2 | 16>,  searchTwoChars<CrLf, 3 | 16>, searchTwoChars<LfCr, 16>,
        searchTwoChars<LfCr, 2 | 16>,  searchTwoChars<LfCr, 1 | 16>, searchTwoChars<LfCr, 3 | 16>,
        searchTwoChars<CrLf, 8>,       searchTwoChars<CrLf, 9 | 16>, searchTwoChars<CrLf, 10 | 16>,
        searchTwoChars<CrLf, 11 | 16>, searchTwoChars<NulNul, 0>,    searchTwoChars<CrCr, 5>,
        searchTwoChars<LfLf, 5>,       searchTwoChars<CrLf, 7>,      searchTwoChars<CrLf, 0>,
        searchTwoChars<CrLf, 1>,       searchTwoChars<CrLf, 2>,      searchTwoChars<CrLf, 3>,
        searchTwoChars<LfCr, 0>,       searchTwoChars<LfCr, 2>,      searchTwoChars<LfCr, 1>,
        searchTwoChars<LfCr, 3>,       searchTwoChars<CrLf, 8>,      searchTwoChars<CrLf, 9>,
        searchTwoChars<CrLf, 10>,      searchTwoChars<CrLf, 11>,
    };
    return scanners[flags & 31](data, size, eolSize);
}
