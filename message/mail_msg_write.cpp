// The way out of a message: its fields, folded where they are long, and the pass of its body.

#include "common/stream/buffered_reader.h"
#include "common/stream/line_scanner.h"
#include "common/stream/stream.h"
#include "message/mail_msg.h"
#include "message/staged_output.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <memory>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// The longest line that is written in one piece where a fold is possible.
constexpr int FOLD_WIDTH = 78;

// Lines below this are put together on the stack.
constexpr int LINE_BUFFER_SIZE = 1024;

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

// The place within the first FOLD_WIDTH characters of a line where it is best folded: the last TAB
// or the last blank behind ";" or ")", or else the last blank. 0 if there is none, or only blanks
// in front of it, which would leave a line that looks empty.
int findBreak(const char* line) {
    int place = 0;
    int blank = 0;
    for (int i = FOLD_WIDTH; i > 0 && place == 0; --i) {
        if (line[i] == '\t' || (line[i] == ' ' && (line[i - 1] == ';' || line[i - 1] == ')'))) {
            place = i;
        } else if (line[i] == ' ' && blank == 0) {
            blank = i;
        }
    }
    if (place == 0) {
        place = blank;
    }
    for (int i = 1; i < place; ++i) {
        if (!isBlank(line[i])) {
            return place;
        }
    }
    return 0;
}

// Writes a line of more than FOLD_WIDTH characters in pieces. The blank at a break starts the next
// piece (RFC 2822, 2.2.3).
bool writeFolded(StagedOutput& out, const char* line, int length) {
    while (length > FOLD_WIDTH) {
        int place = findBreak(line);
        if (place == 0) {
            const int behind = searchTabOrBlank(
                reinterpret_cast<const unsigned char*>(line + FOLD_WIDTH), length - FOLD_WIDTH);
            if (behind < 0) {
                break;
            }
            place = FOLD_WIDTH + behind - 1;
        }
        if (!out.append(line, place) || !out.appendLineEnd()) {
            return false;
        }
        line += place;
        length -= place;
    }
    return out.append(line, length) && out.appendLineEnd();
}

bool writeField(StagedOutput& out, const HeaderField& field, bool fold) {
    const int separatorLength = static_cast<int>(std::strlen(field.getSeparator()));
    const int length = field.getNameLength() + separatorLength + field.getValueLength();
    if (!fold || length <= FOLD_WIDTH) {
        return out.append(field.getName(), field.getNameLength()) &&
               out.append(field.getSeparator(), separatorLength) &&
               out.append(field.getValue(), field.getValueLength()) && out.appendLineEnd();
    }
    char local[LINE_BUFFER_SIZE];
    std::unique_ptr<char[]> large;
    char* line = local;
    if (length >= LINE_BUFFER_SIZE) {
        large.reset(new char[static_cast<std::size_t>(length)]);
        line = large.get();
    }
    char* end = line;
    const auto put = [&end](const char* text, int size) {
        std::memcpy(end, text, static_cast<std::size_t>(size));
        end += size;
    };
    put(field.getName(), field.getNameLength());
    put(field.getSeparator(), separatorLength);
    put(field.getValue(), field.getValueLength());
    return writeFolded(out, line, length);
}

// How much of the input is asked for at once.
constexpr int READ_SIZE = BufferedReaderImpl::ReadAheadSize;

constexpr int LINE_END_SIZE = 2;

// Copies up to size bytes of a line, without the LF or NUL that ends it; how many. Search and copy
// in one pass, since most lines are too short for either to pay for a call. Requires: both ranges
// have size bytes; what lies in `to` behind the result is undefined.
#ifdef __SSE2__
// Copies sixteen bytes; all ones in each that ends a line.
__m128i copySixteen(char* to, const char* from) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
    return _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n')),
                        _mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
}

int copyToLineEnd(char* to, const char* from, int size) {
    int at = 0;
    for (; size - at >= 32; at += 32) {
        const __m128i low = copySixteen(to + at, from + at);
        const __m128i high = copySixteen(to + at + 16, from + at + 16);
        if (_mm_movemask_epi8(_mm_or_si128(low, high)) != 0) {
            const unsigned found = static_cast<unsigned>(_mm_movemask_epi8(low)) |
                                   static_cast<unsigned>(_mm_movemask_epi8(high)) << 16;
            return at + std::countr_zero(found);
        }
    }
    for (; at < size && from[at] != '\n' && from[at] != '\0'; ++at) {
        to[at] = from[at];
    }
    return at;
}
#else
int copyToLineEnd(char* to, const char* from, int size) {
    constexpr int lineFeedOrNul = 6; // of Stream::searchEOL
    int length = 0;
    const int behind = Stream::searchEOL(
        lineFeedOrNul, reinterpret_cast<const unsigned char*>(from), size, length);
    const int text = behind < 0 ? size : behind - 1;
    std::memcpy(to, from, static_cast<std::size_t>(text));
    return text;
}
#endif

// A line counts in pieces of at most this length, and a last piece that is a lone dot ends the
// input too. A CR is never the last byte of a piece that is cut.
constexpr int PIECE_LENGTH = 10240;

// Turns blocks of body text into CR LF lines. A block may end anywhere; the few bytes at its end
// whose meaning the next block decides are left to be seen again together with it.
class BodyWriter {
public:
    BodyWriter(StagedOutput& target, bool dotEnds) : out(target), dotEndsInput(dotEnds) {}

    // How much of a block was written or, with a lone dot, passed by; -1 if the output failed.
    int takeBlock(const char* data, int size) {
        const int sure = size - possibleTail(data, size);
        int line = 0; // where the present line begins
        int place = 0;
        while (place < sure) {
            int room = 0;
            char* const begin = out.room(room);
            if (begin == nullptr) {
                return -1;
            }
            char* const limit = begin + room - LINE_END_SIZE;
            char* to = begin;
            while (place < sure && to < limit) {
                const int free = static_cast<int>(limit - to);
                const int text =
                    copyToLineEnd(to, data + place, free < sure - place ? free : sure - place);
                place += text;
                to += text;
                if (place == sure || (data[place] != '\n' && data[place] != '\0')) {
                    break;
                }
                const bool paired = place > line && data[place] == '\n' && data[place - 1] == '\r';
                const int textEnd = paired ? place - 1 : place;
                if (isLoneDot(data, line, textEnd)) {
                    out.commit(static_cast<int>(to - begin) + textEnd - 1 - place);
                    dotMet = true;
                    return place + 1;
                }
                if (!paired) {
                    *to++ = '\r';
                }
                *to++ = '\n';
                line = ++place;
                pieceStart = 0;
            }
            out.commit(static_cast<int>(to - begin));
        }
        const int end = size - undecided(data, line, size);
        pieceStart = lastPiece(data, line, end);
        return out.append(data + sure, end - sure) ? end : -1;
    }

    // Writes what takeBlock left of the last block; false if the output failed.
    bool takeEnd(const char* data, int size) {
        dotMet = isLoneDot(data, 0, size);
        return dotMet || out.append(data, size);
    }

    bool endedByDot() const { return dotMet; }

private:
    // The length of the last piece of a line whose text in this block is given.
    int lastPiece(const char* data, int from, int end) const {
        int length = pieceStart;
        while (length + (end - from) > PIECE_LENGTH) {
            int cut = from + PIECE_LENGTH - length;
            if (cut > from && data[cut - 1] == '\r') {
                --cut;
            }
            from = cut;
            length = 0;
        }
        return length + (end - from);
    }

    bool isLoneDot(const char* data, int from, int end) const {
        return dotEndsInput && end > from && data[end - 1] == '.' &&
               lastPiece(data, from, end) == 1;
    }

    // What undecided can come to, wherever the last line begins.
    static int possibleTail(const char* data, int size) {
        const int textEnd = size > 0 && data[size - 1] == '\r' ? size - 1 : size;
        return size - (textEnd > 0 && data[textEnd - 1] == '.' ? textEnd - 1 : textEnd);
    }

    // The bytes at the end of a block that may be the first half of a CR LF, or a lone dot.
    int undecided(const char* data, int place, int size) const {
        const int textEnd = size > place && data[size - 1] == '\r' ? size - 1 : size;
        return size - (isLoneDot(data, place, textEnd) ? textEnd - 1 : textEnd);
    }

    StagedOutput& out;
    bool dotEndsInput;
    bool dotMet = false;
    int pieceStart = 0; // bytes of the present line's last piece that lie in earlier blocks
};

bool finish(StagedOutput& out, const Stream& output) {
    return out.flush() && output.getOutputState() == Stream::StateGood;
}

} // namespace

int MailMsg::writeHeaders(Stream& output) {
    StagedOutput out(output);
    return passHeaders(out) && finish(out, output) ? 0 : -1;
}

int MailMsg::writeBody(Stream& output, bool normalize) {
    if (!normalize && !dotEndsInput) {
        long long count = 0;
        return tokenizer.copy(output, count);
    }
    StagedOutput out(output);
    return passBody(out) && finish(out, output) ? 0 : -1;
}

// Headers and body through one buffer: the output then gets whole blocks from its very beginning.
int MailMsg::writeAll(Stream& output, bool normalize) {
    if (!normalize && !dotEndsInput) {
        return writeHeaders(output) == 0 ? writeBody(output, normalize) : -1;
    }
    StagedOutput out(output);
    return passHeaders(out) && passBody(out) && finish(out, output) ? 0 : -1;
}

bool MailMsg::passHeaders(StagedOutput& out) {
    for (const HeaderField* field : fields) {
        if (!writeField(out, *field, !outputFoldingDisabled)) {
            return false;
        }
    }
    return !blankLineAfterHeaders || out.appendLineEnd();
}

// Works in the reader's own buffer, block by block; each block is consumed as soon as it is
// written, so that an input with more behind its lone dot stands right there.
bool MailMsg::passBody(StagedOutput& out) {
    BodyWriter body(out, dotEndsInput);
    int held = 0; // bytes at hand that the last block left undecided
    while (!inputEnded) {
        int size = tokenizer.canRead();
        if (size <= held) {
            size = READ_SIZE;
        }
        const char* data = static_cast<const char*>(tokenizer.peek(size));
        if (data == nullptr) {
            return false;
        }
        int used = 0;
        if (size > held) {
            used = body.takeBlock(data, size);
            inputEnded = body.endedByDot();
        } else {
            inputEnded = true;
            used = body.takeEnd(data, size) ? size : -1;
        }
        if (used < 0) {
            return false;
        }
        held = size - used;
        int consumed = used;
        if (used > 0 && (tokenizer.read(consumed) == nullptr || consumed != used)) {
            return false;
        }
    }
    return true;
}
