#include "common/stream/directory.h"

#include "common/error.h"
#include "common/hexcept.h"
#include "common/thread/thread.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

bool isSelfOrParent(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

std::unique_ptr<char[]> joinLevel(const char* prefix, const char* name) {
    const std::size_t size = std::strlen(prefix) + std::strlen(name) + 2;
    std::unique_ptr<char[]> level(new char[size]);
    std::snprintf(level.get(), size, "%s%s/", prefix, name);
    return level;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryHolder = std::unique_ptr<DIR, DirectoryCloser>;

bool isDirectoryAt(int parent, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) {
        return entry.d_type == DT_DIR;
    }
    struct stat status;
    return fstatat(parent, entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

// The levels that a removal goes down: each costs a descriptor and a stack frame, and no path that
// a search can report has more.
constexpr int MaxDepth = 1024;

// Removes all that is in a directory, which it takes over, from so many levels and no more.
int removeContent(DirectoryHolder directory, int levels) {
    if (levels == 0) {
        Thread::setLastError(HE_NAMETOOLONG);
        return -1;
    }
    const int parent = dirfd(directory.get());
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(directory.get());
        if (entry == nullptr) {
            return errno == 0 ? 0 : -1;
        }
        if (isSelfOrParent(entry->d_name)) {
            continue;
        }
        int kind = 0;
        if (isDirectoryAt(parent, *entry)) {
            const int fd =
                openat(parent, entry->d_name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
            DIR* child = fd >= 0 ? fdopendir(fd) : nullptr;
            if (child == nullptr) {
                const int error = errno;
                if (fd >= 0) {
                    ::close(fd);
                }
                errno = error;
                return -1;
            }
            if (removeContent(DirectoryHolder(child), levels - 1) < 0) {
                return -1;
            }
            kind = AT_REMOVEDIR;
        }
        if (unlinkat(parent, entry->d_name, kind) < 0) {
            return -1;
        }
    }
}

} // namespace

Dir::Dir() : path(inlinePath), relativeNames(true) {
    std::unique_ptr<char[]> larger;
    std::size_t size = InlinePathSize;
    while (getcwd(path, size) == nullptr) {
        if (errno != ERANGE) {
            throw hexcept();
        }
        size += 32;
        larger.reset(new char[size]);
        path = larger.get();
    }
    larger.release();
    entry.name = entryPath;
    entryPath[0] = '\0';
}

Dir::Dir(const char* directoryPath) : path(inlinePath), relativeNames(false) {
    if (directoryPath == nullptr) {
        throw hexcept(HE_INVAL);
    }
    const std::size_t size = std::strlen(directoryPath) + 1;
    if (size > InlinePathSize) {
        path = new char[size];
    }
    std::memcpy(path, directoryPath, size);
    entry.name = entryPath;
    entryPath[0] = '\0';
}

Dir::~Dir() {
    endSearch();
    entry.name = nullptr; // it was never the entry's own
    if (path != inlinePath) {
        delete[] path;
    }
}

void Dir::closeEntry() {
    if (entry.isOpen()) {
        entry.close();
    }
}

void Dir::endSearch() {
    closeEntry();
    if (directory != nullptr) {
        closedir(directory);
        directory = nullptr;
    }
    current = nullptr;
    pending.clear();
}

// The path of an entry of the level that is a text relative to the searched directory, "" or
// ending in "/". -1 where it is too long.
int Dir::composeEntry(const char* level, const char* entryName) {
    const int size =
        relativeNames
            ? std::snprintf(entryPath, sizeof entryPath, "%s%s", level, entryName)
            : std::snprintf(entryPath, sizeof entryPath, "%s/%s%s", path, level, entryName);
    if (size < 0 || size >= EntryPathSize) {
        Thread::setLastError(HE_NAMETOOLONG);
        return -1;
    }
    return 0;
}

// Puts the subdirectories of the open directory on the stack. A symbolic link to a directory is
// reported as an entry but not gone down into: links can make a tree without end.
void Dir::pushSubdirectories(const char* level) {
    while (const dirent* found = readdir(directory)) {
        const char* name = found->d_name;
        if (isSelfOrParent(name) || (*name == '.' && (filter & IncludeHidden) == 0)) {
            continue;
        }
        if (isDirectoryAt(dirfd(directory), *found)) {
            pending.push_back(joinLevel(level, name));
        }
    }
}

const File* Dir::findFirst(const char* matchPattern, int flags) {
    endSearch();
    filter = static_cast<unsigned>(flags);
    pattern = matchPattern;
    directory = opendir(path);
    if (directory == nullptr) {
        return nullptr;
    }
    if ((filter & Recursive) != 0) {
        pushSubdirectories("");
        std::unique_ptr<char[]> self(new char[1]);
        self[0] = '\0';
        pending.push_back(std::move(self));
        rewinddir(directory);
    }
    return findNext();
}

const File* Dir::findNext() {
    closeEntry();
    while (directory != nullptr) {
        while ((current = readdir(directory)) != nullptr) {
            if ((filter & Recursive) != 0 && isSelfOrParent(current->d_name)) {
                continue;
            }
            if (checkAttr() == 0) {
                return &entry;
            }
        }
        closedir(directory);
        directory = nullptr;
        if ((filter & Recursive) != 0) {
            pending.pop_back();
            openNextLevel();
        }
    }
    return nullptr;
}

// Opens the directory on top of the stack, passing over those that cannot be opened, and puts its
// subdirectories under it.
void Dir::openNextLevel() {
    while (!pending.empty()) {
        std::unique_ptr<char[]> level = std::move(pending.back());
        pending.pop_back();
        if (composeEntry(level.get(), "") < 0) {
            continue;
        }
        directory = opendir(entryPath);
        if (directory == nullptr) {
            continue;
        }
        pushSubdirectories(level.get());
        pending.push_back(std::move(level));
        rewinddir(directory);
        return;
    }
}

int Dir::checkAttr() {
    if (pattern != nullptr && fnmatch(pattern, current->d_name, 0) != 0) {
        return -1;
    }
    const bool recursive = (filter & Recursive) != 0;
    if (composeEntry(recursive ? pending.back().get() : "", current->d_name) < 0) {
        return -1;
    }
    const File::Attributes* known = entry.getAttributes();
    if (known == nullptr) {
        return -1;
    }
    if ((filter & (S_ISDIR(known->mode) ? ExcludeDirectories : ExcludeFiles)) != 0) {
        return -1;
    }
    if ((filter & ExcludeReadOnly) != 0 && (known->mode & 0600) == 0400) {
        return -1;
    }
    return (filter & IncludeHidden) != 0 || (known->mode & File::HiddenMark) == 0 ? 0 : -1;
}

int Dir::remove(int recursive) {
    if (recursive == 0) {
        return rmdir(path);
    }
    const File self(path);
    const File::Attributes* known = self.getAttributes();
    if (known == nullptr || !S_ISDIR(known->mode)) {
        Thread::setLastError(known == nullptr ? HE_NOENT : HE_NOTDIR);
        return -1;
    }
    DirectoryHolder content(opendir(path));
    if (content == nullptr || removeContent(std::move(content), MaxDepth) < 0) {
        return -1;
    }
    return rmdir(path);
}

int Dir::createRecursive() {
    Thread::setLastError(HE_EEXISTS);
    int result = -1;
    for (char* at = path;;) {
        at += std::strspn(at, "/");
        if (*at == '\0') {
            return result;
        }
        at += std::strcspn(at, "/");
        if (*at == '\0') {
            return mkdir(path, 0777);
        }
        *at = '\0';
        result = mkdir(path, 0777);
        *at = '/';
        if (result < 0 && errno != EEXIST) {
            return -1;
        }
    }
}
