// The string table of a mail and the parameters kept in it.

#include "common/error.h"
#include "common/thread/thread.h"
#include "queue/mail_item.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// A parameter string is "%04X:%s=%s": the link to the one before, the name, the value.
constexpr int paramTextOffset = 5;
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

// Whether a parameter of this name is there; `place` is its place in `params`, or where it belongs.
bool MailItem::findParam(const char* name, std::size_t length, int& place) const {
    const ParamName wanted = {name, length};
    return params.binSearch<const ParamName*>(&wanted, compareParam, 0, params.size(), &place);
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
    const char* const stored = strings.get(strings.size() - 1) + paramTextOffset;
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
    for (int i = params.size() - 1; i >= 0; --i) {
        out.append(params.get(i));
    }
}

// Fills `params` from the chain, which runs from the newest to the oldest: a name that is there
// already has a newer value. A damaged chain may run in a circle, which has nothing new the second
// time: the walk ends when it comes back to `mark`, which moves up at each power of two, so a long
// string is searched a few times and not thousands.
void MailItem::readParams() {
    constexpr int maxLinks = 4096;
    constexpr std::size_t shortestParam = 7;
    const std::uint32_t others = static_cast<std::uint32_t>(strings.size()) - rcptCount;
    std::uint32_t index = getField(RecordFormat::paramHead);
    std::uint32_t mark = 0;
    for (int links = 0; links < maxLinks && index >= 1 && index < others && index != mark;
         ++links) {
        const char* const text = getLinkedString(index);
        if (text == nullptr || ::strnlen(text, shortestParam) < shortestParam ||
            text[paramTextOffset - 1] != ':') {
            return;
        }
        const auto previous = static_cast<std::uint32_t>(std::strtoul(text, nullptr, 16));
        const char* const stored = text + paramTextOffset;
        int place = 0;
        if (const char* end = std::strchr(stored, '=');
            end != nullptr && !findParam(stored, static_cast<std::size_t>(end - stored), place)) {
            params.insertAt(place, stored);
        }
        if ((links & (links + 1)) == 0) {
            mark = index;
        }
        index = previous;
    }
}
