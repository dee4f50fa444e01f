// The base of the small scanners that check a text against a language and hand out the named
// pieces of it: DateMatcher, DateTimeMatcher, DomainnameMatcher, UsernameMatcher.
//
// A matcher holds a subject text and, for each type of record, a vector of places in it. The
// derived class owns those vectors, and its match fills them. Not for use by two threads at once.
// Failure is by result, with HE_INVAL (22) as the last error for a type or index out of range.

#ifndef MORVEX_MESSAGE_PROTOCOL_MATCHER_H
#define MORVEX_MESSAGE_PROTOCOL_MATCHER_H

#include "common/container/hvector.h"

class ProtocolMatcher {
public:
    // A piece of the subject.
    struct RecordInfo {
        int offset;
        int length;
    };
    using RecordTable = HVector<RecordInfo, void*>;

    // The node order that each record table of a matcher is built with.
    static constexpr int RECORD_ORDER = 64;

    virtual ~ProtocolMatcher();

    // Runs the scanner over the subject. Returns 0, or -1 where there is no subject or it does not
    // fit the language; the state tells where it stopped. What argument means, the class says.
    virtual int match(void* argument) = 0;

    // The name of a type of record or of a state; null for a number without one.
    virtual const char* getRecordName(int type) const;
    virtual const char* getStateName(int state) const;

    // Sets a new subject, clears the records and sets the state to -1. With copy false the text
    // stays the caller's and must live as long as it is the subject; with copy true the matcher
    // keeps a zero-terminated copy. A null text leaves no subject.
    // Requires: length is not negative.
    void setSubject(const char* text, bool copy);
    void setSubject(int length, const char* text, bool copy);

    // Notes a piece of the subject; returns 0, or -1 with error 22 for a type out of range.
    int addRecord(int type, int offset, int length);

    // How many pieces of the type there are; -1 with error 22 for a type out of range.
    int getRecordCount(int type) const;

    // The piece's text, zero-terminated, good until the next call; null with error 22 for a type
    // or index out of range.
    const char* getRecord(int type, int index) const;

    // The piece's place in the subject, not terminated; null with error 22 as above.
    const char* getRawRecord(int type, int index) const;

    // The piece's text in a new array for the caller to free with array delete; null with error 22
    // as above.
    char* getRecordCopy(int type, int index) const;

    // The piece's offset and length; 0, or -1 with error 22 as above and both left alone.
    int getRecordInfo(int type, int index, int& offset, int& length) const;

    // Empties all tables.
    void clearRecords();

    // The number whose name is exactly the one given, or -1.
    int getRecordId(const char* name) const;
    int getStateId(const char* name) const;

    const char* getSubject() const { return subject; }
    int getSubjectLength() const { return subjectLength; }

    // -1 until a match ran, then the state in which it stopped.
    int getState() const { return state; }
    void setState(int newState) { state = newState; }

    ProtocolMatcher(const ProtocolMatcher&) = delete;
    ProtocolMatcher& operator=(const ProtocolMatcher&) = delete;

protected:
    // The tables stay the derived class's; they need not be built yet, since the base does not
    // touch them before its own construction is over, nor at its destruction.
    // Requires: tables points to types tables, each built with RECORD_ORDER.
    ProtocolMatcher(RecordTable* tables, int types);

private:
    bool findRecord(int type, int index, RecordInfo& info) const;
    void dropSubject();

    const char* subject;
    int subjectLength;
    mutable char* recordBuffer; // of getRecord; array new
    mutable int recordBufferSize;
    RecordTable* records;
    int recordTypes;

protected:
    int state;

private:
    bool ownsSubject;
};

#endif
