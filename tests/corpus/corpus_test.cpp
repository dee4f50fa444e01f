// Runs every fuzz target over every file of its corpus. A target that finds a fault aborts; the
// last file named in the output is the one.

#include "fuzz/target.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

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

TEST(Corpus, PassesItsTarget) {
    for (const fuzz::Target* target = fuzz::Target::first; target; target = target->next) {
        const std::string folder = std::string(FUZZ_CORPUS) + "/" + target->name;
        const std::set<std::string> files = entriesOf(folder);
        EXPECT_FALSE(files.empty()) << target->name;
        for (const std::string& file : files) {
            const std::string content = support::readFile(folder + "/" + file);
            std::printf("%s/%s\n", target->name, file.c_str());
            std::fflush(stdout);
            // Exactly the file's bytes, so that a read behind them is seen.
            const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[content.size()]);
            std::memcpy(data.get(), content.data(), content.size());
            target->body(fuzz::Input(data.get(), content.size()));
        }
    }
}

} // namespace
