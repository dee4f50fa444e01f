// How the line scanners look at their bytes: the sets of line ends, and the kernels that find the
// first byte which completes or begins one. Only line_scanner.cpp and the tests include this.
//
// A kernel finds a trigger: a byte that is a line end by itself, or, in a set where neither
// character of the pair is one, the second byte of a pair. lineEndAt() then looks at the trigger's
// neighbours. No kernel reads outside of its range.

#ifndef MORVEX_COMMON_STREAM_LINE_SCANNER_KERNELS_H
#define MORVEX_COMMON_STREAM_LINE_SCANNER_KERNELS_H

#include "common/stream/line_scanner.h"

#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace scan {

template <std::uint16_t Pair, unsigned Mode> struct LineEndSet {
    static constexpr unsigned char first = Pair & 0xff;
    static constexpr unsigned char second = Pair >> 8;
    static constexpr bool nul = (Mode & NulAlone) != 0;
    static constexpr bool reverse = (Mode & ReversePair) != 0;
    static constexpr bool paired = (Mode & NoPair) == 0;

    static constexpr bool isSingle(unsigned char c) {
        return ((Mode & FirstAlone) != 0 && c == first) ||
               ((Mode & SecondAlone) != 0 && c == second) || (nul && c == 0);
    }

    static constexpr bool isPair(unsigned char before, unsigned char c) {
        return paired &&
               ((before == first && c == second) || (reverse && before == second && c == first));
    }

    // Where one character of the pair is a line end by itself, it is the trigger of the pair too.
    static constexpr bool pairTriggers = paired && !isSingle(first) && !isSingle(second);

    static constexpr bool triggers(unsigned char before, unsigned char c) {
        return isSingle(c) || (pairTriggers && isPair(before, c));
    }
};

// A byte that is in no set, to stand before the first one.
constexpr unsigned char NoByte = 0xff;

// The first trigger from offset from on, or size. Requires: from <= size.
template <class Set> inline int findTriggerByByte(const unsigned char* data, int from, int size) {
    unsigned char before = from > 0 ? data[from - 1] : NoByte;
    for (; from < size; ++from) {
        const unsigned char c = data[from];
        if (Set::triggers(before, c)) {
            break;
        }
        before = c;
    }
    return from;
}

// The line end at a trigger, or none where the trigger is the size. A pair goes before a single
// character, and an earlier start before a later one: so the byte before the trigger is asked
// first.
template <class Set>
inline int lineEndAt(const unsigned char* data, int trigger, int size, int& eolSize) {
    if (trigger >= size) {
        eolSize = 0;
        return -1;
    }
    if (trigger > 0 && Set::isPair(data[trigger - 1], data[trigger])) {
        eolSize = 2;
        return trigger + 1;
    }
    if (trigger + 1 < size && Set::isPair(data[trigger], data[trigger + 1])) {
        eolSize = 2;
        return trigger + 2;
    }
    eolSize = 1;
    return trigger + 1;
}

// For any machine: eight bytes a step are asked whether one of the set's characters is there at
// all, and only then looked at one by one.
struct WordKernel {
    static constexpr std::uint64_t Low = 0x0101010101010101;
    static constexpr std::uint64_t High = 0x8080808080808080;

    static std::uint64_t has(std::uint64_t word, unsigned char c) {
        const std::uint64_t zeros = word ^ (Low * c);
        return (zeros - Low) & ~zeros & High;
    }

    template <class Set> static std::uint64_t candidates(std::uint64_t word) {
        std::uint64_t found = 0;
        if constexpr (Set::isSingle(Set::first) || (Set::pairTriggers && Set::reverse)) {
            found |= has(word, Set::first);
        }
        if constexpr (Set::isSingle(Set::second) || Set::pairTriggers) {
            found |= has(word, Set::second);
        }
        if constexpr (Set::nul) {
            found |= has(word, 0);
        }
        return found;
    }

    template <class Set> static int findTrigger(const unsigned char* data, int size) {
        int at = 0;
        for (; at <= size - 8; at += 8) {
            std::uint64_t word;
            std::memcpy(&word, data + at, sizeof word);
            if (candidates<Set>(word) != 0) {
                const int found = findTriggerByByte<Set>(data, at, at + 8);
                if (found < at + 8) {
                    return found;
                }
            }
        }
        return findTriggerByByte<Set>(data, at, size);
    }
};

#if defined(__SSE2__)

// Sixteen bytes a step, and once a line proves long, sixty-four.
struct Sse2Kernel {
    static __m128i equal(__m128i block, unsigned char c) {
        return _mm_cmpeq_epi8(block, _mm_set1_epi8(static_cast<char>(c)));
    }

    static __m128i load(const unsigned char* at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    }

    // All ones in each byte of the sixteen that is a trigger. In a set of pairs the byte before
    // them is read as well.
    template <class Set> static __m128i triggers(const unsigned char* at) {
        const __m128i block = load(at);
        __m128i found = _mm_setzero_si128();
        if constexpr (Set::pairTriggers) {
            const __m128i before = load(at - 1);
            found = _mm_and_si128(equal(before, Set::first), equal(block, Set::second));
            if constexpr (Set::reverse) {
                found = _mm_or_si128(
                    found, _mm_and_si128(equal(before, Set::second), equal(block, Set::first)));
            }
        } else {
            if constexpr (Set::isSingle(Set::first)) {
                found = equal(block, Set::first);
            }
            if constexpr (Set::isSingle(Set::second) && Set::second != Set::first) {
                found = _mm_or_si128(found, equal(block, Set::second));
            }
        }
        if constexpr (Set::nul && !(Set::isSingle(Set::first) && Set::first == 0)) {
            found = _mm_or_si128(found, equal(block, 0));
        }
        return found;
    }

    static unsigned mask(__m128i found) { return static_cast<unsigned>(_mm_movemask_epi8(found)); }

    template <class Set> static int findTrigger(const unsigned char* data, int size) {
        if (size <= 16) {
            return findTriggerByByte<Set>(data, 0, size);
        }
        int at = 0;
        if constexpr (Set::pairTriggers) {
            if (Set::triggers(NoByte, data[0])) {
                return 0;
            }
            at = 1;
        }
        for (int near = 0; near < 6 && at <= size - 16; ++near, at += 16) {
            if (const unsigned found = mask(triggers<Set>(data + at)); found != 0) {
                return at + std::countr_zero(found);
            }
        }
        for (; at <= size - 64; at += 64) {
            const __m128i all = _mm_or_si128(
                _mm_or_si128(triggers<Set>(data + at), triggers<Set>(data + at + 16)),
                _mm_or_si128(triggers<Set>(data + at + 32), triggers<Set>(data + at + 48)));
            if (mask(all) != 0) {
                break;
            }
        }
        for (; at <= size - 16; at += 16) {
            if (const unsigned found = mask(triggers<Set>(data + at)); found != 0) {
                return at + std::countr_zero(found);
            }
        }
        // The rest is less than one step: the last sixteen bytes, less those already seen.
        const int last = size - 16;
        const unsigned found = at < size ? mask(triggers<Set>(data + last)) >> (at - last) : 0;
        return found != 0 ? at + std::countr_zero(found) : size;
    }
};

using Kernel = Sse2Kernel;

#else

using Kernel = WordKernel;

#endif

#if defined(__x86_64__)

#define MORVEX_AVX2 __attribute__((target("avx2")))

// Whether this processor, and the system on it, run the next kernel. Costs a look-up of a symbol.
bool avx2IsUsable();

// Thirty-two bytes a comparison, sixty-four a step, and once a line proves long, twice as many. All
// sets of single bytes share one search, since they cost one comparison, however many bytes they
// have: each byte is compared with what the set's table has for its low four bits.
struct Avx2Kernel {
    // Of a range; what is shorter is better off with the other kernel.
    static constexpr int LeastSize = 129;

    // The set's byte with those low bits, or one with other low bits, which equals none of those
    // that are compared with it. Bytes from 0x80 on are compared with 0.
    template <class Set> struct Table {
        alignas(16) unsigned char entries[16];

        constexpr Table() : entries() {
            for (unsigned low = 0; low < 16; ++low) {
                entries[low] = static_cast<unsigned char>(low ^ 1);
                for (unsigned c = low; c < 0x80; c += 16) {
                    if (Set::isSingle(static_cast<unsigned char>(c))) {
                        entries[low] = static_cast<unsigned char>(c);
                    }
                }
            }
        }
        constexpr bool holdsTheSet() const {
            for (unsigned c = 0; c < 0x100; ++c) {
                const bool held = c < 0x80 && entries[c % 16] == c;
                if (held != Set::isSingle(static_cast<unsigned char>(c))) {
                    return false;
                }
            }
            return true;
        }
    };
    template <class Set> static constexpr Table<Set> table{};

    // In the place of a set, for those that have a table.
    struct AnyOfTable {
        static constexpr bool pairTriggers = false;
    };

    // Requires: size >= LeastSize.
    template <class Set> static int findTrigger(const unsigned char* data, int size) {
        if constexpr (Set::pairTriggers) {
            return search<Set>(data, size, nullptr);
        } else {
            static_assert(table<Set>.holdsTheSet());
            return search<AnyOfTable>(data, size, table<Set>.entries);
        }
    }

    MORVEX_AVX2 static __m256i load(const unsigned char* at) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
    }

    MORVEX_AVX2 static __m256i equal(__m256i block, unsigned char c) {
        return _mm256_cmpeq_epi8(block, _mm256_set1_epi8(static_cast<char>(c)));
    }

    // All ones in each byte of the thirty-two that is a trigger. In a set of pairs the byte before
    // them is read as well; of the others the table is asked.
    template <class Set>
    MORVEX_AVX2 static __m256i triggers(const unsigned char* at, __m256i table) {
        const __m256i block = load(at);
        if constexpr (Set::pairTriggers) {
            const __m256i before = load(at - 1);
            __m256i found = _mm256_and_si256(equal(before, Set::first), equal(block, Set::second));
            if constexpr (Set::reverse) {
                found = _mm256_or_si256(
                    found, _mm256_and_si256(equal(before, Set::second), equal(block, Set::first)));
            }
            return Set::nul ? _mm256_or_si256(found, equal(block, 0)) : found;
        } else {
            return _mm256_cmpeq_epi8(block, _mm256_shuffle_epi8(table, block));
        }
    }

    // A bit for each byte of the two blocks.
    MORVEX_AVX2 static std::uint64_t mask(__m256i low, __m256i high) {
        return static_cast<std::uint32_t>(_mm256_movemask_epi8(low)) |
               std::uint64_t{static_cast<std::uint32_t>(_mm256_movemask_epi8(high))} << 32;
    }

    template <class Set>
    MORVEX_AVX2 static std::uint64_t triggers64(const unsigned char* at, __m256i table) {
        return mask(triggers<Set>(at, table), triggers<Set>(at + 32, table));
    }

    template <class Set>
    MORVEX_AVX2 static int search(const unsigned char* data, int size,
                                  const unsigned char* entries) {
        int at = 0;
        __m256i table = _mm256_setzero_si256();
        if constexpr (Set::pairTriggers) {
            if (Set::triggers(NoByte, data[0])) {
                return 0;
            }
            at = 1;
        } else {
            table = _mm256_broadcastsi128_si256(
                _mm_load_si128(reinterpret_cast<const __m128i*>(entries)));
        }
        if (const std::uint64_t found = triggers64<Set>(data + at, table); found != 0) {
            return at + std::countr_zero(found);
        }
        if (const std::uint64_t found = triggers64<Set>(data + at + 64, table); found != 0) {
            return at + 64 + std::countr_zero(found);
        }
        for (at += 128; at <= size - 128; at += 128) {
            const __m256i a = triggers<Set>(data + at, table);
            const __m256i b = triggers<Set>(data + at + 32, table);
            const __m256i c = triggers<Set>(data + at + 64, table);
            const __m256i d = triggers<Set>(data + at + 96, table);
            const __m256i all = _mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d));
            if (_mm256_testz_si256(all, all) == 0) {
                const std::uint64_t front = mask(a, b);
                return at +
                       (front != 0 ? std::countr_zero(front) : 64 + std::countr_zero(mask(c, d)));
            }
        }
        // The rest is less than two steps; the last one overlaps with what was seen.
        if (at <= size - 64) {
            if (const std::uint64_t found = triggers64<Set>(data + at, table); found != 0) {
                return at + std::countr_zero(found);
            }
            at += 64;
        }
        const int last = size - 64;
        const std::uint64_t rest =
            at < size ? triggers64<Set>(data + last, table) >> (at - last) : 0;
        return rest != 0 ? at + std::countr_zero(rest) : size;
    }
};

#undef MORVEX_AVX2

#endif

template <class Set, class Searcher>
inline int findLineEnd(const unsigned char* data, int size, int& eolSize) {
    const int trigger = size > 0 ? Searcher::template findTrigger<Set>(data, size) : size;
    return lineEndAt<Set>(data, trigger, size, eolSize);
}

} // namespace scan

#endif
