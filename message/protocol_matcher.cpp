// The record keeping of the matchers. A record is a place in the subject; its text is copied only
// for those who ask for it.

#include "message/protocol_matcher.h"

#include "common/error.h"
#include "common/thread/thread.h"

#include <cstddef>
#include <cstring>

ProtocolMatcher::ProtocolMatcher(RecordTable* tables, int types)
    : subject(nullptr), subjectLength(0), recordBuffer(nullptr), recordBufferSize(0),
      records(tables), recordTypes(types), state(-1), ownsSubject(false) {
}

ProtocolMatcher::~ProtocolMatcher() {
    dropSubject();
    delete[] recordBuffer;
}

const char* ProtocolMatcher::getRecordName(int) const {
    return nullptr;
}

const char* ProtocolMatcher::getStateName(int) const {
    return nullptr;
}

void ProtocolMatcher::dropSubject() {
    if (ownsSubject) {
        delete[] subject;
    }
    subject = nullptr;
    subjectLength = 0;
    ownsSubject = false;
}

void ProtocolMatcher::setSubject(const char* text, bool copy) {
    setSubject(text != nullptr ? static_cast<int>(std::strlen(text)) : 0, text, copy);
}

void ProtocolMatcher::setSubject(int length, const char* text, bool copy) {
    char* owned = nullptr;
    if (copy && text != nullptr) {
        owned = new char[static_cast<std::size_t>(length) + 1];
        std::memcpy(owned, text, static_cast<std::size_t>(length));
        owned[length] = '\0';
    }
    dropSubject();
    subject = owned != nullptr ? owned : text;
    subjectLength = length;
    ownsSubject = owned != nullptr;
    clearRecords();
    state = -1;
}

int ProtocolMatcher::addRecord(int type, int offset, int length) {
    if (type < 0 || type >= recordTypes) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    records[type].append(RecordInfo{offset, length});
    return 0;
}

int ProtocolMatcher::getRecordCount(int type) const {
    if (type < 0 || type >= recordTypes) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    return records[type].size();
}

bool ProtocolMatcher::findRecord(int type, int index, RecordInfo& info) const {
    if (type < 0 || type >= recordTypes || index < 0 || index >= records[type].size()) {
        Thread::setLastError(HE_INVAL);
        return false;
    }
    info = records[type].get(index);
    return true;
}

const char* ProtocolMatcher::getRecord(int type, int index) const {
    RecordInfo info;
    if (!findRecord(type, index, info)) {
        return nullptr;
    }
    if (recordBufferSize <= info.length) {
        const int size = (info.length | 15) + 1;
        char* larger = new char[static_cast<std::size_t>(size)];
        delete[] recordBuffer;
        recordBuffer = larger;
        recordBufferSize = size;
    }
    std::memcpy(recordBuffer, subject + info.offset, static_cast<std::size_t>(info.length));
    recordBuffer[info.length] = '\0';
    return recordBuffer;
}

const char* ProtocolMatcher::getRawRecord(int type, int index) const {
    RecordInfo info;
    return findRecord(type, index, info) ? subject + info.offset : nullptr;
}

char* ProtocolMatcher::getRecordCopy(int type, int index) const {
    RecordInfo info;
    if (!findRecord(type, index, info)) {
        return nullptr;
    }
    char* copy = new char[static_cast<std::size_t>(info.length) + 1];
    std::memcpy(copy, subject + info.offset, static_cast<std::size_t>(info.length));
    copy[info.length] = '\0';
    return copy;
}

int ProtocolMatcher::getRecordInfo(int type, int index, int& offset, int& length) const {
    RecordInfo info;
    if (!findRecord(type, index, info)) {
        return -1;
    }
    offset = info.offset;
    length = info.length;
    return 0;
}

void ProtocolMatcher::clearRecords() {
    for (int type = 0; type < recordTypes; ++type) {
        records[type].clear();
    }
}

int ProtocolMatcher::getRecordId(const char* name) const {
    for (int type = 0; getRecordName(type) != nullptr; ++type) {
        if (std::strcmp(getRecordName(type), name) == 0) {
            return type;
        }
    }
    return -1;
}

int ProtocolMatcher::getStateId(const char* name) const {
    for (int id = 0; getStateName(id) != nullptr; ++id) {
        if (std::strcmp(getStateName(id), name) == 0) {
            return id;
        }
    }
    return -1;
}
