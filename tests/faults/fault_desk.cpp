#include "tests/faults/fault_desk.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>

namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t receivedLocally = 0x101; // state RECEIVED, by way of the command
constexpr std::size_t envelopeStrings = 3;

constexpr std::string_view head = "From: a@x.org\nTo: r@x.org\n\n";
constexpr std::string_view storedHead = "From: a@x.org\r\nTo: r@x.org\r\n\r\n";

// How the data file of the desk's message ends: all but what the command puts in front.
std::string storedTail(const Desk& desk) {
    const auto bodySize = desk.input.size() - head.size() - 1;
    return std::string(storedHead) + std::string(bodySize, 'x') + "\r\n";
}

// Thousands of runs wait for no disk where there is a place in memory; what a process leaves behind
// is the same on every file system.
[[maybe_unused]] const bool inMemory = [] {
    return ::access("/dev/shm", W_OK) == 0 && ::setenv("TMPDIR", "/dev/shm", 1) == 0;
}();

int failures() {
    const testing::TestResult& result =
        *testing::UnitTest::GetInstance()->current_test_info()->result();
    int count = 0;
    for (int i = 0; i < result.total_part_count(); ++i) {
        count += result.GetTestPartResult(i).failed() ? 1 : 0;
    }
    return count;
}

} // namespace

bool longForm() {
    const char* form = std::getenv("MORVEX_FAULTS");
    return form != nullptr && std::string_view(form) == "long";
}

std::size_t stride(std::size_t quick) {
    return longForm() ? 1 : quick;
}

FaultDesk::FaultDesk(int entryCount, std::size_t bodySize) {
    preload = false;
    seconds = 60;
    input = std::string(head) + std::string(bodySize, 'x') + "\n";
    support::writeFile(path("run/morvex.cfg"),
                       "Server {\n primaryDomain = \"example.org\"\n"
                       " processing = { queuePath = \"queue/q\" queueEntryCount = " +
                           std::to_string(entryCount) + " }\n}\n");
    fs::create_directory(path("queue"));
}

std::vector<StoredMail> handedOver(const Desk& desk) {
    const auto files = desk.mailFiles();
    std::vector<StoredMail> mails;
    for (const auto& [name, content] : files) {
        if (!name.starts_with("q/locals/")) {
            continue;
        }
        EXPECT_EQ(content, "") << name;
        const std::string id = name.substr(9);
        EXPECT_EQ(id.size(), 6U) << name;
        const std::string entry = "q/" + id.substr(0, 2) + "/";
        const auto state = files.find(entry + "S" + id.substr(2));
        const auto data = files.find(entry + "D" + id.substr(2) + ".00");
        if (state == files.end() || data == files.end()) {
            ADD_FAILURE() << "marker " << id << " without its files";
            continue;
        }
        mails.push_back({id, decodeStateFile(state->second), data->second});
        const StoredMail& mail = mails.back();
        EXPECT_TRUE(mail.state.valid) << id;
        EXPECT_EQ(mail.state.stateWord, receivedLocally) << id;
        EXPECT_EQ(mail.state.strings.size(), mail.state.rcptCount + envelopeStrings) << id;
        EXPECT_TRUE(mail.data.starts_with("Received: by example.org (Morvex postdock")) << id;
        EXPECT_NE(mail.data.find(" id " + id + ";"), std::string::npos) << id;
    }
    return mails;
}

int wholeMails(const Desk& desk) {
    const std::vector<StoredMail> mails = handedOver(desk);
    const std::string tail = storedTail(desk);
    for (const StoredMail& mail : mails) {
        EXPECT_EQ(mail.state.strings,
                  (std::vector<std::string>{"a@x.org", "a@x.org", "<>", "r@x.org"}))
            << mail.id;
        EXPECT_TRUE(mail.data.ends_with(tail)) << mail.id;
    }
    return static_cast<int>(mails.size());
}

std::size_t countFiles(const Desk& desk) {
    const auto files = desk.mailFiles();
    for (const auto& [name, content] : files) {
        EXPECT_TRUE(name.starts_with("q/")) << name << " stands outside the configured queue";
    }
    return files.size();
}

void expectWholeOrNothing(const Desk& desk, const Outcome& run, bool reason) {
    const bool accepted = run.exitCode == 0;
    EXPECT_EQ(wholeMails(desk), accepted ? 1 : 0) << "exit code " << run.exitCode << ' ' << run.err;
    EXPECT_EQ(countFiles(desk), accepted ? 3U : 0U) << "exit code " << run.exitCode;
    if (accepted || !reason) {
        return;
    }
    EXPECT_NE(run.err, "") << "exit code " << run.exitCode;
    constexpr int told[] = {65, 74, 75, 78};
    EXPECT_TRUE(std::find(std::begin(told), std::end(told), run.exitCode) != std::end(told))
        << "exit code " << run.exitCode << ": " << run.err;
}

void expectAsAfterAKill(FaultDesk& desk, int mailsBefore) {
    const int standing = wholeMails(desk);
    const std::size_t files = countFiles(desk);
    const auto filesBefore = static_cast<std::size_t>(3 * mailsBefore);
    EXPECT_LE(standing, mailsBefore + 1);
    EXPECT_LE(files, filesBefore + (standing > mailsBefore ? 3 : 2));
    desk.limits = nullptr;
    desk.environment.clear();
    desk.preload = false;
    EXPECT_EQ(desk.run({}).exitCode, 0);
    EXPECT_EQ(wholeMails(desk), standing + 1);
    EXPECT_EQ(countFiles(desk), files + 3);
}

Tally::~Tally() {
    std::printf("%d of %d %s safe\n", points - failed, points, name.c_str());
}

bool Tally::check(const std::string& point, const std::function<void()>& checks) {
    constexpr int tooMany = 3;
    SCOPED_TRACE(point);
    const int before = failures();
    ++points;
    checks();
    failed += failures() > before ? 1 : 0;
    return failed < tooMany && !testing::Test::HasFatalFailure();
}
