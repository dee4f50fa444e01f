#include "config/mail_search.h"

#include "common/stream/stream.h"

#include <cctype>

namespace MailSearch {

Parser parser = nullptr;

namespace {

constexpr int MAX_CONDITION = 64 * 1024;

// Follows the form of a condition byte by byte: words and quoted strings, with parentheses around
// at least one of them, each closed by its own. In a quoted string a backslash takes the next
// byte as it is.
class FormCheck {
public:
    // False as soon as the form is broken.
    bool feed(unsigned char c) {
        if (quoted) {
            return feedQuoted(c);
        }
        if (c == '"') {
            quoted = true;
            afterOpening = false;
        } else if (c == '(') {
            ++depth;
            afterOpening = true;
        } else if (c == ')') {
            return !afterOpening && depth-- > 0;
        } else if (std::isspace(c) == 0) {
            afterOpening = false;
            return std::iscntrl(c) == 0;
        }
        return true;
    }

    // Whether the form is complete.
    bool isWhole() const { return !quoted && depth == 0 && !afterOpening; }

private:
    bool feedQuoted(unsigned char c) {
        if (escaped) {
            escaped = false;
        } else if (c == '\\') {
            escaped = true;
        } else if (c == '"') {
            quoted = false;
        }
        return c != '\0';
    }

    int depth = 0;
    bool quoted = false;
    bool escaped = false;
    bool afterOpening = true; // nothing yet, at the start or since the last "("
};

SearchList* checkForm(Stream* stream) {
    FormCheck form;
    char piece[512];
    int total = 0;
    for (;;) {
        const int got = stream->read(piece, sizeof piece);
        if (got < 0 || (total += got) > MAX_CONDITION) {
            return nullptr;
        }
        if (got == 0) {
            return form.isWhole() ? new SearchList : nullptr;
        }
        for (int i = 0; i < got; ++i) {
            if (!form.feed(static_cast<unsigned char>(piece[i]))) {
                return nullptr;
            }
        }
    }
}

} // namespace

SearchList* parseSearchStream(Stream* stream) {
    return parser != nullptr ? parser(stream) : checkForm(stream);
}

} // namespace MailSearch
