#include "submit/handover.h"

#include "common/aptr.h"
#include "common/error.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"
#include "message/mail_msg.h"
#include "queue/incoming_stream.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "submit/interrupt.h"
#include "submit/report.h"
#include "submit/standard_input.h"
#include "submit/state.h"

#include <sysexits.h>
#include <syslog.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace {

constexpr int pathSize = 10240;
constexpr int firstRecipientString = 3;
constexpr std::size_t recipientsReserve = 4096;

int reportUnwritten(const char* path, unsigned error) {
    report("Transaction aborted: cannot write email message in queue '%s' (%s)", path,
           Thread::getErrorMessage(error));
    return EX_IOERR;
}

std::string recipientsForLog() {
    std::string list;
    list.reserve(recipientsReserve);
    for (std::int32_t i = 0; i < rcpts; ++i) {
        list += ' ';
        list += mi->getString(firstRecipientString + i);
    }
    return list;
}

// The stored size as the log line gives it: cut to 32 bits, -1 where it cannot be had.
int storedSize(const char* path) {
    File file(path);
    const File::Attributes* attributes = file.getAttributes();
    return attributes != nullptr ? static_cast<int>(attributes->size) : -1;
}

// Takes the mail off the disk. Ends with SIGINT ignored: the reason is reported already, and the id
// that the handler would remove is free for another process to claim.
void discardMail() {
    ignoreInterrupt();
    mq->removeMail(mi);
    mailId = noMailId;
}

// Requires: SIGINT is ignored.
int handOver(const char* path, IncomingStream* stream) {
    const std::string returnPath = mi->getString(0);
    rcpts = mi->getRCPTCount();
    const std::string recipients = recipientsForLog();
    if (mq->endData(mi, MailQueue::SourceLocal, stream) == -1) {
        const int result = reportUnwritten(path, Thread::getLastError());
        discardMail();
        return result;
    }
    if (const unsigned error = mq->getMarkerError(); error != 0) {
        // The server will never look at it, so it was not accepted.
        const int result = reportUnwritten(path, error);
        mq->removeMailFiles(static_cast<int>(mailId));
        return result;
    }
    ::syslog(LOG_INFO, "Email enqueued: id %06X size %d uid %d user %s from %s rcpts(%d)%s", mailId,
             storedSize(path), static_cast<int>(userId), userName, returnPath.c_str(), rcpts,
             recipients.c_str());
    return EX_OK;
}

} // namespace

int reportUnreadable(int error) {
    report("Transaction aborted: cannot read the email message (%s)",
           Thread::getErrorMessage(static_cast<unsigned>(error)));
    return EX_IOERR;
}

int storeAndHandOver(MailMsg& message, const StandardInput& input) {
    IncomingStream* stream = mi->endRCPT(mq);
    char path[pathSize];
    int size = pathSize;
    const unsigned openError = Thread::getLastError();
    if (mi->getDataFileName(mq, 0, path, size) == -1) {
        std::strcpy(path, "unknown");
    }
    if (stream == nullptr) {
        report("Transaction aborted: cannot write to email file in queue '%s' (%s)", path,
               Thread::getErrorMessage(openError));
        discardMail();
        return EX_IOERR;
    }
    aptr<Stream> guard(stream);
    if (message.writeAll(*stream, true) == -1) {
        const int result = reportUnwritten(path, Thread::getLastError());
        discardMail();
        return result;
    }
    if (stream->isOverflowed()) {
        const int result = reportUnwritten(path, HE_FBIG);
        discardMail();
        return result;
    }
    if (input.readError() != 0) {
        const int result = reportUnreadable(input.readError());
        discardMail();
        return result;
    }
    ignoreInterrupt();
    const int result = handOver(path, stream);
    mi = nullptr;
    mailId = noMailId;
    if (result == EX_OK) {
        armInterrupt();
    }
    return result;
}
