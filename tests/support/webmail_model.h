// A plain reader of the web form address language, written from its description in words and
// independent of the generated scanner and grammar: everything in memory, one step at a time.

#ifndef MORVEX_TESTS_SUPPORT_WEBMAIL_MODEL_H
#define MORVEX_TESTS_SUPPORT_WEBMAIL_MODEL_H

#include "message/encoded_word.h"
#include "tests/support/address_entries.h"

#include <cstring>
#include <memory>
#include <string_view>

namespace support {

class WebmailModel {
public:
    // The entries of a text, or nothing where it is no address list of the language.
    static std::optional<Entries> read(std::string_view text) {
        WebmailModel model(text);
        Entries entries;
        do {
            if (!model.mailbox(entries)) {
                return std::nullopt;
            }
        } while (model.take('s') && model.kind != 'e');
        return model.kind == 'e' ? std::optional(entries) : std::nullopt;
    }

private:
    using Size = std::size_t;

    explicit WebmailModel(std::string_view text) : left(text) { advance(); }

    bool take(char wanted, std::string* text = nullptr) {
        if (kind != wanted) {
            return false;
        }
        if (text != nullptr) {
            *text = value;
        }
        advance();
        return true;
    }

    bool angle(std::string& spec) { return take('<') && take('a', &spec) && take('>'); }

    bool mailbox(Entries& entries) {
        std::optional<std::string> name;
        std::string spec;
        if (kind == 'w') {
            if (!phrase(name.emplace()) || !angle(spec)) {
                return false;
            }
        } else if (!take('a', &spec)) {
            if (!angle(spec)) {
                return false;
            }
            if (take('b') || kind == '<') {
                name = spec;
                if (!angle(spec)) {
                    return false;
                }
            }
        }
        if (name) {
            name = std::unique_ptr<char[]>(decodeHeader(name->c_str(), false)).get();
        }
        entries.push_back({{}, {{name, spec}}});
        return true;
    }

    // Words up to a bracket, with what stands between them.
    bool phrase(std::string& name) {
        for (;;) {
            std::string part;
            if (!take('w', &part)) {
                return false;
            }
            name += part;
            if (kind == 's') {
                take('s', &part);
                name += part;
            } else if (take('b')) {
                if (kind == '<') {
                    return true;
                }
                name += ' ';
            } else if (kind == '<') {
                return true;
            }
        }
    }

    // Kinds of a token: address 'a', word 'w', separator 's', blanks 'b', '<', '>', end 'e', and
    // 'x' for an error.
    void advance() {
        kind = 'e';
        if (left.empty()) {
            return;
        }
        // The longest match, the first of equals.
        const std::pair<char, Size> matches[] = {
            {'q', encodedStart()}, {'a', address()}, {'w', word()},
            {'s', separators()},   {'b', blanks(0)}, {among(left[0], "<>\"") ? left[0] : 'x', 1}};
        Size length = 0;
        for (const auto& [matched, size] : matches) {
            if (size > length) {
                kind = matched;
                length = size;
            }
        }
        value = left.substr(0, length);
        left.remove_prefix(length);
        if (kind == '"') {
            value.clear();
            quoted();
        } else if (kind == 'q') {
            encoded();
        }
    }

    // Collects up to the closing quote.
    void quoted() {
        for (kind = 'w'; !left.empty();) {
            const char byte = left[0];
            left.remove_prefix(1);
            if (byte == '"') {
                return;
            }
            if (byte == '\r' || byte == '|' || byte == '}' || (byte == '\\' && left.empty())) {
                kind = 'x';
                return;
            }
            if (byte == '\\') {
                value += left[0];
                left.remove_prefix(1);
            } else if (byte != '\n') {
                value += byte;
            }
        }
        kind = 'e';
    }

    void encoded() {
        for (kind = 'w'; kind == 'w' && !left.empty();) {
            const char byte = left[0];
            const char next = left.size() > 1 ? left[1] : '\0';
            left.remove_prefix(1);
            if (byte == '"') {
                quoted();
                continue;
            }
            value += byte;
            if (byte == '?' && next == '\0') {
                kind = 'x';
                return;
            }
            if (byte == '?' && next == '=') {
                value += '=';
                left.remove_prefix(1);
                return;
            }
        }
        kind = kind == 'w' ? 'e' : kind;
    }

    char at(Size index) const { return index < left.size() ? left[index] : '\0'; }
    static bool among(char byte, const char* set) {
        return byte != '\0' && std::strchr(set, byte) != nullptr;
    }
    static bool isAlnum(char byte) {
        return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
               (byte >= 'A' && byte <= 'Z');
    }
    static bool isAddrChar(char byte) {
        return isAlnum(byte) || among(byte, "!#$%&'*+-/=?^_`{|}~");
    }
    static bool isWordChar(char byte) {
        return isAlnum(byte) || among(byte, "!#$%&'()*+-./=^_`{|}~") || (byte & 0x80) != 0;
    }

    Size blanks(Size from) const {
        Size end = from;
        while (among(at(end), " \t")) {
            ++end;
        }
        return end - from;
    }

    Size separators() const {
        Size end = blanks(0);
        bool any = false;
        for (;;) {
            const Size length = among(at(end), ",;\n")                   ? 1
                                : at(end) == '\r' && at(end + 1) == '\n' ? 2
                                                                         : 0;
            if (length == 0) {
                return any ? end : 0;
            }
            any = true;
            end += length;
            end += blanks(end);
        }
    }

    Size word() const {
        Size end = 0;
        for (;;) {
            const Size begin = end + (end > 0 ? blanks(end) : 0);
            if (!isWordChar(at(begin))) {
                return end;
            }
            for (end = begin; isWordChar(at(end));) {
                ++end;
            }
        }
    }

    Size encodedStart() const {
        const Size mark = left.starts_with("=?") ? left.find('?', 2) : left.npos;
        return mark != left.npos && among(at(mark + 1), "BbQq") && at(mark + 2) == '?' ? mark + 3
                                                                                       : 0;
    }

    // The end of addrchars with single dots between them; `from` where there are none.
    Size dotted(Size from) const {
        Size end = from;
        while (isAddrChar(at(end)) || (end > from && at(end) == '.' && isAddrChar(at(end + 1)))) {
            ++end;
        }
        return end;
    }

    Size address() const {
        const Size sign = dotted(0);
        if (sign == 0 || at(sign) != '@') {
            return 0;
        }
        const Size end = at(sign + 1) == '[' ? literal(sign + 1) : dotted(sign + 1);
        return end > sign + 1 ? end : 0;
    }

    Size literal(Size from) const {
        const Size close = left.find(']', from);
        if (close == left.npos) {
            return 0;
        }
        std::string inside(left.substr(from + 1, close - from - 1));
        for (char& byte : inside) {
            byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 32) : byte;
        }
        const bool good = inside.starts_with("ipv6:") ? isIPv6(inside.substr(5)) : isIPv4(inside);
        return good ? close + 1 : 0;
    }

    static std::vector<std::string> split(const std::string& text, char separator) {
        std::vector<std::string> parts(1);
        for (const char byte : text) {
            if (byte == separator) {
                parts.emplace_back();
            } else {
                parts.back() += byte;
            }
        }
        return parts;
    }

    static bool consistsOf(const std::string& text, Size most, const char* set) {
        return !text.empty() && text.size() <= most &&
               text.find_first_not_of(set) == std::string::npos;
    }

    static bool isIPv4(const std::string& text) {
        const std::vector<std::string> parts = split(text, '.');
        bool good = parts.size() == 4;
        for (const std::string& part : parts) {
            good = good && consistsOf(part, 3, "0123456789");
        }
        return good;
    }

    // How many groups a text joined by colons has, an IPv4 tail counting as two; -1 where it is
    // malformed.
    static int groups(const std::string& text, bool mayEndInIPv4) {
        const std::vector<std::string> parts = split(text, ':');
        int count = 0;
        for (Size i = 0; i < parts.size() && !text.empty(); ++i) {
            if (mayEndInIPv4 && i + 1 == parts.size() && isIPv4(parts[i])) {
                ++count;
            } else if (!consistsOf(parts[i], 4, "0123456789abcdef")) {
                return -1;
            }
            ++count;
        }
        return count;
    }

    static bool isIPv6(const std::string& text) {
        const Size gap = text.find("::");
        if (gap == std::string::npos) {
            return groups(text, true) == 8;
        }
        const int before = groups(text.substr(0, gap), false);
        const int behind = groups(text.substr(gap + 2), true);
        return before >= 0 && behind >= 0 && before + behind <= 6;
    }

    std::string_view left; // the text behind the token
    char kind = 'e';
    std::string value; // of the token
};

} // namespace support

#endif
