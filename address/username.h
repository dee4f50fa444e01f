// User names (the local part of a mail address) as they may be stored: atoms joined by single dots,
// an atom being a run of atom characters and of quoted pairs (a backslash and any byte but LF).
// Stricter than RFC 2822: no quoted strings, no blank, and "+" only behind a backslash, since the
// server cuts a local part at it. One LF directly behind the name ends it, and nothing behind it is
// read.
//
// The checks hold all their state on the stack and may be called from any thread. Nothing here
// throws or sets an error for a bad text.

#ifndef MORVEX_ADDRESS_USERNAME_H
#define MORVEX_ADDRESS_USERNAME_H

class UsernameMatcher;

class Username {
public:
    static constexpr unsigned MaxLength = 256;

    // Whether the text is a user name of at most maxLength bytes. Null is none.
    static bool isUsername(const char* text, unsigned int maxLength);

    // The same with a matcher of the caller's, whose one record is the name afterwards. The matcher
    // refers to the text and does not copy it. Requires: matcher is not null.
    static bool match(UsernameMatcher* matcher, const char* text, unsigned int maxLength);

    // A value of a text of at most 256 bytes; one that is no user name gives an invalid value,
    // whose name is null.
    explicit Username(const char* text);
    Username(const Username&) = delete;
    Username& operator=(const Username&) = delete;
    ~Username();

    // The text, null for an invalid value.
    const char* getName() const { return name; }

private:
    char* name; // owned, or null
};

#endif
