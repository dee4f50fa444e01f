// The scanner of the text loader against a plain reference, which holds the whole text, tries every
// rule at each place and takes the longest match. Both are given random texts made of what matters
// to the scanner, and the scanner gets them in small pieces.

#include "common/stream/memory_stream.h"
#include "config/text_grammar.h"
#include "config/text_loader.h"
#include "tests/config/loader_fixture.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cctype>
#include <cstring>

using namespace HConfig;

namespace {

struct Token {
    int kind;
    std::string text;
    int line;
    int column;

    bool operator==(const Token&) const = default;
};

void PrintTo(const Token& token, std::ostream* out) {
    *out << token.kind << " '" << token.text << "' " << token.line << ":" << token.column;
}

class Scanner : public TextLoader {
public:
    explicit Scanner(Stream* input) : TextLoader(input, nullptr, false) { restart(input); }

    // All tokens up to the end of the input or an error token.
    std::vector<Token> run() {
        std::vector<Token> tokens;
        for (;;) {
            int value = 0;
            TokenLoc location;
            const int kind = hclex(&value, &location, static_cast<TextLoader*>(this));
            if (kind == 0) {
                return tokens;
            }
            const bool hasText = kind == HC_NAME || kind == HC_VALUE;
            const bool isLocated = kind != HC_SL_COMM && kind != HC_ML_COMM;
            tokens.push_back({kind, hasText ? textOf(value) : "", isLocated ? location.line : 0,
                              isLocated ? location.column : 0});
            if (kind == HC_LEX_ERROR) {
                return tokens;
            }
            if (hasText) {
                release(value);
            }
        }
    }
};

// Gives a text a few bytes at a time.
class Trickle : public MemoryStream {
public:
    Trickle(std::string& text, std::mt19937_64& source)
        : MemoryStream(text.data(), static_cast<long long>(text.size())), random(source) {}

    using MemoryStream::read;
    int read(void* target, int amount) override {
        return MemoryStream::read(
            target, std::min(amount, 1 + static_cast<int>(support::below(random, 7))));
    }

private:
    std::mt19937_64& random;
};

class Reference {
public:
    explicit Reference(const std::string& input) : text(input) {}

    std::vector<Token> run() {
        while (at < text.size() && step()) {
        }
        return tokens;
    }

private:
    enum State { NORMAL, QUOTED };

    const std::string& text;
    std::size_t at = 0;
    int line = 1;
    int column = 1;
    State state = NORMAL;
    std::string quoted;
    std::vector<Token> tokens;

    static bool isIn(char c, const char* set) { return c != '\0' && std::strchr(set, c); }
    static bool isWordByte(char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || isIn(c, "\\!$%&'+,-.:;<>?@[]^_~|`");
    }
    static bool isControl(char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && !isIn(c, "\t\n\r")) || byte == 0x7F;
    }
    static bool isHigh(char c) { return static_cast<unsigned char>(c) >= 0x80; }

    char byteAt(std::size_t index) const { return index < text.size() ? text[index] : '\n'; }

    template <class Test> std::size_t run(std::size_t from, Test test) const {
        std::size_t end = from;
        while (end < text.size() && test(text[end])) {
            end++;
        }
        return end - from;
    }

    // The longest prefix of the text from here that the word machine accepts.
    std::size_t longestWord() const {
        static constexpr int table[7][3] = {{1, 2, 6},  {1, 2, 3}, {1, 2, 4}, {5, -1, 3},
                                            {5, -1, 4}, {1, 2, 4}, {5, -1, 4}};
        std::size_t longest = 0;
        int where = 0;
        for (std::size_t i = at; i < text.size() && where >= 0; i++) {
            const char c = text[i];
            where = isWordByte(c) ? table[where][0]
                    : c == '*'    ? table[where][1]
                    : c == '/'    ? table[where][2]
                                  : -1;
            if (where == 1 || where == 2 || where == 3 || where == 5) {
                longest = i + 1 - at;
            }
        }
        return longest;
    }

    void emit(int kind, std::string value = {}) { tokens.push_back({kind, value, line, column}); }

    void moveBy(std::size_t size) {
        at += size;
        column += static_cast<int>(size);
    }

    bool step() { return state == NORMAL ? stepNormal() : stepQuoted(); }

    bool stepNormal() {
        const char c = text[at];
        const auto isBlank = [](char b) { return b == ' ' || b == '\t'; };
        if (c == '#') {
            return comment("\n", 1, HC_SL_COMM);
        }
        if (c == '/' && byteAt(at + 1) == '*') {
            return comment("*/", 2, HC_ML_COMM);
        }
        if (c == '"') {
            state = QUOTED;
            quoted.clear();
            moveBy(1);
        } else if (isIn(c, "=(){}")) {
            static constexpr int kinds[] = {HC_EQ, HC_SET_B, HC_SET_E, HC_OBJ_B, HC_OBJ_E};
            emit(kinds[std::string("=(){}").find(c)]);
            moveBy(1 + run(at + 1, isBlank));
        } else if (isBlank(c)) {
            moveBy(1);
        } else if (isIn(c, "\r\n")) {
            newline();
        } else if (isControl(c) || isHigh(c)) {
            emit(HC_LEX_ERROR);
            return false;
        } else if (const std::size_t size = longestWord(); size > 0) {
            const std::string word = text.substr(at, size);
            const bool isName = std::isalpha(static_cast<unsigned char>(word[0])) &&
                                std::all_of(word.begin(), word.end(),
                                            [](unsigned char b) { return std::isalnum(b); });
            emit(size >= 4096 ? HC_LEX_ERROR
                 : isName     ? HC_NAME
                              : HC_VALUE,
                 size >= 4096 ? "" : word);
            moveBy(size);
            return size < 4096;
        } else {
            at++; // matched by nothing, and dropped
        }
        return true;
    }

    void newline() {
        line += text[at] == '\n';
        column = 0;
        at++;
    }

    bool comment(const char* end, std::size_t opening, int kind) {
        const std::size_t found = text.find(end, at + opening);
        if (found == std::string::npos) {
            at = text.size();
            return false;
        }
        const std::size_t behind = found + std::strlen(end);
        while (at < behind) {
            if (text[at] == '\n') {
                newline();
            } else {
                moveBy(1);
            }
        }
        tokens.push_back({kind, "", 0, 0});
        return true;
    }

    bool stepQuoted() {
        const char c = text[at];
        if (c == '"') {
            emit(HC_VALUE, quoted);
            moveBy(1);
            state = NORMAL;
            return true;
        }
        const auto isPlain = [](char b) {
            return (isWordByte(b) && b != '\\') || isHigh(b) || isIn(b, " \t#()*/={}");
        };
        const std::size_t escape = c == '\\' ? 1 : 0;
        const std::size_t plain = run(at + escape, isPlain);
        if (escape && at + 1 < text.size() && isIn(text[at + 1], "\"\\")) {
            return piece(2, text.substr(at + 1, 1));
        }
        if (plain > 0) {
            return piece(escape + plain, text.substr(at, escape + plain));
        }
        if (run(at + escape, isControl) > 0) {
            emit(HC_LEX_ERROR);
            return false;
        }
        std::size_t end = at;
        while (text.compare(end, 1, "\n") == 0 || text.compare(end, 2, "\r\n") == 0) {
            end += text[end] == '\n' ? 1 : 2;
            line++;
        }
        if (end > at) {
            return piece(end - at, text.substr(at, end - at));
        }
        at++; // matched by nothing, and dropped
        return true;
    }

    bool piece(std::size_t size, const std::string& value) {
        if (quoted.size() + value.size() >= 4096) {
            emit(HC_LEX_ERROR);
            return false;
        }
        quoted += value;
        moveBy(size);
        return true;
    }
};

class TextScannerTest : public LoaderTest {
protected:
    static void compare(std::string text, std::mt19937_64& random) {
        const std::vector<Token> expected = Reference(text).run();
        Trickle input(text, random);
        EXPECT_EQ(expected, Scanner(&input).run()) << testing::PrintToString(text);
    }
};

TEST_F(TextScannerTest, GivesTheTokensOfThePlainReference) {
    std::mt19937_64 random = support::seededRandom("TextScanner");
    const std::string pieces[] = {"a", "Z9", "1",  "/",  "*",  "/*", "*/",   "\"", "\\",
                                  "#", "\n", "\r", " ",  "\t", "=",  "(",    ")",  "{",
                                  "}", "_",  "-",  "//", "\"", "\\", "\r\n", "= ", "ab"};
    const std::string rare[] = {std::string(1, '\0'), "\x01", "\x7F", "\x80", "\xFF"};
    for (int round = 0; round < 5000; round++) {
        std::string text;
        for (std::size_t i = support::below(random, 40); i > 0; i--) {
            text += support::below(random, 60) == 0 ? rare[support::below(random, 5)]
                                                    : pieces[support::below(random, 27)];
        }
        compare(text, random);
        if (HasFailure()) {
            return;
        }
    }
}

TEST_F(TextScannerTest, LongTokensEndWhereTheReferenceEndsThem) {
    std::mt19937_64 random = support::seededRandom("TextScannerLong");
    for (const std::size_t size : {4095U, 4096U, 4100U}) {
        const std::string x(size, 'x');
        const std::string slashes(size, '/');
        for (const std::string& text :
             {x, "\"" + x + "\" a", "\"" + x + "\\\\\" a", "\"" + x + "\n\" a", x + "/" + x,
              "*" + slashes, "*" + slashes + "x", slashes + "*x*/ b", slashes + " b",
              "a" + slashes + " b", "/*" + x + "*" + x + "**/ b", "# " + x + "\nb"}) {
            compare(text, random);
        }
    }
}

} // namespace
