// Domain names as they may be stored: labels of ASCII letters, digits and inner hyphens, joined by
// single dots, a label of at most 63 bytes and a name of at most 255. Stricter than the address
// grammars, which read what others send: no underscore, no 8-bit byte, no trailing dot. One LF
// directly behind a label ends the name, and nothing behind it is read.
//
// The checks hold all their state on the stack and may be called from any thread. A Domainname is
// fixed once built and serves one thread at a time, since getPart writes to a buffer of the object.
// Nothing here throws or sets an error for a bad text.

#ifndef MORVEX_ADDRESS_DOMAINNAME_H
#define MORVEX_ADDRESS_DOMAINNAME_H

#include <cstddef>

class DomainnameMatcher;

class Domainname {
public:
    static constexpr int MaxLabelLength = 63;
    static constexpr int MaxLength = 255;
    static constexpr int MaxParts = 128;

    // Whether the text is a domain name. Null is none.
    static bool isDomainname(const char* text);

    // The same with a matcher of the caller's, whose records are the labels afterwards. The matcher
    // refers to the text and does not copy it. Requires: matcher is not null.
    static bool match(DomainnameMatcher* matcher, const char* text);

    // Whether `name` ends in "." and `parent`, byte for byte, case included; for equal texts the
    // result is allowEqual. Requires: neither is null.
    static bool isSubdomain(const char* parent, const char* name, bool allowEqual);

    // A value of a text, of parts to be joined by dots (1 to 128, each a domain name of at most 63
    // bytes), or of another's labels from `index` on. A text or parts that make no domain name
    // give an invalid value, whose name is null and which holds no label.
    // Requires: parts holds `count` texts; other is valid and index one of its labels.
    explicit Domainname(const char* text);
    Domainname(const char** parts, int count);
    Domainname(Domainname* other, int index);
    Domainname(const Domainname&) = delete;
    Domainname& operator=(const Domainname&) = delete;
    ~Domainname();

    // The whole text, null for an invalid value; and the number of labels.
    const char* getName() const { return name; }
    int getPartCount() const { return partCount; }

    // The name from label `index` to its end, a pointer into the name; null out of range.
    const char* getSubdomainname(int index) const;

    // Label `index` alone; good until the next call. Null out of range.
    const char* getPart(int index) const;

    // A new value of the labels from `index` on, for the caller to delete; null out of range, and
    // for the last label, which alone is never a subdomain.
    Domainname* subdomainname(int index);

private:
    static void addOffsets(const DomainnameMatcher& matcher, std::size_t base,
                           unsigned char* offsets, int& used);
    void store(const char* text, std::size_t length, const unsigned char* offsets, int count);

    char* name;                 // owned, or null
    unsigned char partCount;    // number of labels
    unsigned char* partOffsets; // owned; offset of each label in name; null for no labels
    mutable char* partBuffer;   // owned; 64 bytes, made by the first getPart
};

#endif
