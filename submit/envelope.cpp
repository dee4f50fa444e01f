#include "submit/envelope.h"

#include "address/address_list.h"
#include "message/mail_date.h"
#include "message/mail_msg.h"
#include "queue/mail_item.h"
#include "submit/get_args.h"
#include "submit/report.h"
#include "submit/state.h"

#include <sysexits.h>

#include <cstdio>
#include <string_view>

namespace {

constexpr std::size_t receivedSize = 400;

Address* addressAt(int index) {
    return static_cast<Address*>(addrlist->addresses->get(index));
}

// The addr-spec of the first mailbox of an address list, or null where there is none. It lives
// until the next parse.
const char* firstAddrSpec(const char* text) {
    countRes = addrlist->parsePostdock(text, 1, expand_domain, true);
    if (countRes == -1 || addrlist->addresses->size() == 0) {
        return nullptr;
    }
    argmailbox = addressAt(0);
    const Mailbox2* mailbox = argmailbox->getMailbox(0);
    return mailbox != nullptr ? mailbox->addrSpec : nullptr;
}

void addRecipient(const Mailbox2& mailbox) {
    mi->addRCPT(mailbox.addrSpec);
    ++rcpts;
}

// An argument gives at most one recipient: the parser of the command line has split at commas.
void addArgument(const char* argument) {
    countRes = addrlist->parsePostdock(argument, recipientLimit - rcpts, expand_domain, false);
    if (countRes == -1) {
        report("Ignoring invalid recipient address '%s'", argument);
        return;
    }
    if (addrlist->addresses->size() == 0) {
        return;
    }
    argmailbox = addressAt(0);
    if (const Mailbox2* mailbox = argmailbox->getMailbox(0)) {
        addRecipient(*mailbox);
    }
}

void addHeaderRecipients(const char* name, const char* value) {
    countRes = addrlist->parsePostdock(value, recipientLimit - rcpts, expand_domain, false);
    if (countRes == -1) {
        report("Ignoring invalid '%s:' recipient address '%s'", name, value);
        return;
    }
    for (int i = 0; i < addrlist->addresses->size(); ++i) {
        argmailbox = addressAt(i);
        for (int j = 0; j < argmailbox->size(); ++j) {
            addRecipient(*argmailbox->getMailbox(j));
        }
    }
}

std::string quoted(const char* fullName) {
    return std::string("\"") + fullName + "\"";
}

} // namespace

int buildSender(const GetArgs& args, std::string& sender) {
    const char* fullName = args.getVal('F', nullptr, 0);
    const char* given = args.getVal('f', nullptr, 0);
    if (given == nullptr) {
        given = args.getVal('r', nullptr, 0);
    }
    if (given == nullptr) {
        const std::string own = std::string(userName) + "@" + primary_domain;
        sender = fullName == nullptr ? own : quoted(fullName) + "<" + own + ">";
        return EX_OK;
    }
    const char* addrSpec = firstAddrSpec(given);
    if (addrSpec == nullptr) {
        report("Transaction aborted: invalid sender specified '%s'", given);
        return EX_DATAERR;
    }
    if (fullName == nullptr) {
        sender = addrSpec;
    } else {
        const bool nullPath = std::string_view(addrSpec) == "<>";
        sender = quoted(fullName) + " <" + (nullPath ? "" : addrSpec) + ">";
    }
    return EX_OK;
}

void completeHeaders(MailMsg& message, const GetArgs& args, const std::string& sender) {
    if (message.getHeaderField("From", 0) == nullptr) {
        message.insertHeaderField("From", sender.c_str());
    } else if (args.getVal('F', nullptr, 0) != nullptr) {
        if (message.getHeaderField("Sender", 0) != nullptr) {
            message.modifyHeaderField("Sender", sender.c_str(), "Sender", 0);
        } else {
            message.insertHeaderField("Sender", sender.c_str());
        }
    }
    MailDate now;
    now.now();
    const char* date = now.write();
    if (message.getHeaderField("Date", 0) == nullptr) {
        message.insertHeaderField("Date", date);
    }
    char received[receivedSize];
    std::snprintf(received, sizeof received,
                  "by %s (Morvex postdock invoked by uid %u) id %06X; %s", primary_domain, userId,
                  mailId, date);
    message.insertHeaderField("Received", received);
}

int readEnvelope(MailMsg& message) {
    std::string notify;
    const char* value = message.getHeaderValue("Sender", 0);
    const bool hasSender = value != nullptr;
    if (hasSender) {
        const char* addrSpec = firstAddrSpec(value);
        if (addrSpec == nullptr) {
            report("Transaction aborted: invalid notify address '%s'", value);
            return EX_DATAERR;
        }
        notify = addrSpec;
    }
    value = message.getHeaderValue("From", 0);
    const char* author = firstAddrSpec(value);
    if (author == nullptr) {
        report("Transaction aborted: invalid sender address '%s'", value);
        return EX_DATAERR;
    }
    mi->setRPath(hasSender ? notify.c_str() : author, author, nullptr);
    return EX_OK;
}

int collectRecipients(MailMsg& message, const GetArgs& args) {
    rcpts = 0;
    for (int i = 0; i < args.getArgCount() && rcpts < recipientLimit; ++i) {
        addArgument(args.getArg(i));
    }
    if (args.getVal('t', nullptr, 0) != nullptr || args.getArgCount() == 0) {
        for (const char* name : {"To", "Cc", "Bcc"}) {
            message.forEachValue(name, [name](const char* value) {
                if (rcpts < recipientLimit) {
                    addHeaderRecipients(name, value);
                }
                return rcpts < recipientLimit;
            });
        }
    }
    message.deleteHeaderFields("Bcc");
    if (mi->getRCPTCount() == 0) {
        report("Transaction aborted: no recipients specified");
        return EX_DATAERR;
    }
    if (mi->getRCPTCount() == recipientLimit) {
        report("WARNING: only first %d recipients are used", recipientLimit);
    }
    return EX_OK;
}
