// Associated streams: further files of a mail, in a directory of its own for each family.

#include "common/aptr.h"
#include "common/error.h"
#include "common/stream/directory.h"
#include "common/stream/file.h"
#include "common/thread/critical_section.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

using Locker = CriticalSection::Locker;

constexpr std::size_t maxPath = 65536;
constexpr std::size_t streamNameBytes = 10; // "/%06X.%02X"
constexpr std::size_t typeOffset = 8;
constexpr char hexDigits[] = "0123456789ABCDEFabcdef";

std::string directoryOf(MailQueue& queue, int id, char family) {
    Locker locked(queue.getLock());
    return queue.getAssociatedFileName(id, family);
}

bool exists(const std::string& path) {
    return File(path.c_str()).getAttributes() != nullptr;
}

std::string streamPath(const std::string& directory, unsigned key, int type) {
    char name[2 * streamNameBytes];
    std::snprintf(name, sizeof name, "/%06X.%02X", key, static_cast<unsigned>(type));
    return directory + name;
}

File* openFile(const std::string& path, int flags) {
    File* const file = new File(path.c_str());
    aptr<Stream> guard(file);
    if (file->open(flags) == -1) {
        const unsigned error = Thread::getLastError();
        guard.cleanUp();
        Thread::setLastError(error);
        return nullptr;
    }
    static_cast<void>(guard.giveAway());
    return file;
}

// Fills a new file from the shared one. False with the error set.
bool copyShared(const std::string& shared, File& target) {
    const aptr<Stream> source(openFile(shared, O_RDONLY));
    long long count = 0;
    return source.get() != nullptr && source->copy(target, count) == 0 &&
           target.lseek(0, Stream::SeekStart) == 0;
}

// A new file, as a copy of the shared one where there is one.
File* createFile(const std::string& path, const std::string& shared) {
    File* const file = openFile(path, O_RDWR | O_CREAT);
    if (file == nullptr || path == shared || !exists(shared) || copyShared(shared, *file)) {
        return file;
    }
    const unsigned error = Thread::getLastError();
    ::unlink(path.c_str());
    Stream::release(file);
    Thread::setLastError(error);
    return nullptr;
}

// Splits the path of an entry into key and type; false for a name of another form.
bool parseStreamName(const char* path, unsigned long& key, int& type) {
    const std::size_t length = std::strlen(path);
    if (length < streamNameBytes) {
        return false;
    }
    const char* const name = path + length - streamNameBytes;
    if (name[0] != '/' || std::strspn(name + 1, hexDigits) != 6 || name[7] != '.' ||
        std::strspn(name + typeOffset, hexDigits) != 2) {
        return false;
    }
    key = std::strtoul(name + 1, nullptr, 16);
    type = static_cast<int>(std::strtoul(name + typeOffset, nullptr, 16));
    return true;
}

} // namespace

Stream* MailItem::getAssociatedStream(MailQueue* queue, char family, unsigned key, int type,
                                      bool readOnly, bool useShared) {
    if (family == '\0' || family == '/' || key > sharedKey || type < 0 || type > 0xFF) {
        Thread::setLastError(HE_INVAL);
        return nullptr;
    }
    const std::string directory = directoryOf(*queue, id, family);
    if (directory.size() + streamNameBytes >= maxPath) {
        Thread::setLastError(HE_FBIG);
        return nullptr;
    }
    if (!exists(directory)) {
        if (readOnly) {
            Thread::setLastError(HE_NOENT);
            return nullptr;
        }
        if (::mkdir(directory.c_str(), 0777) == -1 && Thread::getLastError() != HE_EEXISTS) {
            return nullptr;
        }
    }
    const std::string own = streamPath(directory, key, type);
    const std::string shared = streamPath(directory, sharedKey, type);
    const int flags = readOnly ? O_RDONLY : O_RDWR;
    if (exists(own)) {
        return openFile(own, flags);
    }
    if (!readOnly) {
        return createFile(own, shared);
    }
    if (useShared && exists(shared)) {
        return openFile(shared, flags);
    }
    Thread::setLastError(HE_NOENT);
    return nullptr;
}

void MailItem::getAssociatedStreamList(MailQueue* queue, char family, int key,
                                       SimpleVector<int>& types, bool withShared) {
    Dir dir(directoryOf(*queue, id, family).c_str());
    for (const File* entry = dir.findFirst(nullptr, Dir::ExcludeDirectories); entry != nullptr;
         entry = dir.findNext()) {
        unsigned long found = 0;
        int type = 0;
        if (!parseStreamName(entry->getName(), found, type) || type >= 0x80) {
            continue;
        }
        bool known =
            found != static_cast<unsigned long>(key) && !(withShared && found == sharedKey);
        for (int i = 0; i < types.size && !known; ++i) {
            known = types[i] == type;
        }
        if (!known) {
            types.append(type);
        }
    }
}
