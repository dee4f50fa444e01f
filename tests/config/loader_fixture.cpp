#include "tests/config/loader_fixture.h"

#include "common/stream/memory_stream.h"
#include "common/thread/thread.h"
#include "config/text_loader.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

using namespace HConfig;

namespace {

std::vector<std::string> logLines;

__attribute__((format(printf, 2, 3))) void keepLine(int level, const char* format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    logLines.push_back(std::to_string(level) + " " + line);
}

decltype(Thread::log) silentLog = nullptr;

std::string showKey(const Object& object) {
    std::string text;
    const ObjectClass& objectClass = *object.getObjectClass();
    for (unsigned i = 0; i < objectClass.getKeyCount(); i++) {
        text += (i > 0 ? "," : "") + showAttribute(object, *objectClass.getKeyAttribute(i));
    }
    return text;
}

} // namespace

std::string showAttribute(const Object& object, const Attribute& attribute) {
    const unsigned index = attribute.getIndex();
    char buffer[8192];
    switch (attribute.getKind()) {
    case KIND_VALUE:
        return object.getStringValue(index, buffer, sizeof(buffer)) < 0 ? "?" : buffer;
    case KIND_OBJECT:
        return object.getChildObject(index) != nullptr ? "{}" : "-";
    case KIND_VALUE_SET: {
        StringResult strings;
        object.listStringValues(index, strings);
        std::string text = "(";
        for (int i = 0; i < strings.size(); i++) {
            text += (i > 0 ? " " : "") + std::string(strings.get(i));
        }
        return text + ")";
    }
    case KIND_OBJECT_SET: {
        ObjectResult members;
        object.listObjects(index, members);
        std::string text = "(";
        for (int i = 0; i < members.size(); i++) {
            text += (i > 0 ? " " : "") + showKey(*members.get(i));
        }
        return text + ")";
    }
    }
    return "?";
}

void LoaderTest::SetUp() {
    initConfig();
    silentLog = Thread::log;
    Thread::log = keepLine;
    logLines.clear();
}

void LoaderTest::initConfig() {
    Config::init();
}

void LoaderTest::TearDown() {
    loaded.reset();
    Thread::log = silentLog;
    Config::destroy();
}

std::vector<std::string> LoaderTest::takeLog() {
    return std::exchange(logLines, {});
}

unsigned LoaderTest::errorOf(int result) {
    EXPECT_EQ(-1, result);
    return Thread::getLastError();
}

int LoaderTest::load(std::string text, const char* className, bool strict, Object* root) {
    MemoryStream input(text.data(), static_cast<long long>(text.size()));
    const ObjectClass* expected =
        className != nullptr ? Config::theConfig->findClass(className) : nullptr;
    TextLoader loader(&input, expected, strict);
    Object* object = root;
    const int result = loader.load(object);
    if (root == nullptr) {
        loaded.reset(object);
    }
    return result;
}

std::string LoaderTest::show(const std::string& path) const {
    const Object* object = loaded.get();
    std::size_t begin = 0;
    while (object != nullptr) {
        const std::size_t dot = path.find('.', begin);
        const std::string name = path.substr(begin, dot - begin);
        const Attribute* attribute = object->getObjectClass()->findAttribute(name.c_str());
        if (attribute == nullptr) {
            return "no attribute " + name;
        }
        if (dot == std::string::npos) {
            return showAttribute(*object, *attribute);
        }
        object = object->getChildObject(attribute->getIndex());
        begin = dot + 1;
    }
    return "-";
}
