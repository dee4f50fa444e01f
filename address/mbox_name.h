// Names and paths of mailbox folders in the modified UTF-7 of IMAP (RFC 3501, section 5.1.3).
// Printable ASCII stands for itself; "&", modified base64 of UTF-16BE text and "-" carry everything
// else, and "&-" stands for a single "&". The levels of a path are parted by "/".
//
// Free functions with no state; any thread may call them. They set no error.

#ifndef MORVEX_ADDRESS_MBOX_NAME_H
#define MORVEX_ADDRESS_MBOX_NAME_H

#include <string>

// Largest length of one level of a path, and of a whole path.
constexpr unsigned int MboxNameMaxLength = 10239;
constexpr unsigned int MboxPathMaxLength = 10240;

// Whether the `length` bytes at `name` are one level of a folder path: 1 to 10239 bytes, not blanks
// and tabs alone, none of them special, and every encoded run closed, not touching another one and
// accepted by checkBase64. `name` stays unchanged and need not be terminated.
bool checkMboxName(const char* name, unsigned int length);

// Whether each level of a path is a folder name. One "/" at the start and one at the end are passed
// over; "/" alone is a path, the empty text is none.
bool checkPathName(const std::string& path);

// Cuts "~user/mailbox" into its two parts; "~user" has an empty mailbox, and a path with no "~" an
// empty user. False, with nothing written, where a part is too long: 255 bytes for the user with
// its "~", 10240 for the mailbox.
// Requires: user has room for 256 bytes, mailbox for 10241, and path is not null.
bool splitMboxPath(const char* path, char* user, char* mailbox);

// The number of "/" that each end a piece of at least one byte: 1 for "a/b" and "/a/b", 2 for
// "a/b/". Requires: path is not null.
int getPathDepth(const char* path);

// The steps of checkMboxName: whether a byte may never stand in a name (a double quote, "%", "*",
// "~", and all that is not printable ASCII); whether a character may stand plain and so must not be
// encoded; and whether base64 text, in the standard alphabet and without padding, is UTF-16BE text
// of characters that all need the encoding.
bool isSpecial(char byte);
bool isEncodedValid(unsigned char byte);
bool checkBase64(const char* text, unsigned int length);

#endif
