// Names and paths of mailbox folders in modified UTF-7.

#include "address/mbox_name.h"

#include "message/base64.h"

#include <cstring>
#include <memory>
#include <string_view>

namespace {

constexpr std::size_t UserSize = 256; // of splitMboxPath, terminator included

// isprint of the POSIX locale, whatever locale the process has set.
bool isPrintable(unsigned char byte) {
    return byte >= 0x20 && byte <= 0x7E;
}

// The walk over the bytes of one level. The encoded runs are turned into the standard alphabet in
// place, `name` being a private copy.
bool checkLevel(char* name, unsigned int length) {
    unsigned int runStart = 0;
    bool encoded = false;
    for (unsigned int i = 0; i < length; ++i) {
        if (isSpecial(name[i])) {
            return false;
        }
        if (!encoded) {
            if (name[i] != '&') {
                continue;
            }
            if (i + 1 == length) {
                return false;
            }
            ++i;
            encoded = name[i] != '-';
            runStart = i;
        } else if (name[i] == '-') {
            if (i + 1 < length && name[i + 1] == '&') {
                return false;
            }
            if (!checkBase64(name + runStart, i - runStart)) {
                return false;
            }
            encoded = false;
        } else if (name[i] == '=') {
            return false;
        } else if (name[i] == ',') {
            name[i] = '/';
        }
    }
    return !encoded;
}

} // namespace

bool isSpecial(char byte) {
    return byte == '"' || byte == '%' || byte == '*' || byte == '~' ||
           !isPrintable(static_cast<unsigned char>(byte));
}

bool isEncodedValid(unsigned char byte) {
    return byte == '&' || isPrintable(byte);
}

bool checkBase64(const char* text, unsigned int length) {
    if (length == 0 || length > MboxNameMaxLength) {
        return false;
    }
    unsigned char units[MboxNameMaxLength / 4 * 3 + 4];
    int size = static_cast<int>(sizeof units);
    if (base64decodeModified(reinterpret_cast<const unsigned char*>(text), static_cast<int>(length),
                             units, &size, 0) != 0 ||
        size % 2 != 0) {
        return false;
    }
    for (int i = 0; i < size; i += 2) {
        if (units[i] == 0 && isEncodedValid(units[i + 1])) {
            return false;
        }
    }
    return true;
}

bool checkMboxName(const char* name, unsigned int length) {
    if (length == 0 || length > MboxNameMaxLength || isSpecial(name[0])) {
        return false;
    }
    if (std::string_view(name, length).find_first_not_of(" \t") == std::string_view::npos) {
        return false;
    }
    char copy[MboxNameMaxLength];
    std::memcpy(copy, name, length);
    return checkLevel(copy, length);
}

bool checkPathName(const std::string& path) {
    if (path.empty()) {
        return false;
    }
    if (path == "/") {
        return true;
    }
    std::string_view rest = path;
    if (rest.back() == '/') {
        rest.remove_suffix(1);
    }
    if (rest.front() == '/') {
        rest.remove_prefix(1);
    }
    for (;;) {
        const std::size_t slash = rest.find('/');
        const std::string_view level = rest.substr(0, slash);
        if (level.size() > MboxNameMaxLength ||
            !checkMboxName(level.data(), static_cast<unsigned int>(level.size()))) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        rest.remove_prefix(slash + 1);
    }
}

bool splitMboxPath(const char* path, char* user, char* mailbox) {
    std::string_view mailboxPart = path;
    std::string_view userPart = mailboxPart.substr(0, 0);
    if (*path == '~') {
        const std::size_t slash = mailboxPart.find('/');
        userPart = mailboxPart.substr(0, slash);
        mailboxPart.remove_prefix(slash == std::string_view::npos ? mailboxPart.size() : slash + 1);
        if (userPart.size() >= UserSize) {
            return false;
        }
        userPart.remove_prefix(1);
    }
    if (mailboxPart.size() > MboxPathMaxLength) {
        return false;
    }
    std::memcpy(user, userPart.data(), userPart.size());
    user[userPart.size()] = '\0';
    std::memcpy(mailbox, mailboxPart.data(), mailboxPart.size());
    mailbox[mailboxPart.size()] = '\0';
    return true;
}

int getPathDepth(const char* path) {
    int depth = 0;
    for (const char* at = path; *at != '\0'; ++at) {
        if (*at == '/' && at != path && at[-1] != '/') {
            ++depth;
        }
    }
    return depth;
}
