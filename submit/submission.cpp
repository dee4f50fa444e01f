#include "submit/submission.h"

#include "address/address_list.h"
#include "common/error.h"
#include "common/stream/host_name.h"
#include "common/thread/thread.h"
#include "config/config.h"
#include "message/mail_msg.h"
#include "queue/mail_item.h"
#include "queue/mail_queue.h"
#include "submit/caller_name.h"
#include "submit/envelope.h"
#include "submit/get_args.h"
#include "submit/handover.h"
#include "submit/interrupt.h"
#include "submit/options.h"
#include "submit/report.h"
#include "submit/settings.h"
#include "submit/standard_input.h"
#include "submit/state.h"
#include "submit/version.h"

#include <sys/stat.h>
#include <sysexits.h>
#include <syslog.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace {

// How the tokenizer cuts a header block: folded lines, ended by LF, CR LF or NUL.
constexpr int headerTokenizerFlags = 1686;

char* copyText(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    return static_cast<char*>(std::memcpy(new char[size], text, size));
}

void openLog() {
    std::snprintf(logident, sizeof logident, "postdock-%d", processId);
    ::openlog(logident, LOG_CONS | LOG_NDELAY, LOG_MAIL);
}

void learnCaller() {
    userId = ::getuid();
    userName = copyText(callerName(userId).c_str());
    ::syslog(LOG_INFO, "Invoked by user '%s' uid '%d'", userName, static_cast<int>(userId));
}

// A server without a primary domain goes by the machine's own name.
void completePrimaryDomain(const GetArgs& args) {
    if (primary_domain != nullptr && primary_domain[0] != '\0') {
        return;
    }
    populateFQDN();
    delete[] primary_domain;
    primary_domain = copyText(hostnameFQDN);
    expand_domain = args.getVal('n', nullptr, 0) == nullptr ? primary_domain : nullptr;
}

int loadSettings(GetArgs& args) {
    HConfig::Config::init();
    const int result = loadConfig(&args);
    HConfig::Config::destroy();
    if (result == EX_OK) {
        completePrimaryDomain(args);
    }
    return result;
}

// Claims an id. The id is known to the handler before it is armed again, so that no moment exists
// in which an interrupt leaves a file.
int createMail() {
    ignoreInterrupt();
    mi = mq->newMail();
    if (mi == nullptr) {
        report("Transaction aborted: cannot create a new mail in queue '%s' (%s)", queue_path,
               Thread::getErrorMessage());
        armInterrupt();
        delete mq;
        mq = nullptr;
        return EX_TEMPFAIL;
    }
    mailId = static_cast<std::uint32_t>(mi->getId());
    armInterrupt();
    return EX_OK;
}

// From standard input to the hand-over.
int submitMessage(const GetArgs& args) {
    const bool dotEndsInput = args.getVal('i', nullptr, 0) == nullptr;
    StandardInput input(dotEndsInput);
    MailMsg message(&input, dotEndsInput, headerTokenizerFlags);
    if (message.readHeaders(false) == -1) {
        report("Transaction aborted: the message headers are not RFC2822 compliant.");
        return EX_DATAERR;
    }
    if (input.readError() != 0) {
        return reportUnreadable(input.readError());
    }
    addrlist = new AddressList;
    std::string sender;
    if (const int result = buildSender(args, sender); result != EX_OK) {
        return result;
    }
    completeHeaders(message, args, sender);
    if (const int result = readEnvelope(message); result != EX_OK) {
        return result;
    }
    if (const int result = collectRecipients(message, args); result != EX_OK) {
        return result;
    }
    return storeAndHandOver(message, input);
}

} // namespace

int main_helper(int argc, const char** argv, const char**) {
    GetArgs args(argc, argv, getArgsConf, ignoreArgs);
    const bool badCommandLine = Thread::getLastError() != 0;
    armInterrupt();
    if (badCommandLine) {
        std::fputc('\n', stdout);
        args.printUsage();
        return EX_USAGE;
    }
    if (args.getVal('h', nullptr, 0) != nullptr) {
        args.printUsage();
        return EX_OK;
    }
    if (args.getVal('v', nullptr, 0) != nullptr) {
        printVersion();
        return EX_OK;
    }
    ::umask(027);
    openLog();
    learnCaller();
    if (const int result = loadSettings(args); result != EX_OK) {
        return result;
    }
    getQueue();
    if (mq == nullptr) {
        return EX_IOERR;
    }
    if (const int result = createMail(); result != EX_OK) {
        return result;
    }
    return submitMessage(args);
}

void getQueue() {
    mq = new MailQueue;
    if (mq->setDirectory(queue_path, queue_entry_count) == -1) {
        report("Transaction aborted: cannot find/create a queue in %s (%s)", queue_path,
               Thread::getErrorMessage());
        delete mq;
        mq = nullptr;
    }
}

void cleanup() {
    if (mq != nullptr) {
        if (mi != nullptr) {
            // What the handler would touch is about to go.
            ignoreInterrupt();
            mq->removeMail(mi);
        }
        mailId = noMailId;
        delete mq;
        mq = nullptr;
    }
    delete[] primary_domain;
    primary_domain = nullptr;
    expand_domain = nullptr;
    delete[] queue_path;
    queue_path = nullptr;
    delete addrlist;
    addrlist = nullptr;
    delete[] userName;
    userName = nullptr;
    ::closelog();
    Thread::cleanup();
}

void printVersion() {
    std::printf("Morvex Postdock version: %s\n", MORVEX_VERSION_TEXT);
}
