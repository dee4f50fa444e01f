// Saves a server's configuration as a server would: saver_probe <path> <backup count> <run
// directory> [<allocation>]. Exits with 0, or with 1 when the save failed. For tests that make it
// go wrong; with an allocation given, that one of the save's fails, counted from 1.

#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/text_saver.h"

#include <cstdlib>
#include <new>

static const char* runDirectory = nullptr;
static long allocationsLeft = 0; // until one fails; none does at 0

void* operator new(std::size_t size) {
    if (allocationsLeft > 0 && --allocationsLeft == 0) {
        throw std::bad_alloc();
    }
    void* block = std::malloc(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

static int save(HConfig::TextSaver& saver, const char* failing) {
    allocationsLeft = failing != nullptr ? std::strtol(failing, nullptr, 10) : 0;
    int result = -1;
    try {
        result = saver.save();
    } catch (const std::bad_alloc&) {
    }
    allocationsLeft = 0;
    return result;
}

int main(int argc, char** argv) {
    if (argc != 4 && argc != 5) {
        return 2;
    }
    runDirectory = argv[3];
    Thread::init();
    Thread::getRunDirectory = [] { return runDirectory; };
    HConfig::Config::init();
    int result = 0;
    {
        HConfig::Server server;
        server.doInit(false, true);
        server.setAllToDefault();
        server.setStringValue(server.getObjectClass()->findAttribute("primaryDomain")->getIndex(),
                              "example.org");
        HConfig::TextSaver saver(argv[1], &server,
                                 static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10)));
        result = save(saver, argc == 5 ? argv[4] : nullptr);
    }
    HConfig::Config::destroy();
    Thread::cleanup();
    return result == 0 ? 0 : 1;
}
