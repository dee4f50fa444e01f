// The states of a mail and of its recipients: the texts of their codes, and their logged change.

#include "common/log/log.h"
#include "queue/mail_item.h"

namespace {

constexpr std::uint32_t codeCount = 128;

const char* textOf(const char* const (&table)[codeCount], std::uint32_t code) {
    return table[code] != nullptr ? table[code] : "null";
}

} // namespace

// clang-format off
const char* const MailItem::globalStateCodes[codeCount] = {
    /* 0 */ "INCOMING", "RECEIVED", "PROCESSING", "PROCESSED",
    /* 4 */ "SEND FAILURE", "SENDING", "SENT", "RAW_RECEIVED",
    /* 8 */ "RELAY ERROR", "LOCAL ERROR", "PROCESSING ERROR", "FILTER REJECT",
    /* 12 */ "FILTER DISCARD", "CLEANUP ERROR", "QUARANTINED", nullptr,
    /* 16 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 24 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 32 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 40 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 48 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 56 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 64 */ "NEW MAIL", "ADD RCPTs", "GET DATA", nullptr,
    /* 68 */ nullptr, nullptr, nullptr, nullptr,
    /* 72 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 80 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 88 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 96 */ "UNBOUND", "REMOVED", "IOERROR", nullptr,
    /* 100 */ nullptr, nullptr, nullptr, nullptr,
    /* 104 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 112 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 120 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "UNAVAILABLE",
};

const char* const MailItem::rcptStateCodes[codeCount] = {
    /* 0 */ "INCOMING", "RECEIVED", "PROCESSING", "PROCESSED - LOCAL",
    /* 4 */ "PROCESSED - RELAY", "SENDING", "SENT", "RAW_RECEIVED",
    /* 8 */ "RELAY ERROR", "LOCAL ERROR", "PROCESSING ERROR", "FILTER REJECT",
    /* 12 */ "FILTER DISCARD", "CLEANUP ERROR", "QUARANTINED", nullptr,
    /* 16 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 24 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 32 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 40 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 48 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 56 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 64 */ "NEW MAIL", "ADD RCPTs", "GET DATA", nullptr,
    /* 68 */ nullptr, nullptr, nullptr, nullptr,
    /* 72 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 80 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 88 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 96 */ "UNBOUND", "REMOVED", "IOERROR", nullptr,
    /* 100 */ nullptr, nullptr, nullptr, nullptr,
    /* 104 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 112 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
    /* 120 */ nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, "UNAVAILABLE",
};
// clang-format on

void MailItem::setState(std::uint32_t code) {
    if (code < codeCount) {
        logInfo("Set mail state to %s", textOf(globalStateCodes, code));
    } else {
        logError("Invalid mail state used: %u", code);
    }
    state.store(code, std::memory_order_relaxed);
}

void MailItem::storeState() {
    if (record != nullptr) {
        record[RecordFormat::stateWord] = static_cast<unsigned char>(getState());
    }
}

void MailItem::setRCPTState(int rcpt, std::uint32_t code) {
    if (record == nullptr) {
        logWarning("Ignore recipient state change (mail not loaded)");
        return;
    }
    const char* const address = getRCPT(rcpt);
    if (code < codeCount) {
        logInfo("Set recipient <%s> state to %s", address != nullptr ? address : "",
                textOf(rcptStateCodes, code));
    } else {
        logError("Invalid recipient state used: %u", code);
    }
    rcptRecord(rcpt)[RecordFormat::rcptStateWord] = static_cast<unsigned char>(code);
}

void MailItem::setRCPTDataVersion(int rcpt, std::uint32_t version) {
    if (record == nullptr) {
        logWarning("Ignore recipient state change (mail not loaded)");
        return;
    }
    const char* const address = getRCPT(rcpt);
    logInfo("Set recipient <%s> data version to %u", address != nullptr ? address : "", version);
    RecordFormat::store(rcptRecord(rcpt) + RecordFormat::rcptDataVersion, version);
}

void MailItem::forceNDR(const char* reason) {
    if (record == nullptr) {
        logWarning("Ignore recipient state change (mail not loaded)");
        return;
    }
    const int text = addString(reason != nullptr ? reason : "Delivery aborted");
    for (int r = 0; r < getRCPTCount(); ++r) {
        switch (getRCPTField(r, RecordFormat::rcptStateWord) & RecordFormat::stateMask) {
        case SENT:
        case RELAY_ERROR:
        case LOCAL_ERROR:
        case PROCESSING_ERROR:
        case FILTER_REJECT:
        case FILTER_DISCARD:
            continue;
        default:
            break;
        }
        setRCPTState(r, FILTER_REJECT);
        if (text != -1) {
            setRCPTField(r, RecordFormat::rcptFailInfo, static_cast<std::uint32_t>(text));
        }
    }
    setState(SENT);
    storeState();
}
