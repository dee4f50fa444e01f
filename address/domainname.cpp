// Domainname: the check of a domain name, and its labels.

#include "address/domainname.h"

#include "address/name_matchers.h"
#include "address/text_copy.h"

#include <cstring>

namespace {

constexpr int PartBufferSize = Domainname::MaxLabelLength + 1;

} // namespace

bool Domainname::isDomainname(const char* text) {
    DomainnameMatcher matcher;
    return match(&matcher, text);
}

bool Domainname::match(DomainnameMatcher* matcher, const char* text) {
    if (text == nullptr) {
        return false;
    }
    const std::size_t length = strnlen(text, MaxLength + 1);
    if (length > MaxLength) {
        return false;
    }
    matcher->setSubject(static_cast<int>(length), text, false);
    matcher->match(nullptr);
    const int count = matcher->getRecordCount(0);
    if (matcher->getState() != NameStateFits || count < 1) {
        return false;
    }
    for (int i = 0; i < count; ++i) {
        int offset = 0;
        int labelLength = 0;
        matcher->getRecordInfo(0, i, offset, labelLength);
        if (labelLength > MaxLabelLength) {
            return false;
        }
    }
    return true;
}

bool Domainname::isSubdomain(const char* parent, const char* name, bool allowEqual) {
    const std::size_t parentLength = std::strlen(parent);
    const std::size_t nameLength = std::strlen(name);
    if (nameLength < parentLength) {
        return false;
    }
    const char* tail = name + (nameLength - parentLength);
    if (std::memcmp(tail, parent, parentLength) != 0) {
        return false;
    }
    return tail == name ? allowEqual : tail[-1] == '.';
}

Domainname::Domainname(const char* text)
    : name(nullptr), partCount(0), partOffsets(nullptr), partBuffer(nullptr) {
    DomainnameMatcher matcher;
    if (!match(&matcher, text)) {
        return;
    }
    unsigned char offsets[MaxParts];
    int used = 0;
    addOffsets(matcher, 0, offsets, used);
    store(text, std::strlen(text), offsets, used);
}

Domainname::Domainname(const char** parts, int count)
    : name(nullptr), partCount(0), partOffsets(nullptr), partBuffer(nullptr) {
    if (count < 1 || count > MaxParts) {
        return;
    }
    DomainnameMatcher matcher;
    char joined[MaxLength + 1] = {};
    std::size_t length = 0;
    unsigned char offsets[MaxParts];
    int used = 0;
    for (int i = 0; i < count; ++i) {
        if (!match(&matcher, parts[i])) {
            return;
        }
        const std::size_t partLength = std::strlen(parts[i]);
        const std::size_t dot = i > 0 ? 1 : 0;
        if (partLength > MaxLabelLength || length + dot + partLength > MaxLength) {
            return;
        }
        if (dot != 0) {
            joined[length++] = '.';
        }
        addOffsets(matcher, length, offsets, used);
        std::memcpy(joined + length, parts[i], partLength);
        length += partLength;
    }
    store(joined, length, offsets, used);
}

Domainname::Domainname(Domainname* other, int index)
    : name(nullptr), partCount(0), partOffsets(nullptr), partBuffer(nullptr) {
    const char* text = other->getSubdomainname(index);
    if (text == nullptr) {
        return;
    }
    const unsigned char* from = other->partOffsets + index;
    unsigned char offsets[MaxParts];
    const int count = other->partCount - index;
    for (int i = 0; i < count; ++i) {
        offsets[i] = static_cast<unsigned char>(from[i] - from[0]);
    }
    store(text, std::strlen(text), offsets, count);
}

Domainname::~Domainname() {
    delete[] partBuffer;
    delete[] partOffsets;
    delete[] name;
}

// A name of 255 bytes has 128 labels at most, so neither the table nor a byte is ever too small.
void Domainname::addOffsets(const DomainnameMatcher& matcher, std::size_t base,
                            unsigned char* offsets, int& used) {
    const int count = matcher.getRecordCount(0);
    for (int i = 0; i < count; ++i) {
        int offset = 0;
        int length = 0;
        matcher.getRecordInfo(0, i, offset, length);
        offsets[used++] = static_cast<unsigned char>(base + static_cast<std::size_t>(offset));
    }
}

void Domainname::store(const char* text, std::size_t length, const unsigned char* offsets,
                       int count) {
    name = copyText(text, length);
    partCount = static_cast<unsigned char>(count);
    partOffsets = new unsigned char[partCount];
    std::memcpy(partOffsets, offsets, partCount);
}

const char* Domainname::getSubdomainname(int index) const {
    return index >= 0 && index < partCount ? name + partOffsets[index] : nullptr;
}

const char* Domainname::getPart(int index) const {
    const char* label = getSubdomainname(index);
    if (label == nullptr) {
        return nullptr;
    }
    if (partBuffer == nullptr) {
        partBuffer = new char[PartBufferSize];
    }
    // A LF, and what a text holds behind it, is part of the name but of no label.
    const std::size_t length = std::strcspn(label, ".\n");
    std::memcpy(partBuffer, label, length);
    partBuffer[length] = '\0';
    return partBuffer;
}

Domainname* Domainname::subdomainname(int index) {
    return index >= 0 && index < partCount - 1 ? new Domainname(this, index) : nullptr;
}
