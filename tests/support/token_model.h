// Plain models of the two line tokenizers, over a whole text in memory: what the tokens of a text
// are, whatever the pieces in which a stream gives it.

#ifndef MORVEX_TESTS_SUPPORT_TOKEN_MODEL_H
#define MORVEX_TESTS_SUPPORT_TOKEN_MODEL_H

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace support {

struct Token {
    std::string text;
    bool complete;
    bool operator==(const Token&) const = default;
};
using Tokens = std::vector<Token>;

// The length of the line end at the front of a text that is not empty, or 0.
inline int lineEndAt(std::string_view text, int flags) {
    const std::string_view two = text.substr(0, 2);
    const int kinds = flags & 15;
    if (kinds == 0 && two == std::string_view("\0\0", 2)) {
        return 2;
    }
    if (((kinds & 4) != 0 && two == "\r\n") || ((kinds & 8) != 0 && two == "\n\r")) {
        return 2;
    }
    const char c = text[0];
    return ((kinds & 1) != 0 && c == '\r') || ((kinds & 2) != 0 && c == '\n') ||
           ((flags & 16) == 0 && kinds != 12 && c == '\0');
}

// The first line end from an offset on: where it starts and its length; length 0 for none.
inline std::pair<std::size_t, int> nextLineEnd(std::string_view text, std::size_t at, int flags) {
    for (; at < text.size(); ++at) {
        if (const int length = lineEndAt(text.substr(at), flags); length > 0) {
            return {at, length};
        }
    }
    return {text.size(), 0};
}

inline Tokens plainLines(std::string_view text, int flags, std::size_t limit) {
    Tokens tokens;
    for (;;) {
        const auto [at, length] = nextLineEnd(text, 0, flags);
        std::size_t size = at + static_cast<std::size_t>(length);
        const bool complete = length > 0 && (size <= limit || (at == 0 && (flags & 0x80) != 0));
        std::size_t shown = complete && (flags & 0x80) != 0 ? at : size;
        if (length > 0 && !complete) {
            shown = size = at > 0 ? std::min(at, limit) : limit;
        } else if (length == 0) {
            if (size < limit) {
                tokens.push_back({std::string(text), false});
                if (!text.empty()) {
                    tokens.push_back({"", false});
                }
                return tokens;
            }
            const char last = text[limit - 1];
            shown = size = limit > 1 && (last == '\r' || last == '\n') ? limit - 1 : limit;
        }
        tokens.push_back({std::string(text.substr(0, shown)), complete});
        text.remove_prefix(size);
    }
}

// A token without the line ends at the given offsets, and without the blank behind each of them.
inline std::string unfold(std::string_view token, const std::vector<std::size_t>& folds,
                          int flags) {
    std::string result;
    std::size_t from = 0;
    for (const std::size_t fold : folds) {
        result += token.substr(from, fold - from);
        from = std::min(token.find_first_of(" \t", fold), token.size());
        from += (flags & 0x600) == 0x600;
    }
    return result + std::string(token.substr(std::min(from, token.size())));
}

inline Tokens plainFolded(std::string_view text, int flags, std::size_t limit) {
    Tokens tokens;
    bool finished = true;
    for (;;) {
        const std::string_view view = text.substr(0, limit);
        std::vector<std::size_t> folds;
        std::size_t from = 0;
        std::size_t at = 0;
        std::size_t length = 0;
        bool ends = false;
        for (;;) {
            const auto found = nextLineEnd(view, from, flags);
            at = found.first;
            length = static_cast<std::size_t>(found.second);
            const std::size_t behind = at + length;
            if (length == 0 || behind == view.size()) {
                ends = length > 0 && at == 0 && finished && folds.empty();
                break;
            }
            ends = (at == 0 && finished) || (view[behind] != ' ' && view[behind] != '\t');
            if (ends) {
                break;
            }
            folds.push_back(at);
            from = behind;
        }
        std::size_t size = at + length;
        const bool complete = ends || (length > 0 && text.size() < limit);
        std::size_t cut = length;
        if (!complete && view.size() == limit) {
            cut = 0;
            if (length > 0 && length < limit) {
                size = limit - length;
            } else if (length > 0) {
                cut = length;
            } else if (limit > 1 && (((flags & 4) != 0 && view.back() == '\r') ||
                                     ((flags & 8) != 0 && view.back() == '\n'))) {
                size = limit - 1;
            }
        }
        std::string_view token = text.substr(0, size);
        if ((flags & 0x80) != 0) {
            token.remove_suffix(cut);
        }
        tokens.push_back(
            {(flags & 0x600) != 0 ? unfold(token, folds, flags) : std::string(token), complete});
        finished = complete;
        text.remove_prefix(size);
        if (text.empty() && !complete && tokens.back().text.empty()) {
            return tokens;
        }
    }
}

} // namespace support

#endif
