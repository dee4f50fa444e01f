// The matchers behind Domainname and Username, with the small scanners that they run.
//
// A scanner reads its matcher's subject through LexerInput into a buffer from the per-thread string
// pools, and walks it once, from one start condition to the next. A condition here never returns to
// an outer one, so there is no condition stack. Both end in one of two states, which the matcher
// keeps. A matcher may be used again after a new setSubject; one thread at a time.

#ifndef MORVEX_ADDRESS_NAME_MATCHERS_H
#define MORVEX_ADDRESS_NAME_MATCHERS_H

#include "message/protocol_matcher.h"

// The states in which a match of a name ends.
constexpr int NameStateFits = 1;
constexpr int NameStateRefused = 2;

// The base of the name scanners: the text in a pooled buffer, and a position in it.
class NameFlexLexer {
public:
    NameFlexLexer(const NameFlexLexer&) = delete;
    NameFlexLexer& operator=(const NameFlexLexer&) = delete;
    virtual ~NameFlexLexer();

    // Copies up to maxSize of the subject's next bytes to the buffer and returns how many; 0 at the
    // end.
    virtual int LexerInput(char* buffer, int maxSize) = 0;

protected:
    NameFlexLexer() = default;

    // Fetches the whole subject, of `subjectLength` bytes, and goes to position 0.
    void restart(int subjectLength);

    // The byte at a distance from the position, or -1 behind the end.
    int peek(int distance) const {
        return distance < length - position
                   ? static_cast<unsigned char>(buffer[position + distance])
                   : -1;
    }

    // What may follow a whole name: the end of the text, or a LF, which ends it.
    bool atEnd() const { return peek(0) == -1 || peek(0) == '\n'; }

    char* buffer = nullptr; // of the string pools
    int length = 0;
    int position = 0;
};

using DomainnameMatcherFlexLexer = NameFlexLexer;
using UsernameMatcherFlexLexer = NameFlexLexer;

class DomainnameMatcherFlexer final : public DomainnameMatcherFlexLexer {
public:
    // Requires: subjectOwner outlives the scanner.
    explicit DomainnameMatcherFlexer(ProtocolMatcher* subjectOwner) : matcher(subjectOwner) {}

    int LexerInput(char* target, int maxSize) override;

    // Scans the subject from its start, adds a record for each label and returns the end state.
    int scan();

private:
    int labelLength() const;

    ProtocolMatcher* matcher;
    int fetched = 0; // bytes that LexerInput has handed over
};

class UsernameMatcherFlexer final : public UsernameMatcherFlexLexer {
public:
    // Requires: subjectOwner outlives the scanner.
    explicit UsernameMatcherFlexer(ProtocolMatcher* subjectOwner) : matcher(subjectOwner) {}

    int LexerInput(char* target, int maxSize) override;

    // Scans the subject from its start, adds a record for the whole name and returns the end state.
    int scan();

private:
    int atomEnd(int distance) const;
    int wordLength() const;

    ProtocolMatcher* matcher;
    int fetched = 0;
};

// Records of type 0 are the labels of a domain name, with no limit on their lengths.
class DomainnameMatcher final : public ProtocolMatcher {
public:
    DomainnameMatcher() : ProtocolMatcher(&labels, 1), labels(RECORD_ORDER), flexer(this) {}

    // 0 with the state NameStateFits, or -1 with NameStateRefused. The argument is not used.
    int match(void* argument) override;

private:
    RecordTable labels;
    DomainnameMatcherFlexer flexer;
};

// The one record, of type 0, is the whole user name.
class UsernameMatcher final : public ProtocolMatcher {
public:
    UsernameMatcher() : ProtocolMatcher(&names, 1), names(RECORD_ORDER), flexer(this) {}

    // 0 with the state NameStateFits, or -1 with NameStateRefused. The argument is not used.
    int match(void* argument) override;

private:
    RecordTable names;
    UsernameMatcherFlexer flexer;
};

#endif
