#include "queue/mail_item_loader.h"

MailItemLoader::~MailItemLoader() = default;

const char* MailItemLoader::getAuthPath() const {
    return nullptr;
}

const char* MailItemLoader::getSenderName() const {
    return nullptr;
}

std::uint32_t MailItemLoader::getOriginalRCPTCount() const {
    return getRCPTCount();
}

MailQueue::SourceTypes MailItemLoader::getSourceType() const {
    return MailQueue::SourceNetwork;
}

std::uint32_t MailItemLoader::getFlags() const {
    return 0;
}

std::uint32_t MailItemLoader::getLastVersion() const {
    return 0;
}

std::int32_t MailItemLoader::getCachedHeaderSize(std::uint32_t) const {
    return -1;
}

std::uint32_t MailItemLoader::getParentVersion(std::uint32_t) const {
    return 0;
}

std::uint64_t MailItemLoader::getMailStorageId(std::uint32_t) const {
    return 0;
}

InetAddr MailItemLoader::getSenderIp() const {
    return InetAddr::NONE;
}

std::uint32_t MailItemLoader::getLocalReceivingPort() const {
    return 0;
}

std::int64_t MailItemLoader::getNextSchedule() const {
    return 0;
}

std::int64_t MailItemLoader::getDelayDelivery() const {
    return getNextSchedule();
}

std::uint32_t MailItemLoader::getRetryCount() const {
    return 0;
}

int MailItemLoader::getMessageInfo(std::uint32_t, Tree*) const {
    return 0;
}

int MailItemLoader::getRCPTMessageSlots(std::uint32_t rcpt, Tree* out) const {
    return getMessageInfo(getRCPTDataVersion(rcpt), out);
}

int MailItemLoader::getRCPTPropertySlots(std::uint32_t, Tree*) const {
    return 0;
}

int MailItemLoader::getFilterInfo(Tree*) const {
    return 0;
}

int MailItemLoader::getDataFilterInfo(std::uint32_t, Tree*) const {
    return 0;
}

int MailItemLoader::getRCPTFilterInfo(std::uint32_t, Tree*) const {
    return 0;
}

int MailItemLoader::getRCPTMboxes(std::uint32_t rcpt, const char** out, int capacity) const {
    const char* const name = getRCPTMbox(rcpt);
    if (capacity > 0) {
        out[0] = name != nullptr ? name : "INBOX";
    }
    return 1;
}

std::uint32_t MailItemLoader::getRCPTDomainId(std::uint32_t) const {
    return 0;
}

std::uint32_t MailItemLoader::getRCPTAccountId(std::uint32_t) const {
    return 0;
}

const char* MailItemLoader::getRCPTRelayHost(std::uint32_t) const {
    return nullptr;
}

std::uint32_t MailItemLoader::getRCPTDataVersion(std::uint32_t) const {
    return 0;
}

std::uint32_t MailItemLoader::getRCPTFlags(std::uint32_t) const {
    return 0;
}

std::uint32_t MailItemLoader::getRCPTMessageFlags(std::uint32_t) const {
    return 0;
}

const char* MailItemLoader::getRCPTFailInfo(std::uint32_t) const {
    return nullptr;
}

const char* MailItemLoader::getLocalDeliveryInfo(std::uint32_t) const {
    return nullptr;
}

int MailItemLoader::getFilterActions(std::uint32_t, HVector<const char*>*) const {
    return 0;
}

void MailItemLoader::listParams(SimpleVector<const char*>&) const {
}

const char* MailItemLoader::getRPathRelayHost() const {
    return nullptr;
}
