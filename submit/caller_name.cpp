#include "submit/caller_name.h"

#include "common/stream/descriptor.h"

#include <fcntl.h>
#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

namespace {

constexpr std::string_view blanks = " \t\r\v\f";
constexpr std::string_view nameEnds = ": \t\r\v\f";

// The C library skips blanks and comments in front of names, and ends a name at a NUL.
constexpr std::string_view unusualInNames("# \t\r\v\f\0", 7);

// An action in brackets behind "files" can have others asked although there was an answer.
bool beginsWithFiles(std::string_view sources) {
    constexpr std::string_view files = "files";
    if (!sources.starts_with(files)) {
        return false;
    }
    sources.remove_prefix(files.size());
    const std::size_t next = sources.find_first_not_of(blanks);
    return next == std::string_view::npos || (next > 0 && sources[next] != '[');
}

// A system without a configuration has only the file.
bool passwdFileIsFirst() {
    int fd = openFd("/etc/nsswitch.conf", O_RDONLY);
    if (fd == -1) {
        return errno == ENOENT;
    }
    char text[4096];
    const int size = readFd(fd, text, sizeof text);
    safeCloseFd(fd);
    return size > 0 && size < static_cast<int>(sizeof text) &&
           asksPasswdFileFirst({text, static_cast<std::size_t>(size)});
}

bool readNumber(std::string_view text, unsigned& number) {
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

// The name and the uid of a line of passwd(5); false unless it is beyond doubt that it has them.
bool readPasswdLine(std::string_view line, std::string_view& name, uid_t& uid) {
    constexpr std::string_view otherSources = "+-";
    std::string_view fields[4];
    for (std::string_view& field : fields) {
        const std::size_t end = line.find(':');
        if (end == std::string_view::npos) {
            return false;
        }
        field = line.substr(0, end);
        line.remove_prefix(end + 1);
    }
    name = fields[0];
    unsigned gid = 0;
    return !name.empty() && otherSources.find(name[0]) == std::string_view::npos &&
           name.find_first_of(unusualInNames) == std::string_view::npos &&
           readNumber(fields[2], uid) && readNumber(fields[3], gid) &&
           std::count(line.begin(), line.end(), ':') == 2;
}

} // namespace

std::string callerName(uid_t uid) {
    std::string name = passwdFileIsFirst() ? nameInPasswdFile("/etc/passwd", uid) : std::string();
    if (name.empty()) {
        const passwd* const entry = ::getpwuid(uid);
        name = entry != nullptr ? entry->pw_name : std::to_string(uid);
    }
    return name;
}

std::string nameInPasswdFile(const char* path, uid_t wanted) {
    int fd = openFd(path, O_RDONLY);
    char block[4096];
    // What is there of the next line: nothing yet, at the start of the block.
    std::string_view unread(block, 0); // NOLINT(bugprone-string-constructor)
    std::string_view name;
    bool found = false;
    for (bool usual = fd != -1; usual && !found;) {
        const std::size_t end = unread.find('\n');
        if (end == std::string_view::npos) {
            std::memmove(block, unread.data(), unread.size());
            const int size =
                readFd(fd, block + unread.size(), static_cast<int>(sizeof block - unread.size()));
            usual = size > 0;
            unread = {block, unread.size() + static_cast<std::size_t>(std::max(size, 0))};
            continue;
        }
        uid_t uid = 0;
        usual = readPasswdLine(unread.substr(0, end), name, uid);
        found = usual && uid == wanted;
        unread.remove_prefix(end + 1);
    }
    if (fd != -1) {
        safeCloseFd(fd);
    }
    return found ? std::string(name) : std::string();
}

bool asksPasswdFileFirst(std::string_view configuration) {
    bool first = false;
    while (!configuration.empty()) {
        const std::string_view whole = configuration.substr(0, configuration.find('\n'));
        configuration.remove_prefix(std::min(whole.size() + 1, configuration.size()));
        const std::string_view line = whole.substr(0, whole.find('#'));
        const std::size_t begin = std::min(line.find_first_not_of(blanks), line.size());
        const std::size_t end = std::min(line.find_first_of(nameEnds, begin), line.size());
        if (line.substr(begin, end - begin) != "passwd" || end == line.size()) {
            continue;
        }
        const std::size_t sources = std::min(line.find_first_not_of(nameEnds, end), line.size());
        if (first || !beginsWithFiles(line.substr(sources))) {
            return false; // of two lines the last one counts, which is not worth a rule here
        }
        first = true;
    }
    return first;
}
