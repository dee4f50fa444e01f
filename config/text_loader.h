// TextLoader: reads the text configuration format into a tree of objects, checked against the
// schema.
//
//     Server {                            # a class name and an object
//         primaryDomain = localdomain
//         services = ( log processing )   # a set of values, or of choices
//         processing = { queuePath = "queue" }
//         log = { rules = ( { priority = 1 } { priority = 2 logLevel = 15 } ) }
//     }
//
// Newlines are blanks and an attribute ends where its value ends. Names of classes and attributes
// are matched without regard to case. Comments are "# to the end of the line" and "/* so */".
//
// Two levels of failure. An error stops the load: -1, and the thread's last error tells its kind. A
// warning costs one assignment, which has no effect; a strict loader takes it for an error. Both
// are told through Thread::log as "file(line:column): message", errors at level 3 and warnings at
// level 2. A value has at most 4095 bytes, and objects nest at least 27 deep; time is linear in
// the size of the input, and memory does not depend on it but for the objects made.
//
// Requires: Config::init. A loader belongs to one thread at a time, and loads any number of times.

#ifndef MORVEX_CONFIG_TEXT_LOADER_H
#define MORVEX_CONFIG_TEXT_LOADER_H

#include "common/stream/file.h"
#include "config/flex_lexer.h"
#include "config/object_marker.h"

#include <cstdint>

class Stream;

namespace HConfig {

class Attribute;
class Object;
class ObjectClass;

// Where a token begins: line and column as messages tell them. The column counts from 1 on the
// first line and from 0 on the others.
struct TokenLoc {
    int line = 1;
    int column = 1;
};

} // namespace HConfig

// The parser, made from config/text_grammar.y, and its two callbacks: the next token, and the
// parser's own complaints, which are dropped since the grammar's rules tell what is wrong.
// hcparse gives 0, -1 for an input that breaks the grammar or where an action failed, and 2 for
// one that nests deeper than the parser's fixed stack.
int hcparse(void* loader);
int hclex(int* value, HConfig::TokenLoc* location, void* loader);
int hcerror(const char* message);

namespace HConfig {

class TextLoader : public hcFlexLexer {
public:
    using TokenLoc = HConfig::TokenLoc;

    // A loader over a file, whose path is copied, or over an open stream, which stays the caller's.
    // With `expected` the input is expected to hold an object of that class: one that names
    // another class is told so as an error, and loads all the same. Null expects none in
    // particular. Requires: path and input are not null.
    TextLoader(const char* path, const ObjectClass* expected, bool strictMode);
    TextLoader(Stream* input, const ObjectClass* expected, bool strictMode);
    ~TextLoader() override;

    // Loads from what the constructor named, or from `input`. A null `object` is set to a new
    // object of the class that the input names, owned by the caller; another one is filled in
    // place and stays the caller's.
    //
    // 0; or -1 with the last error set: an object of the caller's then holds all assignments made
    // before the failure, and no defaults for what was not yet reached. An input that nests too
    // deep gives 2, and the object as far as it got.
    //
    // A file of the Server class that is missing is no failure: all its attributes then get their
    // defaults. Any failure to read the attributes of the file counts as missing; the caller to
    // whom that is not the same asks getAttributesError.
    //
    // An input of the Server class that can seek is read from its beginning, and has no line of
    // more than 2048 bytes, its line end included: one that has fails with HE_CFG_STATEMENT before
    // anything is assigned. Only the last line may be longer, if no line end follows. Any other
    // input is read from where it stands.
    //
    // A read that fails ends the load with its error, whatever was read up to there.
    int load(Object*& object);
    int load(Stream* input, Object*& object);

    // Why the attributes of the file could not be read in the last load from a path; 0 where they
    // could, before the first one, and with a stream.
    unsigned getAttributesError() const { return attributesError; }

    // The last message of the last load that tells a place, as it was told; an empty text if there
    // was none, and before the first load.
    const char* getErrorText() const { return errorText; }

protected:
    friend int ::hcparse(void* loader);
    friend int ::hclex(int* value, HConfig::TokenLoc* location, void* loader);

    int LexerInput(char* buffer, int maxSize) override;
    void LexerOutput(const char* text, int size) override;
    void LexerError(const char* message) override;
    int yylex() override;

    // Starts the scanner and the state of a load over, at the beginning of `input`.
    void restart(Stream* input);

    // The text of a token buffer, and its return to the free ones.
    const char* textOf(int buffer) const { return tokenBuffers[buffer]; }
    void release(int buffer);

    // Takes the first free token buffer for the present token. With `copyText` the text that was
    // collected in it stays and is terminated, and false is given, with nothing taken, where it is
    // too long for a token; without, the buffer is emptied. False also without a free buffer.
    bool scan(bool copyText);

    // Whether the current attribute takes content of that kind; warns if not.
    bool attrTypeCheck(unsigned kind, const TokenLoc& location);
    // Adds one member to the current value set or multiple choice; warns and gives false if that
    // is not possible.
    bool addValue(const char* text, const TokenLoc& location);
    // Open and close one member of the current object set. False if the member was not added.
    void beginAddObject(const TokenLoc& location);
    bool endAddObject(const TokenLoc& location);
    // The child of the current object, created if it is not there yet.
    Object* getChildObject(unsigned index);

    void pushContext(Object* object, bool owned);
    // Makes the enclosing context current again; the caller deletes the one that is given.
    struct Context;
    [[nodiscard]] Context* popContext();

    // Logs an error and sets the last error to `code`. The first form stores its location as that
    // of the last token; the second one uses that of the last token.
    void setError(unsigned code, const TokenLoc& location, const char* format, ...)
        __attribute__((format(printf, 4, 5)));
    void setError(unsigned code, const char* format, ...) __attribute__((format(printf, 3, 4)));
    // Logs a warning; in strict mode an error, and true is given.
    bool setWarning(const TokenLoc& location, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    void setInfo(const TokenLoc& location, const char* format, ...)
        __attribute__((format(printf, 3, 4)));

    // What the grammar's reductions do, named after what was read. False ends the load.
    bool onEnd();
    bool onMajorBegin(int name, const TokenLoc& location);
    bool onMajorEnd(const TokenLoc& location);
    bool onAttributeName(int name, const TokenLoc& location);
    void onAttributeEnd();
    bool onValue(int value, const TokenLoc& location);
    bool onObjectBegin(const TokenLoc& location);
    bool onObjectEnd(const TokenLoc& location);
    void onSetEnd();
    bool onEmptySet();
    bool onFirstMember(int value, const TokenLoc& location);
    bool onNextMember(int value, const TokenLoc& location);
    bool onFirstMemberBegin(const TokenLoc& location);
    void onNextMemberBegin(const TokenLoc& location);
    bool onMemberEnd(const TokenLoc& location);
    // The reports of what breaks the grammar.
    void failMajor();
    void failAttribute();
    void failAssignmentOf(int name);
    void failAssignment();

private:
    static constexpr int TOKEN_SIZE = 4096; // of a token buffer; a text is one byte shorter
    static constexpr int TOKEN_COUNT = 3;   // at most a name, a value and a lookahead at a time
    static constexpr int MESSAGE_SIZE = 256;
    static constexpr int MAX_NAME = 64; // an attribute name is shorter
    static constexpr int MAX_LINE = 2048;

    enum ScanState : std::uint8_t {
        SCAN_NORMAL,
        SCAN_LINE_COMMENT,
        SCAN_BLOCK_COMMENT,
        SCAN_STRING
    };

    File file;                      // for the path form; not open outside a load
    Stream* stream;                 // of the stream form, or null
    const ObjectClass* objectClass; // expected, or null
    const char* fileName = nullptr; // in messages; null outside a load
    Stream* inputStream = nullptr;  // being read during a load
    Object* rootObject = nullptr;
    Context* context = nullptr; // the current one; the enclosing ones hang on it
    int skipDepth = 0;          // blocks being read without effect
    std::uint8_t tokenValue = 0;
    std::uint8_t freeCount = 0;
    std::uint8_t freeBuffers[TOKEN_COUNT]; // the buffers that are free, first to be used first
    ScanState scanState = SCAN_NORMAL;
    char tokenBuffers[TOKEN_COUNT][TOKEN_SIZE];
    char* tokenText = nullptr;   // the buffer that the present token is collected in
    long long tokenLength = 0;   // of the text being collected; may exceed what its buffer keeps
    bool slashesPending = false; // taken, but part of no token yet
    int column = 1;              // of the next byte
    TokenLoc lastToken;
    char errorText[MESSAGE_SIZE];
    bool majorDone = false;
    bool readFailed = false;      // and ended the input for the scanner
    unsigned readError = 0;       // of that read
    unsigned attributesError = 0; // of the file's attributes, or 0
    const bool strict;

    int loadFile(Object*& object);
    int preScan();
    int readAhead(bool& whole);
    bool rewind();
    int checkLines(Stream& input);
    void failInput(unsigned code);
    void dropContexts();
    bool expectsServer() const;

    const Attribute* current() const;
    bool acceptName(const char* name, const TokenLoc& location);
    bool addChoice(const Attribute& attribute, const char* text, const TokenLoc& location);
    const char* contextClassName() const;
    void formatMessage(const TokenLoc& location, const char* format, __builtin_va_list arguments);

    // The scanner: each rule gives a token, or none.
    int scanNormal();
    int scanMark(int token);
    void skipNewlines();
    int scanWord();
    bool droppedSlashesBeginComment();
    int scanLineComment();
    int scanBlockComment();
    int beginString();
    int scanString();
    int scanStringPiece(int taken);
    int scanEscape();
    int scanStringNewlines();
    void storeLocation();
    void advance(long long count);
    void collect(const char* text, int size);
    long long collectRun(unsigned classes);
    long long skipRun(unsigned classes);
};

} // namespace HConfig

#endif
