// Saves a server's configuration as a server would: saver_probe <path> <backup count> <run
// directory>. Exits with 0, or with 1 when the save failed. For tests that make it go wrong.

#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/text_saver.h"

#include <cstdlib>

static const char* runDirectory = nullptr;

int main(int argc, char** argv) {
    if (argc != 4) {
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
        result = saver.save();
    }
    HConfig::Config::destroy();
    Thread::cleanup();
    return result == 0 ? 0 : 1;
}
