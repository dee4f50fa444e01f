#include "tests/address/address_reference.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

namespace reference {

using support::Entries;
using support::Entry;
using support::Mailbox;

namespace {

// A token of the language: a special, an atom ('a'), a quoted string ('q') or a domain literal
// ('d'), with its normalised text, and whether white space or a comment stands behind it.
struct Token {
    char kind;
    std::string text;
    bool blankBehind = false;
};

struct Refused {};

class Lexer {
public:
    explicit Lexer(const std::string& source) : text(source) {}

    std::vector<Token> run() {
        std::vector<Token> tokens;
        skipBlanks();
        while (at < text.size()) {
            tokens.push_back(next());
            tokens.back().blankBehind = skipBlanks();
        }
        return tokens;
    }

private:
    static bool isAtom(unsigned char c) {
        return std::isalnum(c) != 0 || (c != 0 && std::strchr("!#$%&'*+-/=?^_`{|}~", c) != nullptr);
    }

    unsigned char byteAt(std::size_t index) const {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
    }

    // The length of folding white space at the position, 0 for none.
    std::size_t foldLength() const {
        const auto behindBlanks = [this](std::size_t from) {
            return std::min(text.find_first_not_of(" \t", from), text.size());
        };
        std::size_t end = behindBlanks(at);
        if (text.compare(end, 2, "\r\n") == 0 && behindBlanks(end + 2) > end + 2) {
            end = behindBlanks(end + 2);
        }
        return end - at;
    }

    bool skipLineFeed() {
        if (byteAt(at) != '\n') {
            return false;
        }
        ++at;
        return true;
    }

    // White space and comments; true if there were any. Line feeds are skipped and count for
    // nothing.
    bool skipBlanks() {
        bool any = false;
        for (;;) {
            if (const std::size_t fold = foldLength()) {
                at += fold;
                any = true;
            } else if (byteAt(at) == '(') {
                skipComment();
                any = true;
            } else if (!skipLineFeed()) {
                return any;
            }
        }
    }

    // A byte of quoted text: all of ASCII but blanks, CR, LF and what `excluded` names.
    static bool isText(unsigned char c, const char* excluded) {
        return c != 0 && c < 0x80 && std::strchr(" \t\r\n\\", c) == nullptr &&
               std::strchr(excluded, c) == nullptr;
    }

    // Takes a fold, a byte of quoted text, a quoted pair, or a line feed, which counts for nothing.
    void takeQuoted(std::string& out, const char* excluded) {
        if (const std::size_t fold = foldLength()) {
            at += fold;
            out += ' ';
        } else if (isText(byteAt(at), excluded)) {
            out += text[at++];
        } else if (byteAt(at) == '\\' && byteAt(at + 1) != 0 && byteAt(at + 1) < 0x80) {
            out.append(text, at, 2);
            at += 2;
        } else if (!skipLineFeed()) {
            throw Refused();
        }
    }

    void skipComment() {
        int depth = 0;
        std::string ignored;
        do {
            if (byteAt(at) == '(' || byteAt(at) == ')') {
                depth += text[at++] == '(' ? 1 : -1;
            } else {
                takeQuoted(ignored, "()");
            }
        } while (depth > 0);
    }

    Token bracketed(char kind, const char* excluded, char close) {
        Token token{kind, std::string(1, text[at++])};
        while (byteAt(at) != static_cast<unsigned char>(close)) {
            const bool isFold = foldLength() > 0;
            takeQuoted(token.text, excluded);
            while (isFold && skipLineFeed()) {
            }
            if (isFold && foldLength() > 0) {
                throw Refused(); // two folds in a row are not in the language
            }
        }
        token.text += text[at++];
        return token;
    }

    Token next() {
        const unsigned char c = byteAt(at);
        if (c == '"') {
            return bracketed('q', "\"", '"');
        }
        if (c == '[') {
            return bracketed('d', "[]", ']');
        }
        if (isAtom(c)) {
            Token token{'a', {}};
            while (isAtom(byteAt(at))) {
                token.text += text[at++];
            }
            return token;
        }
        if (c != 0 && std::strchr("@,;<>:.", c) != nullptr) {
            ++at;
            return Token{static_cast<char>(c), std::string(1, static_cast<char>(c))};
        }
        throw Refused();
    }

    const std::string& text;
    std::size_t at = 0;
};

class Reader {
public:
    Reader(std::vector<Token> list, const char* domain, bool nullPath)
        : tokens(std::move(list)), defaultDomain(domain), allowNullPath(nullPath) {}

    Entries run() {
        Entries entries;
        if (tokens.empty()) {
            throw Refused();
        }
        for (;;) {
            if (kind() != ',' && kind() != 0) {
                entries.push_back(readEntry());
            }
            if (kind() == 0) {
                return entries;
            }
            expect(',');
        }
    }

private:
    char kind(std::size_t ahead = 0) const {
        return at + ahead < tokens.size() ? tokens[at + ahead].kind : '\0';
    }
    static bool isWord(char kindOfToken) { return kindOfToken == 'a' || kindOfToken == 'q'; }

    void expect(char wanted) {
        if (kind() != wanted) {
            throw Refused();
        }
        ++at;
    }

    // The text of the next token, with one space for the white space behind it.
    std::string take() {
        const Token& token = tokens[at++];
        return token.blankBehind ? token.text + ' ' : token.text;
    }

    // How many tokens from here on make a phrase.
    std::size_t phraseLength() const {
        std::size_t end = 0;
        while (isWord(kind(end)) || (end > 0 && kind(end) == '.')) {
            ++end;
        }
        return end;
    }

    Entry readEntry() {
        const std::size_t end = phraseLength();
        if (end > 0 && kind(end) == ':') {
            Entry group;
            group.groupName = displayName(end);
            expect(':');
            readGroup(group.mailboxes);
            return group;
        }
        return Entry{std::nullopt, {readMailbox()}};
    }

    void readGroup(std::vector<Mailbox>& mailboxes) {
        for (;;) {
            if (kind() != ',' && kind() != ';') {
                mailboxes.push_back(readMailbox());
            }
            if (kind() == ';') {
                ++at;
                return;
            }
            expect(',');
        }
    }

    Mailbox readMailbox() {
        const std::size_t end = phraseLength();
        Mailbox mailbox;
        if (kind(end) != '<') {
            mailbox.addrSpec = readAddrSpec();
            return mailbox;
        }
        if (end > 0) {
            mailbox.name = displayName(end);
        }
        expect('<');
        if (kind() == '>' && !tokens[at - 1].blankBehind) {
            if (!allowNullPath) {
                throw Refused();
            }
            mailbox.addrSpec = "<>";
        } else {
            readRoute();
            mailbox.addrSpec = readAddrSpec();
        }
        expect('>');
        return mailbox;
    }

    void readRoute() {
        if (kind() != '@') {
            return;
        }
        while (kind() == '@') {
            ++at;
            readDomain();
            while (kind() == ',') {
                ++at;
                if (kind() != ',' && kind() != '@') {
                    throw Refused();
                }
            }
        }
        expect(':');
    }

    // Atoms, and where it is a local part also quoted strings, with dots in between.
    std::string dotted(bool isLocalPart) {
        std::string text;
        for (;;) {
            if (kind() != 'a' && !(isLocalPart && kind() == 'q')) {
                throw Refused();
            }
            text += take();
            if (kind() != '.') {
                return text;
            }
            text += take();
        }
    }

    std::string readDomain() { return kind() == 'd' ? take() : dotted(false); }

    std::string readAddrSpec() {
        std::string spec = dotted(true);
        if (kind() == '@') {
            spec += take();
            return outsideQuotes(spec + readDomain());
        }
        if (defaultDomain == nullptr) {
            throw Refused();
        }
        return outsideQuotes(spec) + (*defaultDomain != '\0' ? "@" : "") + defaultDomain;
    }

    // The next `count` tokens as a phrase.
    std::string displayName(std::size_t count) {
        std::string name;
        for (; count > 0; --count) {
            name += take();
        }
        while (name.size() > 1 && name.back() == ' ') {
            name.pop_back();
        }
        if (name.size() > 1 && name.front() == '"' && name.back() == '"') {
            name = name.substr(1, name.size() - 2);
        }
        return name;
    }

    static std::string outsideQuotes(const std::string& text) {
        std::string result;
        bool quoted = false;
        for (const char c : text) {
            quoted = quoted != (c == '"');
            if (c != ' ' || quoted) {
                result += c;
            }
        }
        return result;
    }

    std::vector<Token> tokens;
    std::size_t at = 0;
    const char* defaultDomain;
    bool allowNullPath;
};

} // namespace

std::optional<Entries> parse(const std::string& text, const char* defaultDomain,
                             bool allowNullPath) {
    try {
        return Reader(Lexer(text).run(), defaultDomain, allowNullPath).run();
    } catch (const Refused&) {
        return std::nullopt;
    }
}

} // namespace reference
