// The queue's file names: built in place in the one name buffer, and the removal of a mail's files
// by a signal handler, which shares nothing with that buffer but its prefix.

#include "common/error.h"
#include "common/log/log.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "queue/file_names.h"
#include "queue/mail_queue.h"
#include "queue/random_range.h"

#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

const char* MailQueue::getStateFileName(int id) {
    FileNames::putState(pathBuffer + prefixLength, prefixLength > 0, static_cast<unsigned>(id));
    return pathBuffer;
}

const char* MailQueue::getDataFileName(int id, unsigned version) {
    FileNames::putData(pathBuffer + prefixLength, prefixLength > 0, static_cast<unsigned>(id),
                       version);
    return pathBuffer;
}

const char* MailQueue::getAssociatedFileName(int id, char family) {
    FileNames::putAssociated(pathBuffer + prefixLength, prefixLength > 0, static_cast<unsigned>(id),
                             family);
    return pathBuffer;
}

const char* MailQueue::generateTemporaryFileName(int id) {
    for (int round = 0; round < 16; ++round) {
        FileNames::putTemporary(pathBuffer + prefixLength, prefixLength > 0,
                                static_cast<unsigned>(id),
                                static_cast<unsigned>(randomInRange(0xFFFF)));
        if (File(pathBuffer).getAttributes() == nullptr) {
            return pathBuffer;
        }
    }
    logWarning("Unable to get temporary data file name for mail %06X", static_cast<unsigned>(id));
    return nullptr;
}

int MailQueue::removeMailFiles(int id) {
    if (shepherd != nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    const int interruptedError = errno;
    // setDirectory has opened this very prefix, so no longer one can occur.
    char name[PATH_MAX + 64];
    if (prefixLength > PATH_MAX) {
        return 0;
    }
    std::memcpy(name, pathBuffer, static_cast<std::size_t>(prefixLength));
    char* const behind = name + prefixLength;
    FileNames::putState(behind, prefixLength > 0, static_cast<unsigned>(id));
    ::unlink(name);
    FileNames::putData(behind, prefixLength > 0, static_cast<unsigned>(id), 0);
    ::unlink(name);
    errno = interruptedError;
    return 0;
}
