// The scanner of the text configuration format: four states, the longest match wins in each, and
// every byte is looked at once.
//
// The text of a token is collected in the first free token buffer as it is read. One that grows too
// long for it is only counted from there on, and comes out as an error token. Locations: a token,
// and each piece of a block comment or of a quoted text, is where it begins, so a quoted text is
// told by its closing quote; blanks and dropped bytes only move on.

#include "config/text_grammar.h"
#include "config/text_loader.h"

#include <array>
#include <cstring>

int hclex(int* value, HConfig::TokenLoc* location, void* loader) {
    auto& scanner = *static_cast<HConfig::TextLoader*>(loader);
    const int token = scanner.yylex();
    *value = scanner.tokenValue;
    *location = scanner.lastToken;
    return token;
}

int hcerror(const char*) {
    return 0;
}

namespace HConfig {

namespace {

constexpr int NO_TOKEN = -2;
constexpr int END = 0;

// What a byte is to the scanner; the classes are disjoint.
enum ByteClass : std::uint16_t {
    CONTROL = 1,
    BLANK = 2,
    NEWLINE = 4,
    LETTER = 8,
    DIGIT = 16,
    PUNCTUATION = 32, // of words, but for the backslash
    BACKSLASH = 64,
    HIGH = 128,
    STAR = 256,
    SLASH = 512,
    MARK = 1024, // # ( ) = { }
    QUOTE = 2048,
    // Ordinary bytes of a word.
    ORDINARY = LETTER | DIGIT | PUNCTUATION | BACKSLASH,
    // What stands in a quoted text as it is.
    QUOTABLE = BLANK | LETTER | DIGIT | PUNCTUATION | HIGH | STAR | SLASH | MARK,
};

constexpr std::array<std::uint16_t, 256> makeClasses() {
    std::array<std::uint16_t, 256> classes = {};
    const auto set = [&classes](const char* bytes, ByteClass value) {
        for (; *bytes != '\0'; bytes++) {
            classes[static_cast<unsigned char>(*bytes)] = value;
        }
    };
    for (std::size_t byte = 0; byte < 0x20; byte++) {
        classes[byte] = CONTROL;
    }
    classes[0x7F] = CONTROL;
    for (std::size_t byte = 0x80; byte < 0x100; byte++) {
        classes[byte] = HIGH;
    }
    set(" \t", BLANK);
    set("\n\r", NEWLINE);
    set("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", LETTER);
    set("0123456789", DIGIT);
    set("!$%&'+,-.:;<>?@[]^_~|`", PUNCTUATION);
    set("\\", BACKSLASH);
    set("*", STAR);
    set("/", SLASH);
    set("#()={}", MARK);
    set("\"", QUOTE);
    return classes;
}
constexpr auto CLASSES = makeClasses();

bool isOf(int byte, unsigned classes) {
    return byte >= 0 && (CLASSES[static_cast<unsigned>(byte)] & classes) != 0;
}

// The machine that reads a word: where an ordinary byte, a star and a slash lead. A word never
// holds a slash and a star together in this order, and never ends in a star and a slash.
constexpr int STOP = -1;
constexpr int COMMENT = -2;

struct WordState {
    bool accepting;
    std::int8_t onOrdinary, onStar, onSlash;
};

constexpr WordState WORD_STATES[] = {
    {false, 1, 2, 6},       // 0: the start
    {true, 1, 2, 3},        // 1: behind an ordinary byte
    {true, 1, 2, 4},        // 2: behind a star
    {true, 5, STOP, 3},     // 3: behind slashes that may end a word
    {false, 5, STOP, 4},    // 4: behind slashes that may not
    {true, 1, 2, 4},        // 5: behind an ordinary byte that follows slashes
    {false, 5, COMMENT, 4}, // 6: behind a slash at the start
};

int nextWordState(int state, int byte) {
    const WordState& row = WORD_STATES[state];
    if (isOf(byte, ORDINARY)) {
        return row.onOrdinary;
    }
    if (isOf(byte, STAR)) {
        return row.onStar;
    }
    return isOf(byte, SLASH) ? row.onSlash : STOP;
}

} // namespace

// ---- Tools --------------------------------------------------------------------------------------

void TextLoader::storeLocation() {
    lastToken.line = yylineno;
    lastToken.column = column;
}

void TextLoader::advance(long long count) {
    column = static_cast<int>(static_cast<unsigned>(column) + static_cast<unsigned>(count));
}

void TextLoader::collect(const char* text, int size) {
    const long long room = TOKEN_SIZE - tokenLength;
    if (room > 0) {
        std::memcpy(tokenText + tokenLength, text,
                    static_cast<std::size_t>(size < room ? size : room));
    }
    tokenLength += size;
}

// Takes the bytes of those classes that come next, collecting them; their number. Stops early when
// the text has grown too long.
long long TextLoader::collectRun(unsigned classes) {
    long long total = 0;
    int size = 0;
    while (const char* bytes = tokenLength < TOKEN_SIZE ? peekWindow(size) : nullptr) {
        int count = 0;
        while (count < size && isOf(static_cast<unsigned char>(bytes[count]), classes)) {
            count++;
        }
        collect(bytes, count);
        take(count);
        total += count;
        if (count < size) {
            break;
        }
    }
    return total;
}

// Takes the bytes of those classes that come next; their number.
long long TextLoader::skipRun(unsigned classes) {
    long long total = 0;
    for (; isOf(peek(), classes); total++) {
        take();
    }
    return total;
}

bool TextLoader::scan(bool copyText) {
    if (freeCount == 0 || (copyText && tokenLength >= TOKEN_SIZE)) {
        return false;
    }
    tokenValue = freeBuffers[0];
    tokenText = tokenBuffers[tokenValue];
    if (!copyText) {
        tokenLength = 0;
    }
    tokenText[tokenLength] = '\0';
    freeCount--;
    std::memmove(freeBuffers, freeBuffers + 1, freeCount);
    return true;
}

int TextLoader::yylex() {
    int token = NO_TOKEN;
    while (token == NO_TOKEN) {
        switch (scanState) {
        case SCAN_NORMAL:
            token = scanNormal();
            break;
        case SCAN_LINE_COMMENT:
            token = scanLineComment();
            break;
        case SCAN_BLOCK_COMMENT:
            token = scanBlockComment();
            break;
        case SCAN_STRING:
            token = scanString();
            break;
        }
    }
    return token;
}

// ---- Outside of comments and quotes -------------------------------------------------------------

int TextLoader::scanNormal() {
    if (slashesPending && droppedSlashesBeginComment()) {
        return NO_TOKEN;
    }
    const int byte = peek();
    if (byte == END_OF_INPUT) {
        return END;
    }
    switch (byte) {
    case '#':
        take();
        scanState = SCAN_LINE_COMMENT;
        return NO_TOKEN;
    case '"':
        return beginString();
    case '=':
        return scanMark(HC_EQ);
    case '(':
        return scanMark(HC_SET_B);
    case ')':
        return scanMark(HC_SET_E);
    case '{':
        return scanMark(HC_OBJ_B);
    case '}':
        return scanMark(HC_OBJ_E);
    default:
        break;
    }
    if (isOf(byte, BLANK)) {
        advance(skipRun(BLANK));
        return NO_TOKEN;
    }
    if (isOf(byte, NEWLINE)) {
        skipNewlines();
        return NO_TOKEN;
    }
    if (isOf(byte, CONTROL | HIGH)) {
        storeLocation();
        take();
        advance(1);
        return HC_LEX_ERROR;
    }
    return scanWord();
}

// A mark of one byte, which takes the blanks behind it.
int TextLoader::scanMark(int token) {
    storeLocation();
    take();
    advance(1 + skipRun(BLANK));
    return token;
}

void TextLoader::skipNewlines() {
    for (int byte = peek(); isOf(byte, NEWLINE); byte = peek()) {
        yylineno += byte == '\n' ? 1 : 0;
        take();
    }
    column = 0;
}

// A name, a value, or the beginning of a block comment. The longest prefix that may end a word is
// the token; what the machine read beyond it can only be slashes, which are dealt with at the next
// call.
int TextLoader::scanWord() {
    if (freeCount == 0) {
        return HC_LEX_ERROR;
    }
    tokenText = tokenBuffers[freeBuffers[0]];
    tokenLength = 0;
    long long accepted = 0;
    const bool beginsAsName = isOf(peek(), LETTER);
    bool onlyAlphanumeric = true;
    int state = 0;
    for (;;) {
        const int byte = peek();
        const int nextState = nextWordState(state, byte);
        if (nextState < 0) {
            break;
        }
        state = nextState;
        onlyAlphanumeric = onlyAlphanumeric && isOf(byte, LETTER | DIGIT);
        const char text = static_cast<char>(byte);
        take();
        collect(&text, 1);
        if (state == 1) {
            collectRun(LETTER | DIGIT);
        }
        if (WORD_STATES[state].accepting) {
            accepted = tokenLength;
        }
        if (accepted >= TOKEN_SIZE) {
            break;
        }
    }
    slashesPending = tokenLength > accepted;
    if (accepted == 0) {
        return NO_TOKEN;
    }
    storeLocation();
    tokenLength = accepted;
    advance(tokenLength);
    if (!scan(true)) {
        return HC_LEX_ERROR;
    }
    return beginsAsName && onlyAlphanumeric ? HC_NAME : HC_VALUE;
}

// Slashes that belong to no word are dropped, but the last of them begins a comment together with
// a star that follows. True when it does.
bool TextLoader::droppedSlashesBeginComment() {
    slashesPending = false;
    LexerOutput("/", 1);
    if (peek() != '*') {
        return false;
    }
    storeLocation();
    take();
    advance(2);
    scanState = SCAN_BLOCK_COMMENT;
    return true;
}

// ---- Comments -----------------------------------------------------------------------------------

int TextLoader::scanLineComment() {
    int size = 0;
    while (const char* bytes = peekWindow(size)) {
        const void* end = std::memchr(bytes, '\n', static_cast<std::size_t>(size));
        if (end != nullptr) {
            take(static_cast<int>(static_cast<const char*>(end) - bytes) + 1);
            yylineno++;
            column = 0;
            scanState = SCAN_NORMAL;
            return HC_SL_COMM;
        }
        take(size);
    }
    return END;
}

// The pieces are lines without their ends, the ends, and runs of stars.
int TextLoader::scanBlockComment() {
    for (int byte = peek(); byte != END_OF_INPUT; byte = peek()) {
        storeLocation();
        if (byte == '\n') {
            take();
            yylineno++;
            column = 0;
        } else if (byte == '*') {
            advance(skipRun(STAR));
            if (peek() == '/') {
                take();
                advance(1);
                scanState = SCAN_NORMAL;
                return HC_ML_COMM;
            }
        } else {
            long long count = 0;
            for (; byte != END_OF_INPUT && byte != '\n' && byte != '*'; byte = peek(), count++) {
                take();
            }
            advance(count);
        }
    }
    return END;
}

// ---- Quoted texts -------------------------------------------------------------------------------

int TextLoader::beginString() {
    storeLocation();
    take();
    advance(1);
    if (!scan(false)) {
        return HC_LEX_ERROR;
    }
    scanState = SCAN_STRING;
    return NO_TOKEN;
}

int TextLoader::scanString() {
    const int byte = peek();
    if (byte == END_OF_INPUT) {
        return END;
    }
    if (byte == '"') {
        storeLocation();
        take();
        advance(1);
        tokenText[tokenLength] = '\0';
        scanState = SCAN_NORMAL;
        return HC_VALUE;
    }
    if (isOf(byte, NEWLINE)) {
        return scanStringNewlines();
    }
    if (byte == '\\') {
        return scanEscape();
    }
    storeLocation();
    return scanStringPiece(0);
}

// A piece of bytes that stand for themselves, or an error at a control byte. `taken` bytes of it
// were taken and collected before; the location is stored.
int TextLoader::scanStringPiece(int taken) {
    if (isOf(peek(), CONTROL)) {
        advance(taken + skipRun(CONTROL));
        return HC_LEX_ERROR;
    }
    advance(taken + collectRun(QUOTABLE));
    return tokenLength < TOKEN_SIZE ? NO_TOKEN : HC_LEX_ERROR;
}

// A backslash takes its meaning from what follows: before a quote or a backslash it gives that
// byte, before a line end or the end of the input it is dropped, and elsewhere it stays.
int TextLoader::scanEscape() {
    storeLocation();
    take();
    const int byte = peek();
    if (byte == END_OF_INPUT || isOf(byte, NEWLINE)) {
        LexerOutput("\\", 1);
        return NO_TOKEN;
    }
    if (byte != '"' && byte != '\\') {
        collect("\\", 1);
        return scanStringPiece(1);
    }
    const char text = static_cast<char>(byte);
    take();
    collect(&text, 1);
    advance(2);
    return tokenLength < TOKEN_SIZE ? NO_TOKEN : HC_LEX_ERROR;
}

// Line ends as they stand, LF or CR LF. A CR that no LF follows is dropped.
int TextLoader::scanStringNewlines() {
    long long count = 0;
    for (int byte = peek(); isOf(byte, NEWLINE) && tokenLength < TOKEN_SIZE; byte = peek()) {
        take();
        if (byte == '\r' && peek() != '\n') {
            LexerOutput("\r", 1);
            break;
        }
        if (byte == '\n') {
            yylineno++;
        }
        const char text = static_cast<char>(byte);
        collect(&text, 1);
        count++;
    }
    if (count == 0) {
        return NO_TOKEN;
    }
    storeLocation();
    advance(count);
    return tokenLength < TOKEN_SIZE ? NO_TOKEN : HC_LEX_ERROR;
}

} // namespace HConfig
