// Encoded words in and out. Decoding is one scan over the text that never goes back, so that no
// header costs more than linear time; encoding is one pass of the Q codec, cut at its soft breaks.

#include "message/encoded_word.h"

#include "message/base64.h"
#include "message/charset.h"
#include "message/icu.h"
#include "message/qp.h"
#include "message/text_checks.h"

#include <strings.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr std::string_view WORD_START = "=?utf-8?Q?";
constexpr std::string_view WORD_END = "?=";

// The room for a charset's name with its zero byte; a longer name is an unknown charset.
constexpr std::size_t CHARSET_SIZE = 112;

// The most that one encoded word may decode to, in bytes or 16-bit units.
constexpr std::size_t WORD_LIMIT = 500;

// The most that text in no known charset may become when it is taken for ISO-8859-1.
constexpr std::size_t LATIN1_LIMIT = 4096;

constexpr std::ptrdiff_t SHORTEST_WORD = 9;

constexpr char16_t REPLACEMENT = 0xFFFD;

char* copyOf(const char* text, std::size_t length) {
    char* copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

// A growing text, in bytes or in 16-bit units. It doubles, so that many words cost linear time.
class TextBuffer {
public:
    explicit TextBuffer(std::size_t bytes) : capacity(bytes), text(new char[bytes]) {}

    void append(const void* data, std::size_t bytes) {
        char* end = extend(bytes);
        std::memcpy(end, data, bytes);
    }

    void appendUnit(char16_t unit) { append(&unit, sizeof unit); }

    // Bytes of plain text as UTF-16.
    void appendWide(const char* plain, std::size_t bytes) {
        char* end = extend(bytes * sizeof(char16_t));
        for (std::size_t i = 0; i < bytes; ++i) {
            const unsigned char byte = static_cast<unsigned char>(plain[i]);
            const char16_t unit = byte < 0x80 ? byte : REPLACEMENT;
            std::memcpy(end + i * sizeof unit, &unit, sizeof unit);
        }
    }

    std::size_t size() const { return used; }
    char* release() { return text.release(); }

private:
    char* extend(std::size_t bytes) {
        if (capacity - used < bytes) {
            capacity = capacity * 2 + bytes;
            std::unique_ptr<char[]> larger(new char[capacity]);
            std::memcpy(larger.get(), text.get(), used);
            text = std::move(larger);
        }
        char* end = text.get() + used;
        used += bytes;
        return end;
    }

    std::size_t capacity;
    std::size_t used = 0;
    std::unique_ptr<char[]> text;
};

// The charsets that need no converter as long as their text is well formed.
enum class Plain { NO, ASCII, UTF8, LATIN1 };

Plain plainCharset(const char* name) {
    if (::strcasecmp(name, "utf-8") == 0) {
        return Plain::UTF8;
    }
    if (::strcasecmp(name, "us-ascii") == 0) {
        return Plain::ASCII;
    }
    return ::strcasecmp(name, "iso-8859-1") == 0 ? Plain::LATIN1 : Plain::NO;
}

// Takes one character of well-formed UTF-8 (RFC 3629, 4) off the text; false where there is none.
bool takeCharacter(std::string_view& text, char32_t& character) {
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    std::size_t length = 1;
    char32_t least = 0;
    character = lead;
    if (lead >= 0xF0) {
        length = 4;
        least = 0x10000;
        character = lead & 0x0FU;
    } else if (lead >= 0xE0) {
        length = 3;
        least = 0x800;
        character = lead & 0x0FU;
    } else if (lead >= 0xC0) {
        length = 2;
        least = 0x80;
        character = lead & 0x1FU;
    } else if (lead >= 0x80) {
        return false;
    }
    if (text.size() < length) {
        return false;
    }
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned char next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) {
            return false;
        }
        character = character << 6 | (next & 0x3FU);
    }
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    if (lead >= 0xF8 || character < least || character > 0x10FFFF || surrogate) {
        return false;
    }
    text.remove_prefix(length);
    return true;
}

// One decoded word in the target's form.
struct Word {
    alignas(char16_t) char text[WORD_LIMIT * sizeof(char16_t)];
    std::size_t units = 0; // bytes, or 16-bit units if wide
    bool wide;

    explicit Word(bool inUnits) : wide(inUnits) {}

    std::size_t bytes() const { return wide ? units * sizeof(char16_t) : units; }

    // Appends a character; false if there is no room.
    bool put(char32_t character) { return wide ? putUtf16(character) : putUtf8(character); }

private:
    bool putUnit(char16_t unit) {
        if (units == WORD_LIMIT) {
            return false;
        }
        std::memcpy(text + units * sizeof unit, &unit, sizeof unit);
        ++units;
        return true;
    }

    bool putByte(char32_t byte) {
        if (units == WORD_LIMIT) {
            return false;
        }
        text[units++] = static_cast<char>(byte);
        return true;
    }

    bool putUtf16(char32_t c) {
        if (c < 0x10000) {
            return putUnit(static_cast<char16_t>(c));
        }
        return putUnit(static_cast<char16_t>(0xD7C0 + (c >> 10))) &&
               putUnit(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
    }

    bool putUtf8(char32_t c) {
        if (c < 0x80) {
            return putByte(c);
        }
        if (c < 0x800) {
            return putByte(0xC0 | c >> 6) && putByte(0x80 | (c & 0x3F));
        }
        if (c < 0x10000) {
            return putByte(0xE0 | c >> 12) && putByte(0x80 | (c >> 6 & 0x3F)) &&
                   putByte(0x80 | (c & 0x3F));
        }
        return putByte(0xF0 | c >> 18) && putByte(0x80 | (c >> 12 & 0x3F)) &&
               putByte(0x80 | (c >> 6 & 0x3F)) && putByte(0x80 | (c & 0x3F));
    }
};

// What came of a conversion without ICU.
enum class Direct { DONE, TOO_LONG, NEEDS_CONVERTER };

Direct convertDirectly(Plain charset, std::string_view data, Word& word) {
    while (!data.empty()) {
        char32_t character = static_cast<unsigned char>(data[0]);
        if (charset == Plain::UTF8) {
            if (!takeCharacter(data, character)) {
                return Direct::NEEDS_CONVERTER;
            }
        } else if (charset == Plain::ASCII && character >= 0x80) {
            return Direct::NEEDS_CONVERTER;
        } else {
            data.remove_prefix(1);
        }
        if (!word.put(character)) {
            return Direct::TOO_LONG;
        }
    }
    return Direct::DONE;
}

// An open ICU converter.
class Converter {
public:
    Converter() = default;
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { closeConverter(converter); }

    bool open(const char* charset) {
        UErrorCode err = U_ZERO_ERROR;
        if (converter == nullptr) {
            converter = mvx_ucnv_open(charset, &err);
        }
        return converter != nullptr;
    }

    UConverter* get() const { return converter; }

private:
    UConverter* converter = nullptr;
};

// One call of decodeHeader: a scan over the text that never goes back.
class HeaderDecoder {
public:
    HeaderDecoder(const char* header, bool wideTarget)
        : text(header), size(static_cast<std::ptrdiff_t>(std::strlen(header))), wide(wideTarget),
          out((static_cast<std::size_t>(size) + 1) * unitSize()) {}

    char* run(int& length) {
        while (position <= size - SHORTEST_WORD) {
            if (text[position] == '=' && text[position + 1] == '?') {
                takeWord();
                continue;
            }
            // White space between two words is no text of its own (RFC 2047, 6.2), nor is a fold.
            const char c = text[position];
            afterWord = afterWord && (c == ' ' || c == '\t' || c == '\r' || c == '\n');
            ++position;
        }
        writePlain(size);
        length = static_cast<int>(out.size() / unitSize());
        const char16_t zero = 0;
        out.append(&zero, unitSize());
        return out.release();
    }

private:
    std::size_t unitSize() const { return wide ? sizeof(char16_t) : 1; }

    // Writes the plain text up to a position and goes on from there.
    void writePlain(std::ptrdiff_t end) {
        const std::size_t bytes = static_cast<std::size_t>(end - copyFrom);
        if (wide) {
            out.appendWide(text + copyFrom, bytes);
        } else {
            out.append(text + copyFrom, bytes);
        }
        copyFrom = end;
        position = end;
    }

    // What began as a word is plain text up to a position.
    void dropWord(std::ptrdiff_t end) {
        afterWord = false;
        writePlain(end);
    }

    // Where another word starts. One cannot start in the last bytes.
    bool startsWord(std::ptrdiff_t at) const {
        return at <= size - SHORTEST_WORD && text[at] == '=' && text[at + 1] == '?';
    }

    static bool isEncoding(char c) { return c == 'Q' || c == 'B' || c == 'q' || c == 'b'; }

    // The end of the charset's name, or -1 with the place from where to go on.
    std::ptrdiff_t findCharsetEnd(std::ptrdiff_t from, std::ptrdiff_t& goOn) const {
        std::ptrdiff_t i = from;
        for (; i < size - 4; ++i) {
            if (text[i] == '?' && text[i + 2] == '?' && isEncoding(text[i + 1])) {
                return i;
            }
            if (startsWord(i)) {
                break;
            }
        }
        goOn = i;
        return -1;
    }

    // The end of the data, as above.
    std::ptrdiff_t findDataEnd(std::ptrdiff_t from, std::ptrdiff_t& goOn) const {
        std::ptrdiff_t i = from;
        for (; i < size - 1; ++i) {
            if (text[i] == '?' && text[i + 1] == '=') {
                return i;
            }
            if (startsWord(i) && text[i + 2] != '=') {
                break;
            }
        }
        goOn = i;
        return -1;
    }

    void takeWord() {
        const std::ptrdiff_t charset = position + 2;
        std::ptrdiff_t goOn = 0;
        const std::ptrdiff_t charsetEnd = findCharsetEnd(charset + 1, goOn);
        if (charsetEnd < 0) {
            dropWord(goOn);
            return;
        }
        const std::ptrdiff_t data = charsetEnd + 3;
        const std::ptrdiff_t dataEnd = findDataEnd(data, goOn);
        if (dataEnd < 0) {
            dropWord(goOn);
            return;
        }
        Word word(wide);
        const std::string_view name(text + charset, static_cast<std::size_t>(charsetEnd - charset));
        const std::string_view bytes(text + data, static_cast<std::size_t>(dataEnd - data));
        if (!decode(name, text[charsetEnd + 1], bytes, word)) {
            dropWord(dataEnd + 2);
            return;
        }
        if (!afterWord) {
            writePlain(position);
        }
        out.append(word.text, word.bytes());
        afterWord = true;
        position = copyFrom = dataEnd + 2;
    }

    // Decodes the data of a word; false if the word is to stay as it is.
    bool decode(std::string_view charset, char encoding, std::string_view data, Word& word) {
        if (charset.size() >= CHARSET_SIZE) {
            return false;
        }
        char name[CHARSET_SIZE];
        std::memcpy(name, charset.data(), charset.size());
        name[charset.size()] = '\0';

        const std::unique_ptr<unsigned char[]> bytes(new unsigned char[data.size() + 1]);
        const unsigned char* encoded = reinterpret_cast<const unsigned char*>(data.data());
        std::size_t length = 0;
        if (encoding == 'Q' || encoding == 'q') {
            QP qp;
            unsigned char* target = bytes.get();
            unsigned int targetLength = static_cast<unsigned int>(data.size() + 1);
            if (qp.decode(encoded, static_cast<unsigned int>(data.size()), &target, &targetLength,
                          0, true) != 0) {
                return false;
            }
            length = targetLength;
        } else {
            int targetLength = static_cast<int>(data.size() + 1);
            if (base64decode(encoded, static_cast<int>(data.size()), bytes.get(), &targetLength,
                             0) != 0) {
                return false;
            }
            length = static_cast<std::size_t>(targetLength);
        }
        return convert(name, {reinterpret_cast<const char*>(bytes.get()), length}, word);
    }

    bool convert(const char* charset, std::string_view data, Word& word) {
        const Plain plain = plainCharset(charset);
        if (plain != Plain::NO) {
            const Direct result = convertDirectly(plain, data, word);
            if (result != Direct::NEEDS_CONVERTER) {
                return result == Direct::DONE;
            }
        }
        word.units = 0;
        Converter source;
        if (!source.open(charset)) {
            return false;
        }
        UErrorCode err = U_ZERO_ERROR;
        if (wide) {
            const int units = loadIcu()->toUChars(source.get(), reinterpret_cast<UChar*>(word.text),
                                                  static_cast<int>(WORD_LIMIT), data.data(),
                                                  static_cast<int>(data.size()), &err);
            word.units = static_cast<std::size_t>(units);
            return err <= U_ZERO_ERROR;
        }
        if (!utf8.open("utf-8")) {
            return false;
        }
        char* target = word.text;
        const char* from = data.data();
        loadIcu()->convertEx(utf8.get(), source.get(), &target, word.text + WORD_LIMIT, &from,
                             data.data() + data.size(), nullptr, nullptr, nullptr, nullptr, true,
                             true, &err);
        word.units = static_cast<std::size_t>(target - word.text);
        return err <= U_ZERO_ERROR;
    }

    const char* text;
    std::ptrdiff_t size;
    bool wide;
    TextBuffer out;
    Converter utf8; // the target of ICU's conversions; opened by the first
    std::ptrdiff_t position = 0;
    std::ptrdiff_t copyFrom = 0; // start of the plain text not yet written
    bool afterWord = false;      // only white space has followed the last decoded word
};

// ISO-8859-1 as UTF-8 in a new array; null if that takes more than the limit.
char* convertLatin1(const char* text) {
    std::size_t length = 0;
    for (const char* p = text; *p != '\0'; ++p) {
        length += static_cast<unsigned char>(*p) < 0x80 ? 1 : 2;
    }
    if (length > LATIN1_LIMIT) {
        return nullptr;
    }
    char* converted = new char[length + 1];
    char* end = converted;
    for (const char* p = text; *p != '\0'; ++p) {
        const unsigned char byte = static_cast<unsigned char>(*p);
        if (byte < 0x80) {
            *end++ = *p;
        } else {
            *end++ = static_cast<char>(0xC0 | byte >> 6);
            *end++ = static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    *end = '\0';
    return converted;
}

// The next soft break of encoded text from a position on: its "=", or the end of the text.
std::size_t findSoftBreak(std::string_view encoded, std::size_t from) {
    for (;;) {
        const std::size_t at = encoded.find('=', from);
        if (at == std::string_view::npos || at + 1 >= encoded.size()) {
            return encoded.size();
        }
        if (encoded[at + 1] == '\r' || encoded[at + 1] == '\n') {
            return at;
        }
        from = at + 1;
    }
}

} // namespace

char* encodeHeader(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t length = std::strlen(text);
    if (Utils::isASCII(text, static_cast<unsigned int>(length))) {
        return copyOf(text, length);
    }
    QP qp;
    unsigned char* encoded = nullptr;
    unsigned int encodedLength = 0;
    if (qp.encode(reinterpret_cast<const unsigned char*>(text), static_cast<unsigned int>(length),
                  &encoded, &encodedLength, 0, 0, true) != 0) {
        return nullptr;
    }
    const std::unique_ptr<unsigned char[]> guard(encoded);
    const std::string_view pieces(reinterpret_cast<const char*>(encoded), encodedLength);
    TextBuffer out(pieces.size() + pieces.size() / 2 + WORD_START.size() + WORD_END.size() + 1);
    for (std::size_t start = 0; start <= pieces.size();) {
        const std::size_t end = findSoftBreak(pieces, start);
        out.append(WORD_START.data(), WORD_START.size());
        out.append(pieces.data() + start, end - start);
        out.append(WORD_END.data(), WORD_END.size());
        if (end == pieces.size()) {
            break;
        }
        out.append(" ", 1);
        start = pieces.find_first_not_of("\r\n", end + 1);
        if (start == std::string_view::npos) {
            start = pieces.size();
        }
    }
    out.append("", 1);
    return out.release();
}

char* decodeHeader(const char* text, int& length, bool wide) {
    if (text == nullptr) {
        return nullptr;
    }
    return HeaderDecoder(text, wide).run(length);
}

char* decodeHeader(const char* text, bool strict) {
    int length = 0;
    std::unique_ptr<char[]> decoded(decodeHeader(text, length, false));
    if (decoded == nullptr || Utils::isValidUTF8(reinterpret_cast<unsigned char*>(decoded.get()))) {
        return decoded.release();
    }
    char* converted = convertLatin1(decoded.get());
    return converted != nullptr || strict ? converted : decoded.release();
}
