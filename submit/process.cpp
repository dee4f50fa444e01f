#include "submit/process.h"

#include "queue/mail_queue.h"
#include "submit/interrupt.h"
#include "submit/report.h"
#include "submit/state.h"

#include <fcntl.h>
#include <poll.h>
#include <sysexits.h>
#include <unistd.h>

#include <csignal>
#include <exception>

namespace {

// With a standard descriptor closed, the next file to be opened would get its number, and a
// complaint would be written into a mail. A closed input must not read as an empty message, so
// its place is taken by something that cannot be read.
void occupyStandardDescriptors() {
    pollfd standard[] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
    if (::poll(standard, 3, 0) <= 0) {
        return;
    }
    for (const pollfd& entry : standard) {
        if ((entry.revents & POLLNVAL) != 0) {
            // The lowest free number is the one that is missing.
            static_cast<void>(::open("/dev/null", O_WRONLY));
        }
    }
}

[[noreturn]] void abandon() {
    ignoreInterrupt();
    const char* reason = "unknown failure";
    std::exception_ptr pending = std::current_exception();
    try {
        if (pending) {
            std::rethrow_exception(pending);
        }
    } catch (const std::exception& failure) {
        reason = failure.what();
    } catch (...) {
    }
    if (mq != nullptr && mailId != noMailId) {
        mq->removeMailFiles(static_cast<int>(mailId));
    }
    report("Transaction aborted: %s", reason);
    ::_exit(EX_TEMPFAIL);
}

} // namespace

void guardProcess() {
    occupyStandardDescriptors();
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::set_terminate(abandon);
}
