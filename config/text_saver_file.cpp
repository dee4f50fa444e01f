// A tree in the place of a file, and the rotation of the file's copies.

#include "common/error.h"
#include "common/stream/descriptor.h"
#include "common/stream/directory.h"
#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/text_saver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>

namespace HConfig {

namespace {

// The longest line that a loader takes in a server's file, its line end included.
constexpr unsigned LONGEST_SERVER_LINE = 2048;

// What stood under a path before a save. It goes back there at the end of the scope, and whatever
// was made meanwhile goes away, unless the save was done. The last error stays.
class OldContent {
public:
    OldContent(const char* filePath, const std::string& copy) : path(filePath), copyPath(copy) {}
    ~OldContent() {
        const int code = errno;
        if (place == Renamed) {
            ::rename(copyPath.c_str(), path);
        } else if (place == InMemory) {
            if (putBack() == 0 && isCopied) {
                ::unlink(copyPath.c_str());
            }
        } else if (place == Nowhere) {
            ::unlink(path);
        }
        errno = code;
    }
    OldContent(const OldContent&) = delete;
    OldContent& operator=(const OldContent&) = delete;

    // Keeps the present content: by renaming the file, or in memory where that cannot be done, with
    // a copy on disk where one can be made. 0, or -1 with the error that kept it from both.
    int keep() {
        struct stat status;
        if (lstat(path, &status) != 0) {
            place = errno == ENOENT ? Nowhere : Untouched;
            return place == Nowhere ? 0 : -1;
        }
        if (S_ISDIR(status.st_mode)) {
            errno = EISDIR;
            return -1;
        }
        if (moveAside(status) == 0) {
            place = Renamed;
            isCopied = true;
            return 0;
        }
        const int code = errno;
        if (stat(path, &status) == 0 && S_ISREG(status.st_mode) && readWhole() == 0) {
            isCopied = makeCopy(status.st_mode & 0777) == 0;
            place = InMemory;
            return 0;
        }
        errno = code;
        return -1;
    }

    bool isInMemory() const { return place == InMemory; }

    // The save is done, and nothing goes back. True where the old content stands in the copy.
    bool letGo() {
        place = Untouched;
        return isCopied;
    }

private:
    // A rename between two names of one file would do nothing, and leave it to be truncated.
    int moveAside(const struct stat& status) const {
        struct stat copy;
        const bool isSame = lstat(copyPath.c_str(), &copy) == 0 && copy.st_dev == status.st_dev &&
                            copy.st_ino == status.st_ino;
        return isSame ? ::unlink(path) : ::rename(path, copyPath.c_str());
    }

    int readWhole() {
        File file(path);
        if (file.open(O_RDONLY) != 0) {
            return -1;
        }
        char block[16384];
        int count = 0;
        while ((count = file.read(block, sizeof block)) > 0) {
            content.append(block, static_cast<std::size_t>(count));
        }
        return count;
    }

    // Takes the place of what has the copy's name, as a rename does.
    int makeCopy(mode_t mode) const {
        ::unlink(copyPath.c_str());
        File copy(nullptr, openFd(copyPath.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode));
        if (!copy.isOpen()) {
            return -1;
        }
        if (writeWhole(copy) != 0) {
            ::unlink(copyPath.c_str());
            return -1;
        }
        return 0;
    }

    // The blocks of the old size are still the file's, so that this needs no space.
    int putBack() const {
        File file(nullptr, openFd(path, O_WRONLY));
        return file.isOpen() ? writeWhole(file) : -1;
    }

    // Needs no memory. 0, or -1.
    int writeWhole(File& file) const {
        for (std::size_t at = 0; at < content.size();) {
            const std::size_t left = content.size() - at;
            const int size = static_cast<int>(left < INT_MAX ? left : INT_MAX);
            if (file.writeAll(content.data() + at, size) != size) {
                return -1;
            }
            at += static_cast<std::size_t>(size);
        }
        return file.truncate(static_cast<long long>(content.size())) == 0 ? file.forcedFlush() : -1;
    }

    const char* path;
    const std::string& copyPath;
    enum { Untouched, Nowhere, Renamed, InMemory } place = Untouched; // Nowhere: there was no file
    bool isCopied = false; // the old content stands under the copy's name
    std::string content;
};

// Closes a file at the end of the scope. The last error stays.
class ClosedAtEnd {
public:
    explicit ClosedAtEnd(File& opened) : file(opened) {}
    ~ClosedAtEnd() {
        const int code = errno;
        file.close();
        errno = code;
    }
    ClosedAtEnd(const ClosedAtEnd&) = delete;
    ClosedAtEnd& operator=(const ClosedAtEnd&) = delete;

private:
    File& file;
};

const char* lastComponent(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

// `text` with `mark` in front of each of the `special` bytes.
std::string marked(const std::string& text, const char* special, char mark) {
    std::string result;
    for (const char c : text) {
        if (std::strchr(special, c) != nullptr) {
            result += mark;
        }
        result += c;
    }
    return result;
}

std::string forPattern(const std::string& text) {
    return marked(text, "*?[\\", '\\');
}

std::string forTimeFormat(const std::string& text) {
    return marked(text, "%", '%');
}

bool isServer(const Object& object) {
    return &object.getObjectClass()->getDesc() == &CONFIG_DESC.classes[Server::ROW];
}

} // namespace

TextSaver::TextSaver(const char* path, Object* object, unsigned count)
    : File(path), stream(nullptr), root(object), backupCount(count) {
    std::memset(indent, ' ', sizeof indent);
    setIndent(0);
    if (backupCount != 0 && path != nullptr) {
        loadBackupCopies();
    }
}

TextSaver::~TextSaver() {
    for (const File* copy : backups) {
        Stream::release(copy);
    }
}

int TextSaver::saveFile() {
    const std::string copy = copyPath();
    OldContent old(getName(), copy);
    if (copy.empty() || old.keep() != 0 || fillFile(old.isInMemory()) != 0) {
        return -1;
    }
    if (backupCount == 0) {
        if (old.letGo()) {
            ::unlink(copy.c_str());
        }
        return 0;
    }
    auto kept = std::make_unique<File>(copy.c_str()); // while the old content can still go back
    backups.push_back(kept.get());
    static_cast<void>(kept.release());
    if (backups.size() > backupCount) {
        retireOldest();
    }
    old.letGo();
    return 0;
}

// Makes the new content and sees it to the disk. With `overwrites` the old content stands in the
// file still, and is not cut off before the new one has got its space.
int TextSaver::fillFile(bool overwrites) {
    if (open(O_WRONLY | O_CREAT | (overwrites ? 0 : O_TRUNC)) != 0) {
        return -1;
    }
    const ClosedAtEnd closing(*this);
    Thread::setLastError(0U);
    longestLine = isServer(*root) ? LONGEST_SERVER_LINE : 0;
    const int result = save(this, getName());
    longestLine = 0;
    if (result != 0 || (overwrites && truncate(lseek(0, SeekCurrent)) != 0)) {
        return -1;
    }
    return forcedFlush();
}

// ---- Copies -------------------------------------------------------------------------------------

void TextSaver::loadBackupCopies() {
    const std::string path = getName();
    const std::size_t slash = path.rfind('/');
    const std::string directory =
        slash == std::string::npos ? "." : path.substr(0, slash).substr(0, Dir::MaxPath);
    const std::string base =
        path.substr(slash == std::string::npos ? 0 : slash + 1).substr(0, Dir::MaxPath);
    const std::size_t dot = base.rfind('.');
    const std::string stem = base.substr(0, dot);
    const std::string extension = dot == std::string::npos ? "" : base.substr(dot);

    backupFormat = forTimeFormat(directory) + "/" + forTimeFormat(stem) + "-%m-%d-%H:%M:%S" +
                   forTimeFormat(extension);
    const std::string time = "-?"
                             "?-?"
                             "?-?"
                             "?:?"
                             "?:?"
                             "?"; // two ? in a row may be a trigraph
    const std::string pattern = forPattern(stem) + time + forPattern(extension);
    Dir entries(slash == 0 ? "/" : directory.c_str());
    for (const File* copy =
             entries.findFirst(pattern.c_str(), Dir::IncludeHidden | Dir::ExcludeDirectories);
         copy != nullptr; copy = entries.findNext()) {
        backups.push_back(new File(copy->getName()));
    }
    while (backups.size() > backupCount) {
        retireOldest();
    }
}

// Where the old content goes; empty, with the last error set, where that is too long for a path.
std::string TextSaver::copyPath() const {
    if (backupCount == 0) {
        return std::string(getName()) + ".1";
    }
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    if (localtime_r(&now, &parts) == nullptr) {
        parts = {};
    }
    char path[PATH_MAX];
    const std::size_t length = std::strftime(path, sizeof path, backupFormat.c_str(), &parts);
    if (length == 0) {
        Thread::setLastError(HE_NAMETOOLONG);
    }
    return std::string(path, length);
}

// Moves the oldest copy out of the way. It stays where it is if that fails.
void TextSaver::retireOldest() {
    const std::unique_ptr<File> copy(backups.front());
    backups.pop_front();
    if (const char* runDirectory = Thread::getRunDirectory(); runDirectory != nullptr) {
        std::string target = runDirectory;
        if (!target.empty() && target.back() != '/') {
            target += '/';
        }
        target += "old_configs";
        ::mkdir(target.c_str(), 0777);
        target += '/';
        target += lastComponent(copy->getName());
        copy->rename(target.c_str());
    }
}

} // namespace HConfig
