#include "submit/process.h"

#include "queue/mail_queue.h"
#include "submit/handler_log.h"
#include "submit/interrupt.h"
#include "submit/report.h"
#include "submit/state.h"

#include <fcntl.h>
#include <poll.h>
#include <sysexits.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <string_view>

namespace {

// With a standard descriptor closed, the next file to be opened would get its number, and a
// complaint would be written into a mail. A closed input must not read as an empty message, so
// its place is taken by something that cannot be read.
void occupyStandardDescriptors() {
    pollfd standard[] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
    const int answered = ::poll(standard, 3, 0);
    if (answered == 0) {
        return;
    }
    for (const pollfd& entry : standard) {
        // Under a limit of less than three descriptors poll refuses to answer.
        const bool closed =
            answered > 0 ? (entry.revents & POLLNVAL) != 0 : ::fcntl(entry.fd, F_GETFD) == -1;
        if (closed) {
            // The lowest free number is the one that is missing. The root is there where no
            // device files are, and opened like this it can be neither read nor written.
            static_cast<void>(::open("/", O_PATH));
        }
    }
}

// Leaves no file of a mail in progress. A mail whose marker stands is the server's: then the run
// has done its work, whatever goes wrong behind that. In the instant in which the marker is made
// nobody can tell whether a marker that is missing has not been made yet or has been taken up
// already: the files stay, and the run counts as failed.
void giveUpMail() {
    if (mq == nullptr) {
        return;
    }
    if (mq->isHandedOver()) {
        ::_exit(EX_OK);
    }
    if (mailId != noMailId && !mq->isHandOverUnderway()) {
        mq->removeMailFiles(static_cast<int>(mailId));
    }
}

// An exception that nobody caught, of which the only one in a working system is a lack of memory.
[[noreturn]] void abandon() {
    ignoreInterrupt();
    giveUpMail();
    const char* reason = "unknown failure";
    const std::exception_ptr pending = std::current_exception();
    try {
        if (pending) {
            std::rethrow_exception(pending);
        }
    } catch (const std::exception& failure) {
        reason = failure.what();
    } catch (...) {
    }
    report("Transaction aborted: %s", reason);
    ::_exit(EX_TEMPFAIL);
}

// An internal check, such as a close that the system refuses.
[[noreturn]] void aborted(int) {
    constexpr std::string_view text = "Transaction aborted: an internal check failed";
    ignoreInterrupt();
    giveUpMail();
    writeFromHandler(STDERR_FILENO, text);
    logFromHandler(LOG_ERR, text);
    ::_exit(EX_IOERR);
}

} // namespace

void guardProcess() {
    occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGABRT, aborted);
    std::set_terminate(abandon);
}
