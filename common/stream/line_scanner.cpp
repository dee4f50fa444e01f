#include "common/stream/line_scanner.h"

#include "common/stream/line_scanner_kernels.h"
#include "common/stream/stream.h"

namespace {

constexpr std::uint16_t CrCr = scan::pair('\r', '\r');
constexpr std::uint16_t LfLf = scan::pair('\n', '\n');
constexpr std::uint16_t CrLf = scan::pair('\r', '\n');
constexpr std::uint16_t LfCr = scan::pair('\n', '\r');
constexpr std::uint16_t NulNul = scan::pair('\0', '\0');

using Scanner = int (*)(const unsigned char*, int, int&);

} // namespace

template <std::uint16_t Pair, unsigned Mode>
int searchTwoChars(const unsigned char* data, int size, int& eolSize) {
    return scan::findLineEnd<scan::LineEndSet<Pair, Mode>, scan::Kernel>(data, size, eolSize);
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
