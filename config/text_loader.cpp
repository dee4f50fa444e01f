// The life of a load: where the input comes from, the check of its lines, the parser's run and
// what is left of it; and the messages.

#include "config/text_loader.h"

#include "common/error.h"
#include "common/stream/memory_stream.h"
#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/text_loader_context.h"
#include "message/line_tokenizer.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>

namespace HConfig {

namespace {

constexpr int LOG_LEVEL_INFO = 1;
constexpr int LOG_LEVEL_WARNING = 2;
constexpr int LOG_LEVEL_ERROR = 3;

} // namespace

TextLoader::TextLoader(const char* path, const ObjectClass* expected, bool strictMode)
    : file(path), stream(nullptr), objectClass(expected), strict(strictMode) {
    errorText[0] = '\0';
}

TextLoader::TextLoader(Stream* input, const ObjectClass* expected, bool strictMode)
    : stream(input), objectClass(expected), strict(strictMode) {
    errorText[0] = '\0';
}

TextLoader::~TextLoader() {
    dropContexts();
}

bool TextLoader::expectsServer() const {
    return objectClass != nullptr && &objectClass->getDesc() == &CONFIG_DESC.classes[Server::ROW];
}

int TextLoader::load(Object*& object) {
    if (stream == nullptr) {
        return loadFile(object);
    }
    fileName = "(MemoryStream)";
    return load(stream, object);
}

int TextLoader::loadFile(Object*& object) {
    fileName = file.getName();
    lastToken = TokenLoc();
    if (expectsServer()) {
        Thread::log(LOG_LEVEL_INFO, "Reading configuration file '%s'", fileName);
    }

    int result = -1;
    const File::Attributes* attributes = file.getAttributes();
    attributesError = attributes == nullptr ? Thread::getLastError() : 0;
    if (attributes == nullptr && expectsServer()) {
        Thread::log(LOG_LEVEL_WARNING, "Configuration file '%s' does not exists, using defaults",
                    fileName);
        char emptyServer[] = "Server {}";
        MemoryStream defaults(emptyServer, sizeof(emptyServer) - 1);
        return load(&defaults, object);
    }
    if (attributes == nullptr) {
        setError(HE_NOENT, "File '%s' not found", fileName);
    } else if (!S_ISREG(attributes->mode & ~File::HiddenMark)) {
        setError(HE_NOENT, "File '%s' is not a regular file", fileName);
    } else if (file.open(O_RDONLY) < 0) {
        failInput(Thread::getLastError());
    } else {
        Thread::setLastError(0U);
        result = load(&file, object);
        const unsigned code = Thread::getLastError();
        file.close();
        Thread::setLastError(code);
    }
    fileName = nullptr;
    return result;
}

int TextLoader::load(Stream* input, Object*& object) {
    if (fileName == nullptr) {
        fileName = "(MemoryStream)";
    }
    const bool ownsRoot = object == nullptr;
    rootObject = object;
    restart(input);

    int result = preScan();
    if (result == 0) {
        result = hcparse(this);
    }
    dropContexts();
    freeCount = 0;

    if (readFailed) {
        failInput(readError);
        result = -1;
    }

    if (result != -1 && rootObject == nullptr) {
        setError(HE_NOENT, "No object found");
        result = -1;
    }
    if (result != -1) {
        object = rootObject;
    } else if (ownsRoot) {
        delete rootObject;
    }
    rootObject = nullptr;
    inputStream = nullptr;
    fileName = nullptr;
    return result;
}

void TextLoader::restart(Stream* input) {
    inputStream = input;
    yyrestart();
    scanState = SCAN_NORMAL;
    slashesPending = false;
    tokenLength = 0;
    skipDepth = 0;
    for (std::uint8_t i = 0; i < TOKEN_COUNT; i++) {
        freeBuffers[i] = i;
    }
    freeCount = TOKEN_COUNT;
    tokenValue = 0;
    column = 1;
    lastToken = TokenLoc();
    majorDone = false;
    readFailed = false;
    errorText[0] = '\0';
}

// Leaves an input that failed the check at its beginning.
int TextLoader::preScan() {
    if (!expectsServer() || inputStream->lseek(0, Stream::SeekStart) < 0) {
        return 0;
    }
    bool whole = false;
    int result = readAhead(whole);
    if (result == 0 && !whole) {
        result = rewind() ? checkLines(*inputStream) : -1;
        if (result == 0) {
            return rewind() ? 0 : -1;
        }
    }
    if (result != 0) {
        const unsigned code = Thread::getLastError();
        inputStream->lseek(0, Stream::SeekStart);
        Thread::setLastError(code);
    }
    return result;
}

bool TextLoader::rewind() {
    const bool moved = inputStream->lseek(0, Stream::SeekStart) >= 0;
    if (!moved) {
        failInput(Thread::getLastError());
    }
    return moved;
}

// An input that fits the scanner's window with its end is read once, for the check and for the
// scanner. -1 if it fails the check; of a longer one nothing is kept.
int TextLoader::readAhead(bool& whole) {
    int room = 0;
    char* const head = emptyWindow(room);
    int size = 0;
    int count = 1;
    while (size < room && (count = LexerInput(head + size, room - size)) > 0) {
        size += count;
    }
    whole = count <= 0;
    if (!whole) {
        return 0;
    }
    if (count < 0 || inputStream->getInputState() != Stream::StateEnd) {
        return -1;
    }
    holdInput(size);
    MemoryStream input(head, size);
    return checkLines(input);
}

// A server's file is edited by hand; a line that never ends tells that something else stands
// there. Only the last line may be long, since it may be all of a generated text.
int TextLoader::checkLines(Stream& input) {
    LineTokenizer lines(&input, 15, false);
    int line = 1;
    bool tooLong = false;
    for (;;) {
        int size = MAX_LINE;
        if (lines.readToken(size) == nullptr) {
            return -1;
        }
        const bool completed = lines.lastTokenCompleted();
        if (completed && tooLong) {
            Thread::log(LOG_LEVEL_ERROR,
                        "Line '%d' in file '%s' exceeds 2KB, loading configuration aborted.", line,
                        fileName);
            Thread::setLastError(HE_CFG_STATEMENT);
            return -1;
        }
        if (!completed && lines.getInputState() != Stream::StateGood) {
            return lines.getInputState() == Stream::StateEnd ? 0 : -1;
        }
        tooLong = !completed;
        line += completed ? 1 : 0;
    }
}

// To the scanner a read that fails is the end of the input; the load tells it from that.
int TextLoader::LexerInput(char* buffer, int maxSize) {
    const int count = inputStream->read(buffer, maxSize);
    if (count < 0) {
        readFailed = true;
        readError = Thread::getLastError();
    }
    return count;
}

// What no rule matches is dropped.
void TextLoader::LexerOutput(const char*, int) {
}

// The scanner has no complaints of its own: what it cannot read is a token that no rule accepts.
void TextLoader::LexerError(const char*) {
}

// ---- Contexts -----------------------------------------------------------------------------------

void TextLoader::pushContext(Object* object, bool owned) {
    context = new Context(object, context, owned);
}

TextLoader::Context* TextLoader::popContext() {
    Context* popped = context;
    context = popped->outer;
    return popped;
}

// What a failure left open. An object that was not yet given to its set goes with its context.
void TextLoader::dropContexts() {
    while (context != nullptr) {
        const Context* dropped = popContext();
        if (dropped->owned) {
            delete dropped->object;
        }
        delete dropped;
    }
}

// ---- Messages -----------------------------------------------------------------------------------

void TextLoader::formatMessage(const TokenLoc& location, const char* format, va_list arguments) {
    char message[MESSAGE_SIZE];
    std::vsnprintf(message, sizeof(message), format, arguments);
    const int used = std::snprintf(errorText, sizeof(errorText), "%s(%d:%d): ", fileName,
                                   location.line, location.column);
    if (used >= 0 && used < MESSAGE_SIZE) {
        std::snprintf(errorText + used, sizeof(errorText) - static_cast<unsigned>(used), "%s",
                      message);
    }
}

void TextLoader::setError(unsigned code, const TokenLoc& location, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    formatMessage(location, format, arguments);
    va_end(arguments);
    lastToken = location;
    Thread::log(LOG_LEVEL_ERROR, "%s", errorText);
    Thread::setLastError(code);
}

void TextLoader::setError(unsigned code, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    formatMessage(lastToken, format, arguments);
    va_end(arguments);
    Thread::log(LOG_LEVEL_ERROR, "%s", errorText);
    Thread::setLastError(code);
}

void TextLoader::failInput(unsigned code) {
    setError(code, "Cannot load configuration from '%s' (%s)", fileName,
             Thread::getErrorMessage(code));
}

bool TextLoader::setWarning(const TokenLoc& location, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    formatMessage(location, format, arguments);
    va_end(arguments);
    Thread::log(strict ? LOG_LEVEL_ERROR : LOG_LEVEL_WARNING, "%s", errorText);
    if (strict) {
        Thread::setLastError(HE_CFG_STATEMENT);
    }
    return strict;
}

void TextLoader::setInfo(const TokenLoc& location, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    formatMessage(location, format, arguments);
    va_end(arguments);
    Thread::log(LOG_LEVEL_INFO, "%s", errorText);
}

} // namespace HConfig
