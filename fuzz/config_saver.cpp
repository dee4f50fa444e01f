// The configuration saver, behind the loader: whatever text the loader takes, the tree that it made
// is saved as a text that loads into an equal tree and saves as the same text. So does a clone.
// Input: the text of the configuration.

#include "common/stream/memory_stream.h"
#include "common/thread/thread.h"
#include "config/classes.h"
#include "config/text_loader.h"
#include "config/text_saver.h"
#include "fuzz/config_schema.h"
#include "fuzz/target.h"
#include "tests/stream/streams.h"

#include <utility>

using namespace HConfig;

namespace {

unsigned complaints = 0;

void countComplaint(int, const char*, ...) {
    ++complaints;
}

std::string saved(Object& root) {
    support::Sink sink;
    TextSaver saver(&sink, &root);
    const auto oldLog = std::exchange(Thread::log, countComplaint);
    complaints = 0;
    FUZZ_CHECK(saver.save() == 0);
    Thread::log = oldLog;
    return sink.text;
}

bool loads(std::string text, Object* object) {
    MemoryStream input(text.data(), static_cast<long long>(text.size()));
    TextLoader loader(&input, nullptr, false);
    return loader.load(object) == 0;
}

} // namespace

FUZZ_TARGET(config_saver) {
    fuzz::needSchema();
    Server first;
    first.doInit(false, true);
    if (!loads(std::string(input.rest()), &first)) {
        return;
    }
    const std::string text = saved(first);
    const bool isWhole = complaints == 0; // a text may be too long when it is quoted
    Server second;
    second.doInit(false, true);
    FUZZ_CHECK(loads(text, &second));
    FUZZ_CHECK(!isWhole || (first.isEqual(&second, true) && second.isEqual(&first, true)));
    FUZZ_CHECK(saved(second) == text);

    Server other;
    other.doInit(false, true);
    Object* target = &other;
    first.clone(target, true);
    FUZZ_CHECK(saved(other) == text);
    FUZZ_CHECK(!second.update(&first, false) || !isWhole);
}
