// The configuration library: its start and end, which every submission pays; the loader
// and the saver; and the update of one tree from another.

#include "common/stream/memory_stream.h"
#include "config/classes.h"
#include "config/config.h"
#include "config/text_loader.h"
#include "config/text_saver.h"
#include "tests/stream/streams.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace {

void initAndDestroy(benchmark::State& state) {
    for (auto _ : state) {
        HConfig::Config::init();
        benchmark::DoNotOptimize(HConfig::Config::theConfig);
        HConfig::Config::destroy();
    }
}

// A server with some settings and `rules` log rules.
std::string configuration(long rules) {
    std::string text = "Server {\n    primaryDomain = \"example.org\"\n"
                       "    processing = { queuePath = \"queue\" queueEntryCount = 16 }\n"
                       "    log = { rules = (\n";
    for (long i = 0; i < rules; ++i) {
        text += "        { priority = " + std::to_string(i + 1) + " logLevel = 15 } # a rule\n";
    }
    return text + "    ) }\n}\n";
}

void loadConfiguration(benchmark::State& state) {
    std::string text = configuration(state.range(0));
    HConfig::Config::init();
    for (auto _ : state) {
        MemoryStream input(text.data(), static_cast<long long>(text.size()));
        HConfig::TextLoader loader(
            &input, HConfig::Config::theConfig->getClass(HConfig::Server::ROW), false);
        HConfig::Server server;
        server.doInit(false, true);
        HConfig::Object* root = &server;
        if (loader.load(root) != 0) {
            state.SkipWithError(loader.getErrorText());
            break;
        }
    }
    HConfig::Config::destroy();
    state.SetBytesProcessed(state.iterations() * static_cast<long>(text.size()));
    state.SetComplexityN(state.range(0));
}

// A user with `mailboxes` members in a set, each of three values. Users of unlike seeds have nine
// in ten members in common, of which one in three differs.
std::unique_ptr<HConfig::Object> userWithMailboxes(long mailboxes, long seed) {
    using namespace HConfig;
    std::unique_ptr<Object> user(User::newObject());
    user->setToDefault(false);
    user->setStringValue(user->getObjectClass()->findAttribute("name")->getIndex(), "user");
    const unsigned set = user->getObjectClass()->findAttribute("mboxDataSet")->getIndex();
    const ObjectClass& memberClass = *user->getObjectClass()->getAttribute(set)->getObjectClass();
    const unsigned id = memberClass.findAttribute("id")->getIndex();
    const unsigned size = memberClass.findAttribute("messageSize")->getIndex();
    for (long i = 0; i < mailboxes; ++i) {
        const long key = 10 * i + (i % 10 == 0 ? 1 + seed : 0);
        Object* member = memberClass.newObject();
        member->setToDefault(false);
        member->setValue(id, Value(static_cast<std::uint32_t>(key)));
        member->setValue(size, Value(static_cast<std::uint32_t>(i % 3 == 0 ? seed : i)));
        user->addObject(set, member);
    }
    return user;
}

void updateTrees(benchmark::State& state) {
    HConfig::Config::init();
    {
        const auto user = userWithMailboxes(state.range(0), 0);
        const std::unique_ptr<HConfig::Object> sources[] = {userWithMailboxes(state.range(0), 1),
                                                            userWithMailboxes(state.range(0), 2)};
        bool next = false;
        for (auto _ : state) {
            benchmark::DoNotOptimize(user->update(sources[next].get(), false));
            next = !next;
        }
    }
    HConfig::Config::destroy();
    state.SetItemsProcessed(state.iterations() * state.range(0));
    state.SetComplexityN(state.range(0));
}

void saveTree(benchmark::State& state) {
    HConfig::Config::init();
    {
        const auto user = userWithMailboxes(state.range(0), 0);
        support::Sink sink;
        HConfig::TextSaver saver(&sink, user.get());
        for (auto _ : state) {
            sink.text.clear();
            if (saver.save() != 0) {
                state.SkipWithError("not saved");
                break;
            }
        }
        state.SetBytesProcessed(state.iterations() * static_cast<long>(sink.text.size()));
    }
    HConfig::Config::destroy();
    state.SetComplexityN(state.range(0));
}

// What saveTree writes: five lines a member.
void loadTree(benchmark::State& state) {
    HConfig::Config::init();
    support::Sink sink;
    {
        const auto user = userWithMailboxes(state.range(0), 0);
        HConfig::TextSaver(&sink, user.get()).save();
    }
    for (auto _ : state) {
        MemoryStream input(sink.text.data(), static_cast<long long>(sink.text.size()));
        HConfig::TextLoader loader(&input, nullptr, true);
        HConfig::Object* root = nullptr;
        if (loader.load(root) != 0) {
            state.SkipWithError(loader.getErrorText());
            break;
        }
        delete root;
    }
    HConfig::Config::destroy();
    state.SetBytesProcessed(state.iterations() * static_cast<long>(sink.text.size()));
    state.SetComplexityN(state.range(0));
}

BENCHMARK(initAndDestroy);
BENCHMARK(loadConfiguration)->Arg(0);
BENCHMARK(loadConfiguration)->RangeMultiplier(4)->Range(16, 4096)->Complexity(benchmark::oN);
BENCHMARK(updateTrees)->Arg(10000);
BENCHMARK(updateTrees)->RangeMultiplier(4)->Range(256, 65536)->Complexity(benchmark::oNLogN);
BENCHMARK(saveTree)->RangeMultiplier(4)->Range(256, 65536)->Complexity(benchmark::oN);
BENCHMARK(loadTree)->Arg(20000);
BENCHMARK(loadTree)->RangeMultiplier(4)->Range(256, 65536)->Complexity(benchmark::oNLogN);

} // namespace
