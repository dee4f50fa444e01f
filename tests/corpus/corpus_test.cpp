// Runs every fuzz target over every file of its corpus, and over random mixtures of these. A target
// that finds a fault aborts; the last file or target named in the output is the one.

#include "fuzz/target.h"
#include "tests/support/random.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

std::set<std::string> entriesOf(const std::string& path) {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

TEST(Corpus, EachBelongsToATarget) {
    std::set<std::string> targets;
    for (const fuzz::Target* target = fuzz::Target::first; target; target = target->next) {
        targets.insert(target->name);
    }
    EXPECT_EQ(entriesOf(FUZZ_CORPUS), targets);
}

void run(const fuzz::Target& target, const std::string& content) {
    // Exactly these bytes, so that a read behind them is seen.
    const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[content.size()]);
    std::memcpy(data.get(), content.data(), content.size());
    target.body(fuzz::Input(data.get(), content.size()));
}

TEST(Corpus, PassesItsTarget) {
    for (const fuzz::Target* target = fuzz::Target::first; target; target = target->next) {
        const std::string folder = std::string(FUZZ_CORPUS) + "/" + target->name;
        const std::set<std::string> files = entriesOf(folder);
        EXPECT_FALSE(files.empty()) << target->name;
        for (const std::string& file : files) {
            std::printf("%s/%s\n", target->name, file.c_str());
            std::fflush(stdout);
            run(*target, support::readFile(folder + "/" + file));
        }
    }
}

// Pieces of the seeds and odd bytes, joined: these stand in for random tests of the targets' own.
TEST(Corpus, RandomMixturesPassTheTarget) {
    auto random = support::seededRandom("Corpus.RandomMixturesPassTheTarget");
    for (const fuzz::Target* target = fuzz::Target::first; target; target = target->next) {
        const std::string folder = std::string(FUZZ_CORPUS) + "/" + target->name;
        std::vector<std::string> seeds = {std::string("\r\n\r\n\0 \t\x80=", 9)};
        for (const std::string& file : entriesOf(folder)) {
            seeds.push_back(support::readFile(folder + "/" + file));
        }
        std::printf("%s\n", target->name);
        std::fflush(stdout);
        for (int round = 0; round < 2000; ++round) {
            std::string text;
            for (std::size_t left = support::below(random, 20); left > 0; --left) {
                const std::string& seed = seeds[support::below(random, seeds.size())];
                const std::size_t from = support::below(random, seed.size() + 1);
                text += static_cast<char>(random());
                text.resize(text.size() - support::below(random, 2));
                text += seed.substr(from, support::below(random, 16));
            }
            run(*target, text);
        }
    }
}

} // namespace
