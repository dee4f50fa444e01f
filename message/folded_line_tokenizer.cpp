#include "message/folded_line_tokenizer.h"

#include <algorithm>
#include <cstring>

namespace {

bool isBlank(unsigned char c) {
    return c == ' ' || c == '\t';
}

} // namespace

CastableId* FoldedLineTokenizer::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* FoldedLineTokenizer::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<FoldedLineTokenizer*>(this)
                                      : TokenizerStream::doCastInternal(id);
}

CastableId* FoldedLineTokenizer::getOwnCastableId() const {
    return getCastableClassId();
}

FoldedLineTokenizer::FoldedLineTokenizer(Stream* stream, int endOfLine, bool zeroTerminate)
    : TokenizerStream(BufferedReader::getStream(), endOfLine, zeroTerminate) {
    init(stream);
}

void FoldedLineTokenizer::init(Stream* stream) {
    if (stream != nullptr) {
        FoldedLineTokenizer::setBaseStream(stream);
    }
}

int FoldedLineTokenizer::setBaseStream(Stream* stream) {
    FoldedLineTokenizer::forget(Touch::Moving);
    void* composed = reader->doCastInternal(ComposableStream::getCastableClassId());
    return static_cast<ComposableStream*>(composed)->setBaseStream(stream);
}

void FoldedLineTokenizer::setFoldingType(FoldingType type) {
    flags = (flags & ~RemoveLineEndsAndBlank) | type;
}

void FoldedLineTokenizer::forget(Touch touch) const {
    if (touch == Touch::Flushing || touch == Touch::Resizing) {
        return;
    }
    scanOffset = 0;
    if (touch != Touch::Moving) {
        eolLength = -1;
    }
}

// A token of nothing but folds has very many of them, so the list doubles rather than growing by
// steps.
void FoldedLineTokenizer::recordFold(int offset) {
    if (foldCount == folds.size) {
        const int room = folds.size > 0 ? 2 * folds.size : 16;
        folds.setDataSize(room);
        folds.size = room;
    }
    folds[foldCount++] = offset;
}

void* FoldedLineTokenizer::foldedFailed(int& size) {
    foldCount = 0;
    return failed(size);
}

// Nothing is consumed while more is looked for, so the offsets stay good across each peek, and from
// a time-out to the next call; a scan that starts over finds the folds anew. Only the
// first limit bytes are looked at: a token does not depend on how much happens to be buffered.
void* FoldedLineTokenizer::readToken(int& size) {
    const bool afterFinished = eolLength >= 0;
    const int limit = std::min(limitFor(size), MaxTokenSize);
    if (scanOffset >= limit) {
        scanOffset = 0; // repeated after a time-out with less than was scanned
    }
    if (scanOffset == 0) {
        foldCount = 0;
    }
    int atHand = std::min(reader->canRead(), limit);
    bool asked = atHand <= 0; // the base was asked for more than was there
    if (asked) {
        atHand = limit;
    }
    unsigned char* data = peekReader(atHand);
    for (int seen = 0;;) {
        if (data == nullptr) {
            return foldedFailed(size);
        }
        int length = 0;
        const int from = std::min(scanOffset, atHand);
        const int found = searchEOL(flags, data + from, atHand - from, length);
        const int lineEnd = found > 0 ? from + found : 0;
        const bool noMore = asked && atHand <= seen;
        const bool undecided = lineEnd == atHand && length == 1 && isFirstHalf(data[atHand - 1]);
        if (afterFinished && lineEnd > 0 && lineEnd == length && foldCount == 0 &&
            (noMore || !undecided)) {
            eolLength = length;
            size = lineEnd;
            return compressFoldedLine(size, length, true);
        }
        if (noMore) {
            eolLength = length;
            return atHand >= limit ? takeCut(data, limit, lineEnd, size)
                                   : takeRest(data, atHand, lineEnd, size);
        }
        if (lineEnd > 0 && lineEnd < atHand) {
            if (!isBlank(data[lineEnd])) {
                eolLength = length;
                size = lineEnd;
                return compressFoldedLine(size, length, true);
            }
            recordFold(lineEnd - length);
            scanOffset = lineEnd;
            eolLength = -1;
            continue;
        }
        // A line end at the end of what is there is found again with the byte behind it, and the
        // last byte may be the first half of a pair.
        scanOffset = lineEnd > 0 ? lineEnd - length : std::max(from, atHand - 1);
        seen = atHand;
        atHand = limit;
        asked = true;
        data = peekReader(atHand);
    }
}

// A token that fills the limit. lineEnd is not 0 where a line end stands at its very end.
void* FoldedLineTokenizer::takeCut(const unsigned char* data, int limit, int lineEnd, int& size) {
    size = limit;
    if (lineEnd > 0 && eolLength < limit) {
        size = limit - eolLength;
        lineEnd = 0;
    } else if (lineEnd == 0 && limit > 1) {
        const unsigned char last = data[limit - 1];
        if ((has(4) && last == '\r') || (has(8) && last == '\n')) {
            size = limit - 1;
        }
    }
    return compressFoldedLine(size, lineEnd > 0 ? eolLength : 0, false);
}

// The data has ended, or for now.
void* FoldedLineTokenizer::takeRest(const unsigned char* data, int atHand, int lineEnd, int& size) {
    size = atHand;
    if (reader->getInputState() == StateTimedOut) {
        eolLength = -1;
        return has(ZeroTerminate) ? copyToken(data, size) : const_cast<unsigned char*>(data);
    }
    return compressFoldedLine(size, lineEnd > 0 ? eolLength : 0, lineEnd > 0);
}

// Finishes a token of size bytes that ends in a line end of the given length, or in none with 0.
void* FoldedLineTokenizer::compressFoldedLine(int& size, int lineEnd, bool complete) {
    if (previousComplete) {
        realTokenSize = 0;
    }
    realTokenSize += size;
    previousComplete = complete;
    scanOffset = 0;
    const int taken = size;
    void* consumed = reader->read(size);
    if (consumed == nullptr || size != taken) {
        return foldedFailed(size);
    }
    char* const token = static_cast<char*>(consumed);
    const bool cuts = has(ExcludeLineEnd) && lineEnd > 0;
    if (cuts) {
        size -= lineEnd;
    }
    const bool removes = foldCount > 0 && has(RemoveLineEndsAndBlank);
    if (removes) {
        size = removeFolds(token, size);
    }
    foldCount = 0;
    if (!complete) {
        eolLength = -1;
    }
    if (!has(ZeroTerminate)) {
        return token;
    }
    // Only what belonged to this token may be overwritten.
    if (!cuts && !removes) {
        return copyToken(token, size);
    }
    token[size] = '\0';
    return token;
}

// Moves the text of each continuation line down over the gap before it; gives the size left.
int FoldedLineTokenizer::removeFolds(char* token, int size) const {
    const bool withBlank = (flags & RemoveLineEndsAndBlank) == RemoveLineEndsAndBlank;
    int end = folds[0];
    for (int i = 0; i < foldCount; ++i) {
        int next = folds[i];
        while (next < size && !isBlank(static_cast<unsigned char>(token[next]))) {
            ++next;
        }
        if (withBlank && next < size) {
            ++next;
        }
        const int stop = i + 1 < foldCount ? folds[i + 1] : size;
        const int length = std::max(stop - next, 0);
        std::memmove(token + end, token + next, static_cast<std::size_t>(length));
        end += length;
    }
    return end;
}
