#include "submit/settings.h"

#include "common/error.h"
#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/text_loader.h"
#include "submit/get_args.h"
#include "submit/report.h"
#include "submit/state.h"

#include <sysexits.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// Attribute indexes of the classes `Server` and `ProcessingService`.
constexpr unsigned SERVER_PRIMARY_DOMAIN = 7;
constexpr unsigned SERVER_PROCESSING = 18;
constexpr unsigned PROCESSING_QUEUE_PATH = 6;
constexpr unsigned PROCESSING_QUEUE_ENTRY_COUNT = 7;

using Text = std::unique_ptr<char[]>;

bool isAbsolute(const char* path) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return path[0] == '/' || (isLetter(path[0]) && path[1] == ':');
}

// A copy of a text; null for null.
Text copyOf(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(text) + 1;
    Text copy(new char[size]);
    std::memcpy(copy.get(), text, size);
    return copy;
}

// A copy of `path` as it stands if it is absolute, otherwise behind the directory and a slash.
Text composePath(const char* directory, const char* path) {
    if (path == nullptr || isAbsolute(path)) {
        return copyOf(path);
    }
    const std::size_t size = std::strlen(directory) + 1 + std::strlen(path) + 1;
    Text composed(new char[size]);
    std::snprintf(composed.get(), size, "%s%c%s", directory, '/', path);
    return composed;
}

// The child that holds the queue's settings; null without one of the right class.
const HConfig::Object* processingOf(const HConfig::Server& server) {
    const HConfig::Object* child = server.getChildObject(SERVER_PROCESSING);
    if (child == nullptr) {
        return nullptr;
    }
    return static_cast<const HConfig::Object*>(
        child->doCastInternal(HConfig::ProcService::getCastableClassId()));
}

// A file that is there but cannot be looked at is not missing: what it says is not the defaults.
bool isMissing(unsigned error) {
    return error == HE_NOENT || error == HE_NOTDIR;
}

} // namespace

int loadConfig(GetArgs* args) {
    const char* directory = args->getVal('W', nullptr, 0);
    const Text path = composePath(directory, args->getVal('C', nullptr, 0));

    HConfig::TextLoader loader(path.get(),
                               HConfig::Config::theConfig->getClass(HConfig::Server::ROW), false);
    HConfig::Server server;
    server.doInit(false, true);
    HConfig::Object* root = &server;
    int result = loader.load(root);
    if (result > 0) {
        // Nested deeper than the parser's stack: what was read of it may name another queue.
        Thread::setLastError(HE_DEPTH);
    }
    const unsigned attributesError = loader.getAttributesError();
    if (attributesError != 0 && !isMissing(attributesError)) {
        Thread::setLastError(attributesError);
        result = -1;
    }
    const HConfig::Object* processing = result != 0 ? nullptr : processingOf(server);
    if (processing == nullptr) {
        report("Transaction aborted: cannot load configuration from '%s' (%s)", path.get(),
               Thread::getErrorMessage());
        return EX_CONFIG;
    }

    primary_domain = copyOf(server.getValue(SERVER_PRIMARY_DOMAIN).asText()).release();
    if (args->getVal('n', nullptr, 0) == nullptr) {
        expand_domain = primary_domain;
    }
    queue_path =
        composePath(directory, processing->getValue(PROCESSING_QUEUE_PATH).asText()).release();
    queue_entry_count =
        static_cast<std::uint16_t>(processing->getValue(PROCESSING_QUEUE_ENTRY_COUNT).asUnsigned());
    return EX_OK;
}
