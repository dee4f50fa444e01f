// postdock: takes one message on standard input and leaves it in the mail queue of the Morvex
// server. The road from here: submission.cpp (the order of work), envelope.cpp (who it is from and
// to), handover.cpp (into the queue).

#include "common/memory/memory_system.h"
#include "common/thread/thread.h"
#include "submit/process.h"
#include "submit/state.h"
#include "submit/submission.h"

#include <unistd.h>

int main(int argc, char** argv, char** envp) {
    initializeMemoryAllocationSystem(0, false, 0, 0);
    processId = ::getpid();
    Thread::seedRandom(processId);
    Thread::init();
    guardProcess();
    const int result =
        main_helper(argc, const_cast<const char**>(argv), const_cast<const char**>(envp));
    cleanup();
    cleanupMemoryAllocationSystem();
    return result;
}
