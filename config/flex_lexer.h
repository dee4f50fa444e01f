// The scanner engine behind the text loader: a window over the input, the position of the text
// that was matched last, and the four operations that a scanner overrides. It knows no tokens.
//
// The window is refilled as it runs out, so memory does not depend on the input, and a byte is
// looked at once. A match longer than the window needs no room in it: the scanner keeps what it
// needs. One scanner, one thread; no failure of its own: a read that fails ends the input.

#ifndef MORVEX_CONFIG_FLEX_LEXER_H
#define MORVEX_CONFIG_FLEX_LEXER_H

class hcFlexLexer {
public:
    hcFlexLexer() = default;
    virtual ~hcFlexLexer() = default;
    hcFlexLexer(const hcFlexLexer&) = delete;
    hcFlexLexer& operator=(const hcFlexLexer&) = delete;

protected:
    // Reads up to `maxSize` bytes. Gives their number; 0 or less ends the input.
    virtual int LexerInput(char* buffer, int maxSize) = 0;
    // Is shown what no rule matches.
    virtual void LexerOutput(const char* text, int size) = 0;
    virtual void LexerError(const char* message) = 0;
    // The next token; 0 at the end of the input.
    virtual int yylex() = 0;

    static constexpr int END_OF_INPUT = -1;

    // Starts over with an empty window and line 1.
    void yyrestart() {
        next = limit = window;
        atEnd = false;
        yylineno = 1;
    }

    // For a scanner that looks at an input before it scans it: the window, to be filled with the
    // first bytes of the input. What is put there counts only if it is all of the input, and told
    // as that to holdInput. Requires: nothing was scanned since yyrestart.
    char* emptyWindow(int& room) {
        room = WINDOW_SIZE;
        return window;
    }
    void holdInput(int size) {
        limit = window + size;
        atEnd = true;
    }

    // The next byte, or END_OF_INPUT, which stays.
    int peek() {
        if (next == limit && !refill()) {
            return END_OF_INPUT;
        }
        return static_cast<unsigned char>(*next);
    }

    // Takes the byte that peek gave. Requires: it gave one.
    void take() { next++; }

    // What is in the window, at least one byte, without taking it; null at the end of the input.
    const char* peekWindow(int& size) {
        if (next == limit && !refill()) {
            return nullptr;
        }
        size = static_cast<int>(limit - next);
        return next;
    }

    // Takes bytes that peekWindow gave. Requires: `size` is not more than it told.
    void take(int size) { next += size; }

    int yylineno = 1; // the line of the next byte, from 1

private:
    static constexpr int WINDOW_SIZE = 4096;

    bool refill();

    const char* next = window;
    const char* limit = window;
    bool atEnd = false; // behind the window there is nothing more
    char window[WINDOW_SIZE];
};

#endif
