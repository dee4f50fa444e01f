// A message read from a stream: its header block as a list of fields that can be looked at and
// changed, and its body, which is never held in memory but passed through from the input to an
// output. So a message can be written once.
//
// A MailMsg owns its fields. What getHeaderField and getHeaderValue give is good until that field
// is changed or deleted. Not for use by two threads at once. Failure is by result; no text makes
// readHeaders fail.

#ifndef MORVEX_MESSAGE_MAIL_MSG_H
#define MORVEX_MESSAGE_MAIL_MSG_H

#include "message/folded_line_tokenizer.h"
#include "message/header_field.h"

#include <strings.h>

#include <list>

class StagedOutput;
class Stream;

// Names of fields compare without regard to case. An index counts the fields of a name from 0 on;
// a negative one finds nothing. Requires: a name to look for is not null.
class MailMsg {
public:
    // readHeaders takes no more fields than this; the rest of the block then counts as body.
    static constexpr int MAX_FIELDS = 4096;

    // A message with no input and no fields.
    MailMsg();

    // A message on an input stream; it takes a reference of its own. dotEndsInput: a line of a
    // lone "." ends the input. tokenizerFlags is the flag word of FoldedLineTokenizer, for the
    // header lines; 1686 joins folded lines and ends lines at LF and CR LF.
    MailMsg(Stream* input, bool dotEndsInput, int tokenizerFlags);

    // A message with no input and with copies of the other's fields, flags and offset.
    MailMsg(MailMsg& other);

    MailMsg& operator=(const MailMsg&) = delete;
    ~MailMsg();

    // Reads the header block, up to and with the empty line behind it, a lone dot, the end of the
    // input, or the last field that it takes. Lines without a colon, and what follows the first
    // 256 KiB of a line, are dropped. Returns 0, or -1 if the reader fails to give data that it
    // had offered. The argument does not matter.
    int readHeaders(bool);

    // The field, its value or its separator; null if there is none.
    HeaderField* getHeaderField(const char* name, int index);
    const char* getHeaderValue(const char* name, int index);
    const char* getHeaderSeparator(const char* name, int index);

    // Hands the value of each field of that name to `take`, in order, until that gives false. A
    // walk by index would look at the fields before it anew for each.
    // Requires: `take` leaves the fields alone.
    template <class Take> void forEachValue(const char* name, Take take) const {
        for (const HeaderField* field : fields) {
            if (::strcasecmp(field->getName(), name) == 0 && !take(field->getValue())) {
                return;
            }
        }
    }

    // The index-th field whose name begins with "Content-", or null.
    HeaderField* getMimeHeader(int index) const;

    // How many fields have that name.
    int countHeaderField(const char* name);

    // A new field at the head or at the end of the list. appendHeaderField with a null name does
    // nothing. Requires: the texts are zero-terminated and else not null.
    void insertHeaderField(const char* name, const char* value);
    void appendHeaderField(const char* name, const char* value);

    // Replaces name and value of a field in its place; 0, or -1 if there is no such field.
    int modifyHeaderField(const char* newName, const char* newValue, const char* name, int index);

    // Removes a field; 0, or -1 if there is none.
    int deleteHeaderField(const char* name, int index);

    // Removes every field of that name.
    void deleteHeaderFields(const char* name);

    // Put text behind or in front of a field's value; 0, or -1 for a null text or no such field.
    int appendToHeaderField(const char* text, const char* name, int index);
    int insertToHeaderField(const char* text, const char* name, int index);

    // Remove every field whose name begins with "Content-"; remove all fields.
    void deleteMimeFields();
    void deleteHeaderFields();

    // True if there is no Content-Type, or it begins with "text/plain".
    bool isTextPlain();
    // True if there is no Content-Transfer-Encoding, or it does not begin with "base64".
    bool isNotBase64();

    // Makes writeHeaders write long fields in one piece.
    void disableOutputFolding();

    // Writes the fields, those of more than 78 characters folded at blanks, and the empty line
    // where the input had one. 0, or -1 if the output failed; what was written stays written.
    int writeHeaders(Stream& output);

    // Passes the rest of the input to the output, which is not flushed; 0, or -1 if the output
    // failed. With normalize true, or where a lone dot ends the input, each LF, CR LF and NUL is
    // written as CR LF, and a last line without a line end stays without one; otherwise the bytes
    // go through as they are. No dot is taken from a line that begins with one. An input that
    // fails ends the body like its end does: the input stream's state tells.
    int writeBody(Stream& output, bool normalize);

    // writeHeaders, then writeBody; -1 if either fails.
    int writeAll(Stream& output, bool normalize);

    // True once the input is finished: a lone dot was met, or the stream has ended.
    bool isInputEnded() const { return inputEnded; }
    bool hasBlankLineAfterHeaders() const { return blankLineAfterHeaders; }

    // The input's position behind the header block; 0 before that is known, -1 for an input that
    // has no position.
    long long getBodyOffset() const { return bodyOffset; }

private:
    using Fields = std::list<HeaderField*>;

    Fields::iterator findField(const char* name, int index);
    template <class Matches> void deleteIf(Matches matches);
    int addFieldOf(const char* token, int size);
    bool passHeaders(StagedOutput& out);
    bool passBody(StagedOutput& out);

    bool dotEndsInput;
    FoldedLineTokenizer tokenizer;
    bool inputEnded;
    bool blankLineAfterHeaders;
    long long bodyOffset;
    Fields fields;
    bool outputFoldingDisabled;
};

#endif
