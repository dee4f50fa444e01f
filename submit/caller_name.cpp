#include "submit/caller_name.h"

#include "common/stream/descriptor.h"

#include <fcntl.h>
#include <pwd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

namespace {

constexpr std::string_view blanks = " \t\r\v\f";
constexpr std::string_view nameEnds = ": \t\r\v\f";

// An action in brackets behind "files" can have others asked although there was an answer.
bool beginsWithFiles(std::string_view sources) {
    constexpr std::string_view files = "files";
    if (!sources.starts_with(files)) {
        return false;
    }
    sources.remove_prefix(files.size());
    const std::size_t next = sources.find_first_not_of(blanks);
    return next == sources.npos || (next > 0 && sources[next] != '[');
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

// Empty where the file has no entry for the uid, or cannot be read up to it.
std::string nameInPasswdFile(uid_t uid) {
    char block[4096]; // the stream's own, until it is closed
    char line[1024];
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen("/etc/passwd", "re"), std::fclose);
    passwd entry;
    passwd* found = nullptr;
    if (file == nullptr || std::setvbuf(file.get(), block, _IOFBF, sizeof block) != 0) {
        return {};
    }
    while (::fgetpwent_r(file.get(), &entry, line, sizeof line, &found) == 0) {
        // Names with these signs stand for entries from elsewhere.
        if (entry.pw_uid == uid && entry.pw_name[0] != '+' && entry.pw_name[0] != '-') {
            return entry.pw_name;
        }
    }
    return {};
}

} // namespace

std::string callerName(uid_t uid) {
    std::string name = passwdFileIsFirst() ? nameInPasswdFile(uid) : std::string();
    if (name.empty()) {
        const passwd* const entry = ::getpwuid(uid);
        name = entry != nullptr ? entry->pw_name : std::to_string(uid);
    }
    return name;
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
