// The line scanners against the definition of a line end, byte by byte.

#include "common/stream/line_scanner.h"
#include "common/stream/line_scanner_kernels.h"
#include "common/stream/stream.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <utility>

namespace {

// Offset behind the first line end and its length, by the meaning of the flags.
std::pair<int, int> plainSearch(int flags, std::string_view data) {
    const int set = flags & 15;
    const bool nul = (flags & 16) == 0 && set != 12;
    for (std::size_t at = 0; at < data.size(); ++at) {
        const std::string_view two = data.substr(at, 2);
        const bool pair = ((set & 4) != 0 && two == "\r\n") || ((set & 8) != 0 && two == "\n\r") ||
                          (set == 0 && two == std::string_view("\0\0", 2));
        if (pair) {
            return {static_cast<int>(at) + 2, 2};
        }
        const char c = data[at];
        if (((set & 1) != 0 && c == '\r') || ((set & 2) != 0 && c == '\n') || (nul && c == '\0')) {
            return {static_cast<int>(at) + 1, 1};
        }
    }
    return {-1, 0};
}

std::pair<int, int> search(int flags, std::string_view data) {
    int length = -1;
    const int offset = Stream::searchEOL(flags, reinterpret_cast<const unsigned char*>(data.data()),
                                         static_cast<int>(data.size()), length);
    return {offset, length};
}

// Memory between two pages that must not be touched, read-only once the test is under way: a
// scanner that reads outside of its range, or writes at all, dies.
class GuardedMemory {
public:
    explicit GuardedMemory(std::size_t wanted) {
        page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        size = (wanted + page - 1) / page * page;
        void* all = mmap(nullptr, size + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        start = static_cast<char*>(all) + page;
    }
    ~GuardedMemory() { munmap(start - page, size + 2 * page); }
    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    std::string_view atEnd(std::string_view text) {
        return store(start + size - text.size(), text);
    }
    std::string_view atStart(std::string_view text) { return store(start, text); }

private:
    std::string_view store(char* place, std::string_view text) {
        mprotect(start, size, PROT_READ | PROT_WRITE);
        text.copy(place, text.size());
        mprotect(start, size, PROT_READ);
        return {place, text.size()};
    }

    std::size_t page;
    std::size_t size;
    char* start;
};

template <class Kernel, std::uint16_t Pair, unsigned Mode>
void expectAgreement(int flags, std::string_view data) {
    int length = -1;
    const int offset = scan::findLineEnd<scan::LineEndSet<Pair, Mode>, Kernel>(
        reinterpret_cast<const unsigned char*>(data.data()), static_cast<int>(data.size()), length);
    ASSERT_EQ(std::make_pair(offset, length), plainSearch(flags, data))
        << "flags " << flags << " data " << testing::PrintToString(data);
}

// Runs a kernel on its own, whichever one the scanners choose on this machine.
template <class Kernel> void expectKernelAgrees(const char* name, std::size_t least) {
    auto random = support::seededRandom(name);
    GuardedMemory memory(4096);
    const std::string alphabets[] = {std::string("\r\n\0", 3) + std::string(20, 'x'),
                                     std::string("\r\n\0", 3) + std::string(600, '\xff'),
                                     std::string("\n") + std::string(300, '\r')};
    constexpr std::uint16_t crLf = scan::pair('\r', '\n');
    constexpr std::uint16_t lfCr = scan::pair('\n', '\r');
    for (int round = 0; round < 1000 && !testing::Test::HasFatalFailure(); ++round) {
        std::string text = support::randomText(random, alphabets[round % 3], round % 2 ? 700 : 60);
        if (text.size() < least) {
            text.resize(least + text.size(), 'x');
        }
        const std::string_view data = memory.atEnd(text);
        expectAgreement<Kernel, scan::pair(0, 0), 16>(0, data);
        expectAgreement<Kernel, scan::pair(0, 0), 0>(16, data);
        expectAgreement<Kernel, crLf, 7>(19, data);
        expectAgreement<Kernel, crLf, 16>(4, data);
        expectAgreement<Kernel, crLf, 2 | 16>(6, data);
        expectAgreement<Kernel, lfCr, 2>(25, data);
        expectAgreement<Kernel, crLf, 8>(12, data);
        expectAgreement<Kernel, crLf, 11 | 16>(15, data);
    }
}

} // namespace

TEST(LineScanner, KnownResults) {
    using std::string_view_literals::operator""sv;
    const struct {
        int flags;
        std::string_view data;
        int offset;
        int length;
    } rows[] = {
        {1, "ab\nc"sv, -1, 0},  {2, "ab\nc"sv, 3, 1},       {6, "a\r\n"sv, 3, 2},
        {6, "a\0b"sv, 2, 1},    {22, "a\0b"sv, -1, 0},      {0, "a\0\0"sv, 3, 2},
        {0, "a\0b"sv, 2, 1},    {16, "a\0b\0\0"sv, 5, 2},   {12, "\0\n\r"sv, 3, 2},
        {28, "\0\r\n"sv, 3, 2}, {15, "\r\r\n"sv, 1, 1},     {14, "\r\n\r"sv, 2, 2},
        {19, "a\r\n"sv, 2, 1},  {4 | 0x80, "a\r"sv, -1, 0}, {6, ""sv, -1, 0},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(search(row.flags, row.data), std::make_pair(row.offset, row.length))
            << "flags " << row.flags << " data " << testing::PrintToString(row.data);
    }
}

// After a search of this length the scanners have chosen among the machine's kernels; the shorter
// ranges of these tests go to the one, the longer to the other.
TEST(LineScanner, EveryFlagWordOnRandomData) {
    ASSERT_EQ(search(2, std::string(5000, 'x')), std::make_pair(-1, 0));
    auto random = support::seededRandom("LineScanner.EveryFlagWordOnRandomData");
    GuardedMemory memory(4096);
    // Rare line ends for the long strides, dense ones for the order of pairs and single bytes, and
    // bytes that share bits with line ends.
    const std::string alphabets[] = {
        std::string("\r\n\0a", 4), std::string("\r\n\0", 3) + std::string(60, 'x'),
        std::string("\r\n\0", 3) + std::string(600, '\xff'),
        std::string("\x8a\x8d\x80\x1a\x1d\x10\x0b\x0c\x01\x4a\x2d\r", 12)};
    for (int round = 0; round < 800; ++round) {
        const std::size_t most = round % 3 == 0 ? 9 : round % 3 == 1 ? 70 : 700;
        const std::string text = support::randomText(random, alphabets[round / 3 % 4], most);
        for (const std::string_view data : {memory.atEnd(text), memory.atStart(text)}) {
            for (int flags = 0; flags < 32; ++flags) {
                ASSERT_EQ(search(flags, data), plainSearch(flags, data))
                    << "flags " << flags << " data " << testing::PrintToString(text);
            }
        }
    }
}

TEST(LineScanner, OneLineEndAtEveryPlaceOfEverySize) {
    ASSERT_EQ(search(2, std::string(5000, 'x')), std::make_pair(-1, 0));
    GuardedMemory memory(4096);
    for (std::size_t size = 1; size <= 400; ++size) {
        for (std::size_t at = 0; at < size; ++at) {
            std::string text(size, 'x');
            text[at] = '\n';
            const std::string_view data = memory.atEnd(text);
            ASSERT_EQ(search(6, data), std::make_pair(static_cast<int>(at) + 1, 1)) << size;
            ASSERT_EQ(search(4, data), std::make_pair(-1, 0)) << size << ' ' << at;
        }
    }
}

TEST(LineScanner, EachKernelAgrees) {
    expectKernelAgrees<scan::WordKernel>("LineScanner.EachKernelAgrees, words", 0);
    expectKernelAgrees<scan::Kernel>("LineScanner.EachKernelAgrees, this machine's", 0);
#if defined(__x86_64__)
    if (!scan::avx2IsUsable()) {
        GTEST_SKIP() << "no AVX2 on this machine";
    }
    expectKernelAgrees<scan::Avx2Kernel>("LineScanner.EachKernelAgrees, AVX2",
                                         scan::Avx2Kernel::LeastSize);
#endif
}

TEST(LineScanner, TheTwoMembersBesideLineEnds) {
    const auto* text = reinterpret_cast<const unsigned char*>("abcdefghijklmnopqrstuvwxyz\t) ");
    EXPECT_EQ(searchTabOrBlank(text, 29), 27);
    EXPECT_EQ(searchTabOrBlank(text, 26), -1);
    EXPECT_EQ(searchParenthesisOrBlank(text, 29), 28);
    EXPECT_EQ(searchParenthesisOrBlank(text + 28, 1), 1);
    EXPECT_EQ(searchParenthesisOrBlank(text, 0), -1);
}
