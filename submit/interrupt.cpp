#include "submit/interrupt.h"

#include "queue/mail_queue.h"
#include "submit/state.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace {

constexpr std::string_view abortedText = "Transaction aborted by user";

// syslog(3) may hold its lock, or the interrupted code an allocator's, so the line goes to the log
// socket by the system calls underneath. The receiver supplies the time.
void logAborted() {
    static_assert((LOG_MAIL | LOG_INFO) == 22);
    char line[128] = "<22>";
    std::size_t length = 4;
    const auto append = [&](std::string_view text) {
        std::memcpy(line + length, text.data(), text.size());
        length += text.size();
    };
    static_assert(sizeof line > 4 + logidentSize + 2 + abortedText.size());
    append(logident[0] != '\0' ? std::string_view(logident) : std::string_view("postdock"));
    append(": ");
    append(abortedText);

    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd == -1) {
        return;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    static_assert(sizeof _PATH_LOG <= sizeof address.sun_path);
    std::memcpy(address.sun_path, _PATH_LOG, sizeof _PATH_LOG);
    // Nobody is left to hear of a failure.
    static_cast<void>(::sendto(fd, line, length, MSG_NOSIGNAL,
                               reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

} // namespace

void sigint(int) {
    char line[abortedText.size() + 1];
    std::memcpy(line, abortedText.data(), abortedText.size());
    line[abortedText.size()] = '\n';
    const ssize_t written = ::write(STDOUT_FILENO, line, sizeof line);
    static_cast<void>(written); // a closed standard output changes nothing
    logAborted();
    if (mq != nullptr && mailId != noMailId) {
        mq->removeMailFiles(static_cast<int>(mailId));
    }
    ::_exit(0);
}

void armInterrupt() {
    std::signal(SIGINT, sigint);
}

void ignoreInterrupt() {
    std::signal(SIGINT, SIG_IGN);
}
