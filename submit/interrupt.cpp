#include "submit/interrupt.h"

#include "queue/mail_queue.h"
#include "submit/handler_log.h"
#include "submit/state.h"

#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <string_view>

void sigint(int) {
    constexpr std::string_view text = "Transaction aborted by user";
    writeFromHandler(STDOUT_FILENO, text);
    logFromHandler(LOG_INFO, text);
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
