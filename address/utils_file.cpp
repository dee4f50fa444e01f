// Utils: template files; and message ids.

#include "address/utils.h"
#include "common/error.h"
#include "common/stream/file.h"
#include "common/thread/thread.h"

#include <fcntl.h>
#include <sys/time.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

Stream* Utils::openTemplateFile(const char* name, const char* language) {
    constexpr std::size_t LanguageSize = 32;
    constexpr std::size_t PathSize = 1025;
    if (name == nullptr) {
        Thread::setLastError(HE_INVAL);
        return nullptr;
    }
    if (std::strpbrk(name, "/\\") != nullptr) {
        Thread::setLastError(EACCES);
        return nullptr;
    }
    char folder[LanguageSize];
    const char* given = language != nullptr ? language : "default";
    const std::size_t length = strnlen(given, LanguageSize);
    if (length == LanguageSize) {
        Thread::setLastError(HE_INVAL);
        return nullptr;
    }
    std::memcpy(folder, given, length + 1);
    stringToLower(folder);
    char path[PathSize];
    if (std::snprintf(path, sizeof path, "templates%c%s%c%s", '/', folder, '/', name) >=
        static_cast<int>(PathSize)) {
        Thread::setLastError(HE_NAMETOOLONG);
        return nullptr;
    }
    std::string absolute;
    const char* fullPath = Thread::getWorkingPath(path, absolute);
    if (fullPath == nullptr) {
        return nullptr;
    }
    File* file = new File(fullPath);
    if (file->open(O_RDONLY) != 0) {
        const unsigned code = Thread::getLastError();
        Stream::release(file);
        Thread::setLastError(code);
        return nullptr;
    }
    Thread::setLastError(0U);
    return file;
}

char* generateMessageID(const char* domain) {
    const std::size_t size = std::strlen(domain) + 50;
    char* id = new char[size];
    timeval now;
    gettimeofday(&now, nullptr);
    const unsigned long long number = static_cast<unsigned long long>(now.tv_sec) * 1000000000 +
                                      static_cast<unsigned long long>(now.tv_usec) * 1000 + 500;
    std::snprintf(id, size, "<%llu@%s>", number, domain);
    return id;
}
