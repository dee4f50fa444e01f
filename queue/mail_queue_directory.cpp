// MailQueue::setDirectory: attaching to a queue tree, and making what is missing of it. Any number
// of processes may make one tree at the same time: a directory that somebody else makes first is as
// good as one's own, and the token file appears with its line in it, from whoever comes first.

#include "common/error.h"
#include "common/stream/descriptor.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "message/line_tokenizer.h"
#include "queue/file_names.h"
#include "queue/mail_queue.h"
#include "queue/random_range.h"
#include "queue/tree_listing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr int tokenSignLength = sizeof MailQueue::mql_sgn - 1;

// How long a reader waits for a token file that stands there empty: its writer has created it and
// will write it in the next moment, unless it died between the two.
constexpr int tokenWaitRounds = 50;
constexpr long tokenWaitNanoseconds = 2'000'000;

// Lines end in CR LF or NUL, and come without their end.
constexpr int tokenLineFlags = 132;

int fail(unsigned code) {
    Thread::setLastError(code);
    return -1;
}

// 1 for a directory, 0 for something else, -1 where nothing is found.
int isDirectory(const char* path) {
    const File file(path);
    const File::Attributes* attributes = file.getAttributes();
    return attributes == nullptr ? -1 : S_ISDIR(attributes->mode) ? 1 : 0;
}

// Makes a directory, or finds that it is there.
int makeDirectory(const char* path) {
    if (::mkdir(path, 0777) == 0) {
        return 0;
    }
    const unsigned error = Thread::getLastError();
    const int kind = isDirectory(path);
    if (kind == 1) {
        return 0;
    }
    return fail(kind == 0 ? HE_NOTDIR : error);
}

int checkDirectory(const char* path, TreeListing::Kind known) {
    switch (known) {
    case TreeListing::Directory:
        return 0;
    case TreeListing::NoDirectory:
        return fail(HE_NOTDIR);
    case TreeListing::Unknown:
        break;
    }
    return makeDirectory(path);
}

// Writes the token of a queue into its new, empty file and goes back to the start.
int writeToken(File& file, const char* path) {
    unsigned char sum[4] = {};
    for (std::size_t i = 0; path[i] != '\0'; ++i) {
        sum[i % 4] = static_cast<unsigned char>(sum[i % 4] + static_cast<unsigned char>(path[i]));
    }
    const unsigned process = static_cast<unsigned>(::getpid()) & 0xFFFF;
    const unsigned now = static_cast<unsigned>(std::time(nullptr)) & 0xFFFF;
    const unsigned chance = static_cast<unsigned>(randomInRange(0xFFFF));
    if (file.writeLine("%s%02X%02X%02X%02X-%02X%02X%02X%02X-%04X-%04X-%04X", MailQueue::mql_sgn, 0U,
                       0U, 0U, 0U, static_cast<unsigned>(sum[0]), static_cast<unsigned>(sum[1]),
                       static_cast<unsigned>(sum[2]), static_cast<unsigned>(sum[3]), process, now,
                       chance) == -1) {
        return -1;
    }
    return file.lseek(0, Stream::SeekStart) == 0 ? 0 : -1;
}

// Makes the token file so that it appears with its line in it: a file without a name gets the name
// once it is written. A process that dies on the way leaves nothing. EEXIST where there is one.
int linkToken(const char* path, const char* name) {
    File file(path);
    if (file.open(O_RDWR | O_TMPFILE) == -1 || writeToken(file, path) == -1) {
        return -1;
    }
    char source[32];
    std::snprintf(source, sizeof source, "/proc/self/fd/%d", file.getDescriptor());
    return ::linkat(AT_FDCWD, source, AT_FDCWD, name, AT_SYMLINK_FOLLOW);
}

// Whether a file system, or a process without /proc, cannot do what linkToken asks.
bool isUnsupported(unsigned error) {
    return error == EOPNOTSUPP || error == EISDIR || error == EINVAL || error == HE_NOENT;
}

// Opens the token file, which is made if it is missing and `create` is set; `made` tells of one
// that stands empty until this process has written it.
int openToken(File& file, const char* path, bool create, bool& made) {
    made = false;
    for (int round = 0;; ++round) {
        if (file.open(O_RDONLY) == 0) {
            return 0;
        }
        if (!create || Thread::getLastError() != HE_NOENT) {
            return -1;
        }
        if (round == 0) {
            if (linkToken(path, file.getName()) == 0 || Thread::getLastError() == HE_EEXISTS) {
                continue;
            }
            if (!isUnsupported(Thread::getLastError())) {
                return -1;
            }
        }
        // The exclusive create makes one of several processes the writer. What is there and yet
        // not found is a dangling link, which only a create that is not exclusive follows.
        if (file.open(O_RDWR | O_CREAT | (round == 0 ? O_EXCL : 0)) == 0) {
            break;
        }
        if (round > 0 || Thread::getLastError() != HE_EEXISTS) {
            return -1;
        }
    }
    made = true;
    if (writeToken(file, path) == 0) {
        return 0;
    }
    // An empty token file would lock everybody out of the queue from now on.
    const unsigned error = Thread::getLastError();
    ::unlink(file.getName());
    return fail(error);
}

// The first line of the token file, as a new text owned by the caller; null with HE_INVALOP where
// it is no token.
char* readTokenLine(File& file, bool mayBeUnderway) {
    for (int round = 0;; ++round) {
        LineTokenizer tokenizer(&file, tokenLineFlags, true);
        int length = 0;
        const char* line = static_cast<const char*>(tokenizer.readToken(length));
        if (line != nullptr && length >= tokenSignLength &&
            std::memcmp(line, MailQueue::mql_sgn, tokenSignLength) == 0) {
            char* copy = new char[static_cast<std::size_t>(length) + 1];
            std::memcpy(copy, line, static_cast<std::size_t>(length));
            copy[length] = '\0';
            return copy;
        }
        const bool empty = line != nullptr && length == 0 && !tokenizer.lastTokenCompleted();
        if (!empty || !mayBeUnderway || round == tokenWaitRounds) {
            Thread::setLastError(HE_INVALOP);
            return nullptr;
        }
        const timespec pause = {0, tokenWaitNanoseconds};
        ::nanosleep(&pause, nullptr);
        file.lseek(0, Stream::SeekStart);
    }
}

// The number of the last entry directory: the largest power of two not above `entryCount`, and not
// above 256, less one.
int lastEntryFor(int entryCount) {
    if (entryCount < 2) {
        return entryCount < 1 ? -1 : 0;
    }
    int last = 255;
    while (last >= entryCount) {
        last >>= 1;
    }
    return last;
}

} // namespace

int MailQueue::setDirectory(const char* path, int entryCount) {
    prefixLength = 0;
    delete[] authToken;
    authToken = nullptr;
    if (path == nullptr) {
        return fail(HE_INVAL);
    }
    lastEntry = lastEntryFor(entryCount);
    TreeListing listing;
    if (openTree(path, entryCount, listing) == -1) {
        return -1;
    }
    const std::size_t pathLength = std::strlen(path);
    delete[] pathBuffer;
    pathBuffer = new char[pathLength + 1 + FileNames::room]();
    std::memcpy(pathBuffer, path, pathLength);
    prefixLength = static_cast<std::int32_t>(pathLength) + 1;
    pathBuffer[pathLength] = '/';

    if (makeDirectories(entryCount, listing) == -1) {
        dropDirectory();
        return -1;
    }
    const int result = readToken(path, entryCount);
    pathBuffer[prefixLength] = '\0';
    return result;
}

// The queue path itself. One open tells whether it is a directory, and lists what is in it.
int MailQueue::openTree(const char* path, int entryCount, TreeListing& listing) {
    int fd = openFd(path, O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        listing.read(fd, lastEntry);
        safeCloseFd(fd);
        return 0;
    }
    // A directory may be there for use though not for reading.
    const int kind = isDirectory(path);
    if (kind >= 0) {
        return kind == 1 ? 0 : fail(HE_NOTDIR);
    }
    return entryCount > 0 ? makeDirectory(path) : fail(HE_NOENT);
}

int MailQueue::makeDirectories(int entryCount, const TreeListing& listing) {
    char* const name = pathBuffer + prefixLength;
    for (int number = 0; number <= lastEntry; ++number) {
        *FileNames::putHex(name, static_cast<unsigned>(number), 2) = '\0';
        if (checkDirectory(pathBuffer, listing.entry(number)) == -1) {
            return -1;
        }
    }
    FileNames::putText(name, "locals");
    if (entryCount > 0) {
        return checkDirectory(pathBuffer, listing.locals());
    }
    return isDirectory(pathBuffer) == 0 ? fail(HE_NOTDIR) : 0;
}

int MailQueue::readToken(const char* path, int entryCount) {
    FileNames::putText(pathBuffer + prefixLength, mql_auth);
    File file(pathBuffer);
    bool made = false;
    if (openToken(file, path, entryCount > 0, made) == -1) {
        return -1;
    }
    authToken = readTokenLine(file, !made);
    return authToken != nullptr ? 0 : -1;
}

// After a failure the queue builds flat names again, which lead nowhere.
void MailQueue::dropDirectory() {
    delete[] pathBuffer;
    pathBuffer = new char[FileNames::room]();
    prefixLength = 0;
    lastEntry = -1;
}
