// The tree as text. How the text gets in the place of a file stands in text_saver_file.cpp.

#include "config/text_saver.h"

#include "common/error.h"
#include "common/stream/buffered_writer.h"
#include "common/thread/thread.h"
#include "config/binary_string.h"
#include "config/object.h"

#include <algorithm>
#include <cstring>

namespace HConfig {

namespace {

constexpr int WRITE_SIZE = 65536; // what goes to the output at once
constexpr int LF_END = 2;

class ReadLock {
public:
    explicit ReadLock(const Object& locked) : object(locked) { object.readLock(-1); }
    ~ReadLock() { object.readUnlock(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

private:
    const Object& object;
};

bool isText(const Attribute& attribute) {
    return attribute.isOfType(TYPE_STRING) || attribute.isOfType(TYPE_CS_STRING);
}

// Types whose text is no bare word and has no quotes of its own.
bool isQuoted(const Attribute& attribute) {
    return isText(attribute) || attribute.isOfType(TYPE_BINARY_STRING);
}

// Whether a quoted value of a file can hold the character at `at`.
bool isHoldable(const char* at) {
    const auto byte = static_cast<unsigned char>(*at);
    return byte == '\t' || byte == '\n' || (byte == '\r' && at[1] == '\n') ||
           (byte >= 0x20 && byte != 0x7F);
}

bool isAllHoldable(const char* text) {
    while (*text != '\0' && isHoldable(text)) {
        ++text;
    }
    return *text == '\0';
}

std::string holdablePart(const char* text) {
    std::string part;
    for (; *text != '\0'; ++text) {
        if (isHoldable(text)) {
            part += *text;
        }
    }
    return part;
}

int failed(int written) {
    return written < 0 ? -1 : 0;
}

} // namespace

TextSaver::TextSaver(Stream* output, Object* object)
    : stream(output), root(object), backupCount(0) {
    std::memset(indent, ' ', sizeof indent);
    setIndent(0);
}

int TextSaver::save() {
    if (root == nullptr || (stream == nullptr && getName() == nullptr)) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    return stream != nullptr ? save(stream, "(MemoryStream)") : saveFile();
}

int TextSaver::save(Stream* output, const char*) {
    if (root == nullptr) {
        Thread::setLastError(HE_INVAL);
        return -1;
    }
    setIndent(0);
    unsigned code = 0;
    int result = -1;
    {
        BufferedWriterImpl writer(output, WRITE_SIZE);
        result = failed(writer.writeFormat("%s ", root->getObjectClass()->getItemName()));
        if (result == 0) {
            result = objectDump(&writer, root, 0, true);
        }
        if (result == 0) {
            result = writer.flush();
        }
        code = Thread::getLastError();
        if (result != 0) {
            writer.resetComposableStream(); // or its end would write on
        }
    }
    setIndent(0);
    if (result != 0) {
        Thread::setLastError(code);
    }
    return result;
}

void TextSaver::setIndent(unsigned level) {
    indent[indentLength] = ' ';
    indentLength = indentStep * level;
    indent[indentLength] = '\0';
}

// ---- Objects ------------------------------------------------------------------------------------

int TextSaver::objectDump(Stream* output, const Object* object, unsigned level, bool firstLine) {
    if (level > INDENT_SIZE / indentStep) {
        Thread::setLastError(HE_CFG_INVALID_OBJECT);
        return -1;
    }
    setIndent(level);
    if ((firstLine ? output->writeLine(LF_END, "{") : output->writeFormat("%s{\n", indent)) < 0 ||
        attributesDump(output, object, level) != 0) {
        return -1;
    }
    return failed(output->writeFormat("%s}\n", indent));
}

int TextSaver::attributesDump(Stream* output, const Object* object, unsigned level) {
    const ReadLock lock(*object);
    const ObjectClass* objectClass = object->getObjectClass();
    for (const Attribute* attribute = objectClass->attributesBegin();
         attribute != objectClass->attributesEnd(); ++attribute) {
        if (isSaved(*attribute) && attributeDump(output, object, *attribute, level) != 0) {
            return -1;
        }
    }
    return 0;
}

bool TextSaver::isSaved(const Attribute& attribute) const {
    return !attribute.hasFlag(FLAG_NOT_SAVED | (saveInternal ? 0U : FLAG_INTERNAL) |
                              (saveOwnLife ? 0U : FLAG_OWN_LIFE));
}

int TextSaver::attributeDump(Stream* output, const Object* object, const Attribute& attribute,
                             unsigned level) {
    shown = object;
    switch (attribute.getKind()) {
    case KIND_VALUE:
        return valueDump(output, attribute, object->getValue(attribute.getIndex()));
    case KIND_OBJECT: {
        const Object* child = object->getChildObject(attribute.getIndex());
        if (child == nullptr) {
            return 0;
        }
        if (output->writeFormat("%s%s%s = ", indent, indentUnit, attribute.getItemName()) < 0) {
            return -1;
        }
        return memberDump(output, child, level + 1, true, level);
    }
    case KIND_VALUE_SET:
        return valueSetDump(output, object, attribute);
    case KIND_OBJECT_SET:
        return objectSetDump(output, object, attribute, level);
    }
    return 0;
}

int TextSaver::objectSetDump(Stream* output, const Object* object, const Attribute& attribute,
                             unsigned level) {
    if (object->getObjectCount(attribute.getIndex()) == 0) {
        return failed(
            output->writeFormat("%s%s%s = ()\n", indent, indentUnit, attribute.getItemName()));
    }
    if (output->writeFormat("%s%s%s = (\n", indent, indentUnit, attribute.getItemName()) < 0) {
        return -1;
    }
    ObjectIterator members;
    object->getObjectIterator(attribute.getIndex(), members);
    while (const Object* member = members.next()) {
        if (memberDump(output, member, level + 2, false, level) != 0) {
            return -1;
        }
    }
    return failed(output->writeFormat("%s%s)\n", indent, indentUnit));
}

// Writes what an object of `ownLevel` holds at `level`.
int TextSaver::memberDump(Stream* output, const Object* object, unsigned level, bool firstLine,
                          unsigned ownLevel) {
    const int result = objectDump(output, object, level, firstLine);
    setIndent(ownLevel);
    return result;
}

// ---- Values -------------------------------------------------------------------------------------

int TextSaver::valueDump(Stream* output, const Attribute& attribute, const Value& value) {
    const char* key = attribute.getItemName();
    const auto lineStart =
        static_cast<unsigned>(indentLength + indentStep + std::strlen(key) + std::strlen(" = \""));
    char text[VALUE_SIZE];
    if (!valueText(attribute, value, lineStart, text)) {
        return 0;
    }
    return failed(isQuoted(attribute)
                      ? output->writeFormat("%s%s%s = \"%s\"\n", indent, indentUnit, key, text)
                      : output->writeFormat("%s%s%s = %s\n", indent, indentUnit, key, text));
}

int TextSaver::valueSetDump(Stream* output, const Object* object, const Attribute& attribute) {
    const char* key = attribute.getItemName();
    if (object->getValueCount(attribute.getIndex()) == 0) {
        return failed(output->writeFormat("%s%s%s = ()\n", indent, indentUnit, key));
    }
    if (output->writeFormat("%s%s%s = (\n", indent, indentUnit, key) < 0) {
        return -1;
    }
    const unsigned lineStart = indentLength + 2 * indentStep + 1;
    ValueIterator values;
    object->getValueIterator(attribute.getIndex(), values);
    while (const Value* value = values.next()) {
        char text[VALUE_SIZE];
        if (!valueText(attribute, *value, lineStart, text)) {
            continue;
        }
        if ((isQuoted(attribute)
                 ? output->writeFormat("%s%s%s\"%s\"\n", indent, indentUnit, indentUnit, text)
                 : output->writeFormat("%s%s%s%s\n", indent, indentUnit, indentUnit, text)) < 0) {
            return -1;
        }
    }
    return failed(output->writeFormat("%s%s)\n\n", indent, indentUnit));
}

// The text that a file holds for a value behind the first `lineStart` bytes of its line. False
// where there is none.
bool TextSaver::valueText(const Attribute& attribute, const Value& value, unsigned lineStart,
                          char* text) {
    text[0] = '\0';
    std::string cleaned;
    Value written = value;
    bool isWhole = true;
    if (isText(attribute) && !value.isEmpty() && !isAllHoldable(value.asText())) {
        cleaned = holdablePart(value.asText());
        written = Value(static_cast<const void*>(cleaned.c_str()));
        isWhole = false;
    }
    if (attribute.getHandler().opToString(written, text, VALUE_SIZE, &attribute, true) < 0) {
        isWhole = false;
    }
    if (!isQuoted(attribute)) {
        isWhole &= text[0] != '\0';
    } else if (hasLongLine(text, lineStart)) {
        text[0] = '\0';
        isWhole = false;
    }
    if (attribute.isOfType(TYPE_BINARY_STRING) && !value.isEmpty()) {
        isWhole &= text[0] != '\0' || value.as<BinaryString>()->getSize() == 0;
    }
    if (!isWhole) {
        complain(attribute);
    }
    return isQuoted(attribute) || text[0] != '\0';
}

bool TextSaver::hasLongLine(const char* text, unsigned lineStart) const {
    if (longestLine == 0) {
        return false;
    }
    std::size_t before = lineStart;
    for (;;) {
        const std::size_t length = std::strcspn(text, "\n");
        const bool isLast = text[length] == '\0';
        if (before + length + (isLast ? std::strlen("\"\n") : std::strlen("\n")) > longestLine) {
            return true;
        }
        if (isLast) {
            return false;
        }
        text += length + 1;
        before = 0;
    }
}

void TextSaver::complain(const Attribute& attribute) const {
    Thread::log(2, "Attribute '%s' of a '%s' object has a value that a file cannot hold as it is",
                attribute.getItemName(), shown->getObjectClass()->getItemName());
}

} // namespace HConfig
