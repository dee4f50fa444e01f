// The way in of a message: its header block, and the operations on its fields.

#include "message/mail_msg.h"

#include <strings.h>

#include <cstddef>
#include <cstring>
#include <memory>

namespace {

// The longest header line that is read whole, and the size to which the reader may grow for it.
constexpr int HEADER_LIMIT = 262144;

constexpr char MIME_PREFIX[] = "Content-";
constexpr std::size_t MIME_PREFIX_LENGTH = sizeof MIME_PREFIX - 1;

// White space of the POSIX locale, whatever the process's own.
bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool isMimeField(const HeaderField& field) {
    return ::strncasecmp(field.getName(), MIME_PREFIX, MIME_PREFIX_LENGTH) == 0;
}

bool beginsWith(const char* value, const char* prefix) {
    return ::strncasecmp(value, prefix, std::strlen(prefix)) == 0;
}

// The name and the value of a header line, and what stands between them, as places in its text.
struct HeaderLine {
    int nameEnd;
    int colon;
    int value;
    int end;
};

// False for a line without a colon that has something other than white space in front of it.
bool splitHeaderLine(const char* text, int size, HeaderLine& line) {
    // What follows a NUL byte is lost.
    const void* nul = std::memchr(text, '\0', static_cast<std::size_t>(size));
    int end = nul != nullptr ? static_cast<int>(static_cast<const char*>(nul) - text) : size;
    const void* colon = std::memchr(text, ':', static_cast<std::size_t>(end));
    if (colon == nullptr) {
        return false;
    }
    line.colon = static_cast<int>(static_cast<const char*>(colon) - text);
    line.nameEnd = line.colon;
    while (line.nameEnd > 0 && isSpace(text[line.nameEnd - 1])) {
        --line.nameEnd;
    }
    if (line.nameEnd == 0) {
        return false;
    }
    line.value = line.colon + 1;
    while (line.value < end && isSpace(text[line.value])) {
        ++line.value;
    }
    while (end > line.value && (text[end - 1] == '\r' || text[end - 1] == '\n')) {
        --end;
    }
    line.end = end;
    return true;
}

} // namespace

MailMsg::MailMsg()
    : dotEndsInput(false), tokenizer(nullptr, 0, true), inputEnded(false),
      blankLineAfterHeaders(false), bodyOffset(0), outputFoldingDisabled(false) {
}

MailMsg::MailMsg(Stream* input, bool dotEnds, int tokenizerFlags)
    : dotEndsInput(dotEnds), tokenizer(input, tokenizerFlags, true), inputEnded(false),
      blankLineAfterHeaders(false), bodyOffset(0), outputFoldingDisabled(false) {
    tokenizer.setBufferSize(HEADER_LIMIT);
}

MailMsg::MailMsg(MailMsg& other)
    : dotEndsInput(other.dotEndsInput), tokenizer(nullptr, 0, true), inputEnded(other.inputEnded),
      blankLineAfterHeaders(other.blankLineAfterHeaders), bodyOffset(other.bodyOffset),
      outputFoldingDisabled(other.outputFoldingDisabled) {
    for (const HeaderField* field : other.fields) {
        fields.push_back(new HeaderField(*field, true));
    }
}

MailMsg::~MailMsg() {
    deleteHeaderFields();
}

int MailMsg::readHeaders(bool) {
    blankLineAfterHeaders = false;
    for (bool startsLine = true;; startsLine = tokenizer.lastTokenCompleted()) {
        int size = HEADER_LIMIT;
        const char* token = static_cast<const char*>(tokenizer.readToken(size));
        if (token == nullptr) {
            return -1;
        }
        if (dotEndsInput && startsLine && size == 1 && *token == '.') {
            inputEnded = true;
            return 0;
        }
        if (size == 0) {
            const Stream::State state = tokenizer.getInputState();
            if (state == Stream::StateGood || state == Stream::StateEnd) {
                blankLineAfterHeaders = tokenizer.lastTokenCompleted();
                bodyOffset = tokenizer.lseek(0, Stream::SeekCurrent);
            }
            return 0;
        }
        // The rest of a line that was too long is dropped.
        if (startsLine && addFieldOf(token, size) >= MAX_FIELDS) {
            return 0;
        }
    }
}

// Appends the field of a header line, if it is one; the number of fields.
int MailMsg::addFieldOf(const char* token, int size) {
    HeaderLine line;
    if (splitHeaderLine(token, size, line)) {
        fields.push_back(new HeaderField(token, line.nameEnd, token + line.value,
                                         line.end - line.value, token + line.colon,
                                         line.value - line.colon));
    }
    return static_cast<int>(fields.size());
}

MailMsg::Fields::iterator MailMsg::findField(const char* name, int index) {
    Fields::iterator found = fields.begin();
    for (; found != fields.end(); ++found) {
        if (::strcasecmp((*found)->getName(), name) == 0 && index-- == 0) {
            break;
        }
    }
    return found;
}

HeaderField* MailMsg::getHeaderField(const char* name, int index) {
    const Fields::iterator found = findField(name, index);
    return found != fields.end() ? *found : nullptr;
}

const char* MailMsg::getHeaderValue(const char* name, int index) {
    const HeaderField* field = getHeaderField(name, index);
    return field != nullptr ? field->getValue() : nullptr;
}

const char* MailMsg::getHeaderSeparator(const char* name, int index) {
    const HeaderField* field = getHeaderField(name, index);
    return field != nullptr ? field->getSeparator() : nullptr;
}

HeaderField* MailMsg::getMimeHeader(int index) const {
    for (HeaderField* field : fields) {
        if (isMimeField(*field) && index-- == 0) {
            return field;
        }
    }
    return nullptr;
}

int MailMsg::countHeaderField(const char* name) {
    int count = 0;
    for (const HeaderField* field : fields) {
        count += ::strcasecmp(field->getName(), name) == 0 ? 1 : 0;
    }
    return count;
}

void MailMsg::insertHeaderField(const char* name, const char* value) {
    fields.push_front(new HeaderField(name, value));
}

void MailMsg::appendHeaderField(const char* name, const char* value) {
    if (name != nullptr) {
        fields.push_back(new HeaderField(name, value));
    }
}

int MailMsg::modifyHeaderField(const char* newName, const char* newValue, const char* name,
                               int index) {
    HeaderField* field = getHeaderField(name, index);
    if (field == nullptr) {
        return -1;
    }
    field->changeHeader(newName, newValue);
    return 0;
}

int MailMsg::deleteHeaderField(const char* name, int index) {
    const Fields::iterator found = findField(name, index);
    if (found == fields.end()) {
        return -1;
    }
    delete *found;
    fields.erase(found);
    return 0;
}

int MailMsg::appendToHeaderField(const char* text, const char* name, int index) {
    HeaderField* field = getHeaderField(name, index);
    if (text == nullptr || field == nullptr) {
        return -1;
    }
    char* joined = nullptr;
    hstrmappend(joined, field->getValue(), text, static_cast<const char*>(nullptr));
    const std::unique_ptr<char[]> value(joined);
    field->changeValue(value.get());
    return 0;
}

int MailMsg::insertToHeaderField(const char* text, const char* name, int index) {
    HeaderField* field = getHeaderField(name, index);
    if (text == nullptr || field == nullptr) {
        return -1;
    }
    char* joined = nullptr;
    hstrmappend(joined, text, field->getValue(), static_cast<const char*>(nullptr));
    const std::unique_ptr<char[]> value(joined);
    field->changeValue(value.get());
    return 0;
}

// Deletes the fields that `matches` picks, in one pass.
template <class Matches> void MailMsg::deleteIf(Matches matches) {
    fields.remove_if([&matches](HeaderField* field) {
        const bool goes = matches(*field);
        if (goes) {
            delete field;
        }
        return goes;
    });
}

void MailMsg::deleteHeaderFields(const char* name) {
    deleteIf([name](const HeaderField& field) { return ::strcasecmp(field.getName(), name) == 0; });
}

void MailMsg::deleteMimeFields() {
    deleteIf(isMimeField);
}

void MailMsg::deleteHeaderFields() {
    for (const HeaderField* field : fields) {
        delete field;
    }
    fields.clear();
}

bool MailMsg::isTextPlain() {
    const char* type = getHeaderValue("Content-Type", 0);
    return type == nullptr || beginsWith(type, "text/plain");
}

bool MailMsg::isNotBase64() {
    const char* encoding = getHeaderValue("Content-Transfer-Encoding", 0);
    return encoding == nullptr || !beginsWith(encoding, "base64");
}

void MailMsg::disableOutputFolding() {
    outputFoldingDisabled = true;
}
