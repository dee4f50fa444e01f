// The configuration loader: a text gives the same result and equal objects each time, a strict
// loader takes no more than another one, and a text loads into an object that it has filled.
// Input: the text of the configuration.

#include "common/stream/memory_stream.h"
#include "config/classes.h"
#include "config/text_loader.h"
#include "fuzz/config_schema.h"
#include "fuzz/target.h"

using namespace HConfig;

namespace {

int load(std::string_view text, bool strict, Object* object) {
    std::string copy(text);
    MemoryStream input(copy.data(), static_cast<long long>(copy.size()));
    TextLoader loader(&input, Config::theConfig->getClass(Server::ROW), strict);
    const int result = loader.load(object);
    FUZZ_CHECK(result == 0 || result == -1 || result == 2);
    FUZZ_CHECK(std::strlen(loader.getErrorText()) < 256);
    return result;
}

} // namespace

FUZZ_TARGET(config_loader) {
    fuzz::needSchema();
    const std::string_view text = input.rest();
    Server first;
    first.doInit(false, true);
    const int result = load(text, false, &first);
    {
        Server second;
        second.doInit(false, true);
        FUZZ_CHECK(load(text, false, &second) == result);
        FUZZ_CHECK(first.isEqual(&second, true));
    }
    {
        Server strict;
        strict.doInit(false, true);
        const int strictResult = load(text, true, &strict);
        FUZZ_CHECK(strictResult != 0 || (result == 0 && first.isEqual(&strict, true)));
    }
    Object* made = nullptr;
    {
        std::string copy(text);
        MemoryStream stream(copy.data(), static_cast<long long>(copy.size()));
        TextLoader loader(&stream, nullptr, false);
        loader.load(made);
    }
    delete made;
    load(text, false, &first);
}
