#include "common/stream/file.h"

#include "common/error.h"
#include "common/stream/descriptor.h"
#include "common/thread/thread.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

bool File::syncEnabled = false;

namespace {

// Writes that found no space, over all files: only every hundredth is worth a line in the log.
std::atomic<int> noNoSpaceOnDisk{0};

const char* lastComponent(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

} // namespace

CastableId* File::getCastableClassId() {
    static CastableId classId;
    return &classId;
}

void* File::doCastInternal(CastableId* id) const {
    return id == getCastableClassId() ? const_cast<File*>(this) : Stream::doCastInternal(id);
}

CastableId* File::getOwnCastableId() const {
    return getCastableClassId();
}

File::File(const char* fileName, bool protectFromCrash) : crashProtected(protectFromCrash) {
    if (fileName != nullptr) {
        storeName(fileName);
    }
}

File::File(const char* fileName, int fd, bool protectFromCrash) : File(fileName, protectFromCrash) {
    descriptor = fd;
}

File::~File() {
    if (descriptor != -1) {
        close();
    }
    clearName();
}

// The new name may be part of the old one, so that goes last.
void File::storeName(const char* fileName) {
    const std::size_t size = std::strlen(fileName) + 1;
    char* old = name;
    char* fresh = size < InlineNameSize ? inlineName : new char[size];
    std::memmove(fresh, fileName, size);
    name = fresh;
    if (old != inlineName) {
        delete[] old;
    }
}

void File::clearName() {
    if (name != inlineName) {
        delete[] name;
    }
    name = nullptr;
}

int File::open(int flags) {
    if (isOpen() || name == nullptr) {
        return notAllowed();
    }
    inputState = outputState = StateGood;
    descriptor = openFd(name, flags);
    return descriptor < 0 ? -1 : 0;
}

int File::close() {
    checkSafeCrash();
    return safeCloseFd(descriptor);
}

int File::read(void* buffer, int size) {
    checkSafeCrash();
    if (size <= 0) {
        return 0;
    }
    const int moved = readFd(descriptor, buffer, size);
    if (moved <= 0) {
        inputState = moved == 0 ? StateEnd : StateError;
    }
    return moved;
}

int File::write(const void* buffer, int size) {
    checkSafeCrash();
    if (size <= 0) {
        return 0;
    }
    const int moved = writeFd(descriptor, buffer, size);
    if (moved > 0) {
        return moved;
    }
    outputState = moved == 0 ? StateEnd : StateError;
    if (moved < 0 && errno == ENOSPC &&
        noNoSpaceOnDisk.fetch_add(1, std::memory_order_relaxed) % 100 == 0) {
        Thread::log(3, "File write error (%s)", Thread::getErrorMessage(ENOSPC));
        errno = ENOSPC;
    }
    return moved;
}

int File::sync() const {
    if (descriptor < 0) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    return fsync(descriptor);
}

int File::flush() {
    checkSafeCrash();
    if (descriptor >= 0 && !syncEnabled) {
        return 0;
    }
    return sync();
}

int File::forcedFlush() {
    return sync();
}

void File::startWriteBack() const {
    const int error = errno;
    sync_file_range(descriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
    errno = error;
}

long long File::lseek(long long offset, Seek origin) {
    checkSafeCrash();
    inputState = outputState = StateGood;
    return ::lseek(descriptor, offset, origin);
}

long long File::getSize() const {
    const Attributes* known = getAttributes();
    return known != nullptr ? known->size : -1;
}

int File::truncate(long long size) {
    checkSafeCrash();
    if (ftruncate(descriptor, size) < 0) {
        return -1;
    }
    inputState = outputState = StateGood;
    return ::lseek(descriptor, size, SEEK_SET) == size ? 0 : -1;
}

const char* File::getStreamName(char*, unsigned) const {
    return name != nullptr ? name : "";
}

const File::Attributes* File::getAttributes() const {
    checkSafeCrash();
    if (descriptor < 0 && name == nullptr) {
        Thread::setLastError(HE_INVAL);
        return nullptr;
    }
    struct stat status;
    if ((descriptor >= 0 ? fstat(descriptor, &status) : stat(name, &status)) < 0) {
        return nullptr;
    }
    attributes.mode = status.st_mode;
    if (name != nullptr && *lastComponent(name) == '.') {
        attributes.mode |= HiddenMark;
    }
    attributes.size = status.st_size;
    attributes.accessTime = status.st_atime;
    attributes.modifyTime = status.st_mtime;
    attributes.changeTime = status.st_ctime;
    return &attributes;
}

int File::rename(const char* newName) {
    if (newName == nullptr) {
        if (descriptor != -1) {
            close();
        }
        clearName();
        return 0;
    }
    if (name != nullptr && ::rename(name, newName) < 0) {
        return -1;
    }
    storeName(newName);
    return 0;
}

bool File::containsRelativePath(const char* path) {
    if (path == nullptr) {
        return false;
    }
    if (*path != '/') {
        return true;
    }
    for (const char* at = path; (at = std::strstr(at, "..")) != nullptr; ++at) {
        if (at[2] == '/' || at[2] == '\0') {
            return true;
        }
    }
    return false;
}

void File::checkSafeCrash() const {
    if (!crashProtected || !Thread::abortRequest) {
        return;
    }
    sync();
    for (;;) {
        Thread::sleep(1000);
    }
}
