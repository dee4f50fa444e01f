// The scanners of domain names and user names.

#include "address/name_matchers.h"

#include "common/thread/string_pool.h"

#include <algorithm>
#include <cstring>

namespace {

bool isLetterOrDigit(int byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z');
}

// The atext of RFC 2822 without "+".
bool isAtomByte(int byte) {
    return isLetterOrDigit(byte) ||
           (byte > 0 && std::strchr("!#$%&'*-/=?^_`{|}~", byte) != nullptr);
}

int copySubject(const ProtocolMatcher& matcher, int& fetched, char* target, int maxSize) {
    const int size = std::min(maxSize, matcher.getSubjectLength() - fetched);
    if (size <= 0) {
        return 0;
    }
    std::memcpy(target, matcher.getSubject() + fetched, static_cast<std::size_t>(size));
    fetched += size;
    return size;
}

} // namespace

NameFlexLexer::~NameFlexLexer() {
    releaseString(buffer);
}

void NameFlexLexer::restart(int subjectLength) {
    buffer = reallocString(buffer, std::max(subjectLength, 1));
    length = 0;
    position = 0;
    while (const int size = LexerInput(buffer + length, subjectLength - length)) {
        length += size;
    }
}

int DomainnameMatcherFlexer::LexerInput(char* target, int maxSize) {
    return copySubject(*matcher, fetched, target, maxSize);
}

// The length of the label at the position, 0 for none. It ends with the run's last letter or digit:
// hyphens behind that are left for the caller to refuse.
int DomainnameMatcherFlexer::labelLength() const {
    int labelEnd = 0;
    for (int i = 0; isLetterOrDigit(peek(i)) || (i > 0 && peek(i) == '-'); ++i) {
        if (peek(i) != '-') {
            labelEnd = i + 1;
        }
    }
    return labelEnd;
}

int DomainnameMatcherFlexer::scan() {
    fetched = 0;
    restart(matcher->getSubjectLength());
    for (;; ++position) {
        const int size = labelLength();
        if (size == 0) {
            return NameStateRefused;
        }
        matcher->addRecord(0, position, size);
        position += size;
        if (atEnd()) {
            return NameStateFits;
        }
        if (peek(0) != '.') {
            return NameStateRefused;
        }
    }
}

int UsernameMatcherFlexer::LexerInput(char* target, int maxSize) {
    return copySubject(*matcher, fetched, target, maxSize);
}

// Where the atom at a distance from the position ends; the same distance for no atom.
int UsernameMatcherFlexer::atomEnd(int distance) const {
    for (;;) {
        if (isAtomByte(peek(distance))) {
            ++distance;
        } else if (peek(distance) == '\\' && peek(distance + 1) != '\n' &&
                   peek(distance + 1) != -1) {
            distance += 2;
        } else {
            return distance;
        }
    }
}

// The length of the longest run of atoms joined by single dots, 0 for none.
int UsernameMatcherFlexer::wordLength() const {
    int end = atomEnd(0);
    if (end == 0) {
        return 0;
    }
    while (peek(end) == '.') {
        const int next = atomEnd(end + 1);
        if (next == end + 1) {
            break;
        }
        end = next;
    }
    return end;
}

int UsernameMatcherFlexer::scan() {
    fetched = 0;
    restart(matcher->getSubjectLength());
    const int size = wordLength();
    if (size == 0) {
        return NameStateRefused;
    }
    matcher->addRecord(0, position, size);
    position += size;
    return atEnd() ? NameStateFits : NameStateRefused;
}

int DomainnameMatcher::match(void* /*argument*/) {
    clearRecords();
    state = flexer.scan();
    return state == NameStateFits ? 0 : -1;
}

int UsernameMatcher::match(void* /*argument*/) {
    clearRecords();
    state = flexer.scan();
    return state == NameStateFits ? 0 : -1;
}
