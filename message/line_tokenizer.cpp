#include "message/line_tokenizer.h"

#include <algorithm>

CastableId* LineTokenizer::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* LineTokenizer::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<LineTokenizer*>(this)
                                      : TokenizerStream::doCastInternal(id);
}

CastableId* LineTokenizer::getOwnCastableId() const {
    return getCastableClassId();
}

LineTokenizer::LineTokenizer(Stream* stream, int endOfLine, bool zeroTerminate)
    : TokenizerStream(BufferedReader::getStream(stream, 4096), endOfLine, zeroTerminate) {
}

LineTokenizer::~LineTokenizer() {
    restorePatch();
}

int LineTokenizer::setBaseStream(Stream* stream) {
    if (stream != getBaseStream()) {
        forget(Touch::Moving);
        BufferedReader* next = BufferedReader::getStream(stream, 4096);
        release(reader);
        reader = next;
    }
    return 0;
}

void LineTokenizer::restorePatch() const {
    if (patchedByte != nullptr) {
        *patchedByte = savedByte;
        patchedByte = nullptr;
    }
}

void LineTokenizer::forget(Touch touch) const {
    restorePatch();
    if (touch == Touch::Flushing || touch == Touch::Resizing) {
        return;
    }
    scanOffset = 0;
    if (touch != Touch::Writing) {
        eolLength = -1;
    }
}

// Requires: the byte behind the token is in the reader's buffer.
void* LineTokenizer::patchToken(void* token, int size) {
    patchedByte = static_cast<char*>(token) + size;
    savedByte = *patchedByte;
    *patchedByte = '\0';
    return token;
}

void* LineTokenizer::readToken(int& size) {
    restorePatch();
    eolLength = 0;
    const int limit = limitFor(size);
    const int whole = limitFor(0);
    int atHand = reader->canRead();
    bool asked = atHand <= 0; // the base was asked for more than was there
    if (asked) {
        atHand = whole;
    }
    unsigned char* data = peekReader(atHand);
    for (int seen = 0;;) {
        if (data == nullptr) {
            return failed(size);
        }
        if (asked && atHand <= seen) {
            return takeUnended(data, atHand, limit, size);
        }
        int length = 0;
        const int from = std::min(scanOffset, atHand);
        const int found = searchEOL(flags, data + from, atHand - from, length);
        const int lineSize = from + found;
        const bool undecided =
            found > 0 && length == 1 && lineSize == atHand && isFirstHalf(data[lineSize - 1]);
        if (found > 0 && !undecided) {
            eolLength = length;
            return takeFound(lineSize, limit, size);
        }
        // The last byte may be the first half of a pair, so it is searched again.
        scanOffset = std::max(from, atHand - 1);
        seen = atHand;
        atHand = whole;
        asked = true;
        data = peekReader(atHand);
        if (undecided && data != nullptr && atHand <= seen) {
            eolLength = 1;
            return takeFound(lineSize, limit, size);
        }
    }
}

// An empty line whose excluded line end alone is longer than the limit is a token all the same.
void* LineTokenizer::takeFound(int lineSize, int limit, int& size) {
    const bool fits = lineSize <= limit || (lineSize == eolLength && has(ExcludeLineEnd));
    return fits ? takeLine(lineSize, size) : takePiece(lineSize, limit, size);
}

// The line with its line end, the first lineSize bytes.
void* LineTokenizer::takeLine(int lineSize, int& size) {
    size = lineSize;
    void* token = reader->read(size);
    if (token == nullptr || size != lineSize) {
        return failed(size);
    }
    scanOffset = 0;
    if (has(ExcludeLineEnd)) {
        size -= eolLength;
        return has(ZeroTerminate) ? patchToken(token, size) : token;
    }
    return has(ZeroTerminate) ? copyToken(token, size) : token;
}

// The front of a line that is known to end beyond the limit.
void* LineTokenizer::takePiece(int lineSize, int limit, int& size) {
    const int text = lineSize - eolLength;
    const int piece = text > 0 ? std::min(text, limit) : limit;
    eolLength = 0;
    size = piece;
    void* token = reader->read(size);
    if (token == nullptr || size != piece) {
        return failed(size);
    }
    scanOffset = std::max(text - piece, 0);
    return has(ZeroTerminate) ? patchToken(token, size) : token;
}

// No line end in what is at hand, and no more to be had: the end of data, or a line too long.
void* LineTokenizer::takeUnended(unsigned char* data, int atHand, int limit, int& size) {
    size = atHand;
    if (atHand < limit) {
        eolLength = -1;
        if (reader->getInputState() == StateTimedOut) {
            return has(ZeroTerminate) ? copyToken(data, size) : data;
        }
    } else {
        const bool splits = data[limit - 1] == '\r' || data[limit - 1] == '\n';
        size = splits && limit > 1 ? limit - 1 : limit;
    }
    const int taken = size;
    void* token = reader->read(size);
    if (token == nullptr || size != taken) {
        return failed(size);
    }
    scanOffset = std::max(scanOffset - taken, 0);
    return has(ZeroTerminate) ? copyToken(token, size) : token;
}
