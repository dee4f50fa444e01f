// The string table of a mail and the parameters kept in it.

#include "common/error.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"
#include "queue/param_list.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr int paramBufferBytes = 1024;

// The reader wants the colon at the fifth place, so no link has more digits than four.
constexpr std::uint32_t paramLinkLimit = 0x10000;

struct ParamName {
    const char* text;
    std::size_t length;
};

// Orders a name before, at or behind a stored "name=value". Where one name begins with the other,
// the longer one comes first, which keeps the order total whatever characters follow.
int compareParam(const ParamName* name, const char* stored) {
    for (std::size_t i = 0; i < name->length; ++i) {
        if (stored[i] == '=' || stored[i] == '\0') {
            return -1;
        }
        if (name->text[i] != stored[i]) {
            return static_cast<unsigned char>(name->text[i]) < static_cast<unsigned char>(stored[i])
                       ? -1
                       : 1;
        }
    }
    return stored[name->length] == '=' ? 0 : 1;
}

} // namespace

bool ParamList::find(const HVector<const char*>& params, const char* name, std::size_t length,
                     int& place) {
    const ParamName wanted = {name, length};
    return params.binSearch<const ParamName*>(&wanted, compareParam, 0, params.size(), &place);
}

void ParamList::list(const HVector<const char*>& params, SimpleVector<const char*>& out) {
    for (int i = params.size() - 1; i >= 0; --i) {
        out.append(params.get(i));
    }
}

bool MailItem::appendString(const char* text, std::size_t length) {
    if (strings.size() >= RecordFormat::stringLimit) {
        Thread::setLastError(HE_NOMEM);
        return false;
    }
    char* const copy = new char[length + 1];
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    strings.append(copy);
    return true;
}

int MailItem::addString(const char* text) {
    if (text == nullptr) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    if (!appendString(text, std::strlen(text))) {
        return -1;
    }
    return strings.size() - 1 - static_cast<int>(rcptCount);
}

const char* MailItem::getLinkedString(std::uint32_t index) const {
    if (index > static_cast<std::uint32_t>(RecordFormat::stringLimit)) {
        return nullptr;
    }
    return strings.get(static_cast<int>(rcptCount + index));
}

bool MailItem::findParam(const char* name, std::size_t length, int& place) const {
    return ParamList::find(params, name, length, place);
}

int MailItem::setParam(const char* name, const char* value) {
    // A name with a "=" could not be told from its value, and an empty one may be too short for a
    // reader, who would lose the chain behind it.
    if (name == nullptr || value == nullptr || *name == '\0' || std::strchr(name, '=') != nullptr) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    const std::uint32_t now = getState();
    if (now == NEW_MAIL || now == ADD_RCPTS || record == nullptr) {
        Thread::setLastError(HE_INVALOP);
        return -1;
    }
    const auto previous = getField(RecordFormat::paramHead);
    char text[paramBufferBytes];
    const int length = std::snprintf(text, sizeof text, "%04X:%s=%s", previous, name, value);
    if (length < 0 || length >= paramBufferBytes || previous >= paramLinkLimit) {
        Thread::setLastError(HE_FBIG);
        return -1;
    }
    const int index = addString(text);
    if (index == -1) {
        return -1;
    }
    setField(RecordFormat::paramHead, static_cast<std::uint32_t>(index));
    const char* const stored = strings.get(strings.size() - 1) + ParamList::textOffset;
    int place = 0;
    if (findParam(name, std::strlen(name), place)) {
        params.set(place, stored);
    } else {
        params.insertAt(place, stored);
    }
    return 0;
}

const char* MailItem::getParam(const char* name) {
    int place = 0;
    if (name == nullptr || !findParam(name, std::strlen(name), place)) {
        Thread::setLastError(HE_NOENT);
        return nullptr;
    }
    return params.get(place) + std::strlen(name) + 1;
}

bool MailItem::hasParam(const char* name) {
    int place = 0;
    return name != nullptr && findParam(name, std::strlen(name), place);
}

void MailItem::listParams(SimpleVector<const char*>& out) {
    ParamList::list(params, out);
}

void MailItem::readParams() {
    ParamList::readChain(params, getField(RecordFormat::paramHead),
                         static_cast<std::uint32_t>(strings.size()) - rcptCount,
                         [this](std::uint32_t index) { return getLinkedString(index); });
}
