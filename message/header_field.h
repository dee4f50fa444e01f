// One header of a message, and two helpers for header text.
//
// A field keeps its name, its value and the separator that stood between them in one block, so
// that it costs one allocation and goes out exactly as it came in. Not for use by two threads at
// once. Failure to allocate throws std::bad_alloc; nothing else here can fail.

#ifndef MORVEX_MESSAGE_HEADER_FIELD_H
#define MORVEX_MESSAGE_HEADER_FIELD_H

// A name, a value and a separator. The separator is the text from the colon up to the first
// character of the value; a field line on output is name, separator, value. All three texts can be
// used as zero-terminated strings, as long as they hold no NUL byte themselves.
class HeaderField {
public:
    // A field with the separator ": ". Requires: name and value are zero-terminated.
    HeaderField(const char* name, const char* value);

    // Copies exactly the lengths given, so the arguments may point into a line buffer.
    // Requires: no length is negative.
    HeaderField(const char* name, int nameSize, const char* value, int valueSize,
                const char* separator, int separatorLength);

    // With deep true, a field with a block of its own. With deep false, a field that shows the
    // block of other: it must not outlive other nor be read after other was changed, and it never
    // frees that block. A change to such a field gives it a block of its own and leaves other as
    // it is.
    HeaderField(const HeaderField& other, bool deep);

    HeaderField(const HeaderField&) = delete;
    HeaderField& operator=(const HeaderField&) = delete;
    ~HeaderField();

    const char* getName() const { return text; }
    const char* getValue() const { return text + nameLength + 1; }
    const char* getSeparator() const { return text + nameLength + 1 + valueLength + 1; }
    int getNameLength() const { return nameLength; }
    int getValueLength() const { return valueLength; }

    // Replaces the value; name and separator stay. The value may be part of this field's own
    // block. Requires: value is zero-terminated.
    void changeValue(const char* value);

    // Replaces name and value; the separator becomes ": ". Either may be part of this field's own
    // block. Requires: both are zero-terminated.
    void changeHeader(const char* name, const char* value);

    // Does nothing: the place where a dump of a message visits a field.
    void print();

private:
    void replaceText(const char* name, int newNameLength, const char* value, int newValueLength,
                     const char* separator, int separatorLength);

    char* text;      // name, value, separator, a zero byte behind each; array new
    int nameLength;  // bytes of the name, without its zero byte
    int valueLength; // bytes of the value, without its zero byte
    bool ownsText;   // false in a field that shows another's block
};

// Joins first and the strings behind it, up to a null pointer but at most ten of those, into a new
// array for the caller to free with array delete, and stores it in out. What out held before is
// not freed. A null first counts as empty. Returns 0.
// Requires: the strings end in a null pointer.
int hstrmappend(char*& out, const char* first, ...) __attribute__((sentinel));

// A copy of a header value without its comments (RFC 2822, 3.2.3), for the caller to free with
// array delete; null for a null value. A run of blanks outside quotes shrinks to its first one, an
// unclosed comment runs to the end, and a backslash stays in the text.
char* hstrdupNoComments(const char* value);

#endif
