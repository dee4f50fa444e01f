// What loadConfig takes from the server's file, and where it looks for it.

#include "common/thread/thread.h"
#include "config/config.h"
#include "submit/options.h"
#include "submit/settings.h"
#include "submit/state.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace {

class SettingsTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(directory / "run");
        Thread::init();
        HConfig::Config::init();
    }
    void TearDown() override {
        forget();
        HConfig::Config::destroy();
        Thread::cleanup();
    }

    static void forget() {
        delete[] primary_domain;
        delete[] queue_path;
        primary_domain = expand_domain = queue_path = nullptr;
        queue_entry_count = 0;
    }

    // Runs loadConfig with these arguments; what it complained about is in `complaint`.
    int run(std::vector<std::string> arguments) {
        forget();
        std::vector<const char*> argv = {"postdock"};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        argv.push_back(nullptr);
        GetArgs args(static_cast<int>(argv.size()) - 1, argv.data(), getArgsConf, ignoreArgs);
        testing::internal::CaptureStderr();
        const int result = loadConfig(&args);
        complaint = testing::internal::GetCapturedStderr();
        return result;
    }

    support::TempDir directory;
    const std::string file = directory / "run/morvex.cfg"; // the default of -C
    std::string complaint;
};

TEST_F(SettingsTest, AMissingFileGivesTheDefaults) {
    ASSERT_EQ(0, run({"-W", directory.path()}));
    EXPECT_EQ(directory / "queue", queue_path);
    EXPECT_EQ(64, queue_entry_count);
    EXPECT_STREQ("", primary_domain);
    EXPECT_EQ(primary_domain, expand_domain);
    EXPECT_EQ("", complaint);

    // Nothing can stand below a file.
    support::writeFile(directory / "file", "");
    EXPECT_EQ(0, run({"-W", directory.path(), "-C", "file/morvex.cfg"}));
}

TEST_F(SettingsTest, AFileThatCannotBeLookedAtIsNotMissing) {
    std::filesystem::create_symlink(file, file);
    const std::string longName = directory / std::string(300, 'x');
    const std::pair<std::string, std::string> rows[] = {
        {file, "Too many levels of symbolic links"},
        {longName, "File name too long"},
    };
    for (const auto& [path, error] : rows) {
        EXPECT_EQ(78, run({"-W", directory.path(), "-C", path}));
        EXPECT_EQ("Transaction aborted: cannot load configuration from '" + path + "' (" + error +
                      ")\n",
                  complaint);
        EXPECT_EQ(nullptr, queue_path);
    }
}

TEST_F(SettingsTest, TheFileIsFoundByOneRuleAndTheQueueByTheSame) {
    struct Row {
        std::string file;      // the value of -C; empty for none
        std::string directory; // the value of -W
        std::string queuePath; // as the file has it
        std::string expected;
    };
    const std::string base = directory.path();
    const Row rows[] = {
        {"", base, "q", base + "/q"},
        {"", base + "/", "q", base + "//q"},
        {"run/morvex.cfg", base, "q", base + "/q"},
        {"run/morvex.cfg", base, "/srv/q", "/srv/q"},
        {base + "/run/morvex.cfg", "/nonexistent", "q", "/nonexistent/q"},
        {"run/morvex.cfg", base, "c:q", "c:q"},
        {"run/morvex.cfg", base, "1:q", base + "/1:q"},
    };
    for (const Row& row : rows) {
        support::writeFile(file,
                           "Server { primaryDomain = a.example processing = { queuePath = \"" +
                               row.queuePath + "\" queueEntryCount = 256 } }");
        std::vector<std::string> arguments = {"-W", row.directory};
        if (!row.file.empty()) {
            arguments.insert(arguments.end(), {"-C", row.file});
        }
        ASSERT_EQ(0, run(arguments)) << row.expected;
        EXPECT_EQ(row.expected, queue_path);
        EXPECT_EQ(256, queue_entry_count);
        EXPECT_STREQ("a.example", primary_domain);
    }
}

TEST_F(SettingsTest, WithoutExpansionOnlyTheCompletionIsOff) {
    support::writeFile(file, "Server { primaryDomain = a.example }");
    ASSERT_EQ(0, run({"-n", "-W", directory.path()}));
    EXPECT_STREQ("a.example", primary_domain);
    EXPECT_EQ(nullptr, expand_domain);
}

TEST_F(SettingsTest, ABrokenFileIsReported) {
    support::writeFile(file, "Server { primaryDomain a.example }");
    EXPECT_EQ(78, run({"-W", directory.path()}));
    EXPECT_EQ("Transaction aborted: cannot load configuration from '" + file +
                  "' (Invalid config file statement)\n",
              complaint);
    EXPECT_EQ(nullptr, primary_domain);
    EXPECT_EQ(nullptr, queue_path);

    EXPECT_EQ(78, run({"-C", directory.path()}));
    EXPECT_EQ("Transaction aborted: cannot load configuration from '" + directory.path() +
                  "' (No such file or directory)\n",
              complaint);
}

} // namespace
