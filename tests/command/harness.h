// Runs the real postdock in a tree of its own, and looks at what it leaves.

#ifndef MORVEX_TESTS_COMMAND_HARNESS_H
#define MORVEX_TESTS_COMMAND_HARNESS_H

#include "tests/support/temp_dir.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

struct Outcome {
    int exitCode = -1; // 128 + N after signal N
    std::string out;
    std::string err;
    std::vector<std::string> log; // what the preloaded library saw
};

// A state file taken apart by offsets, with no code of the command's.
struct StateFile {
    bool valid = false; // length and fixed parts are as they must be
    std::uint32_t stateWord = 0;
    std::int64_t recvDate = 0;
    std::uint32_t originalRCPTCount = 0;
    std::uint32_t rcptCount = 0;
    std::int32_t headerSize = 0;
    std::vector<std::string> strings;
};

StateFile decodeStateFile(std::string_view bytes);

// One queue under one working directory, with a configuration that names example.org as the
// primary domain and gives the queue four entry directories.
class Desk {
public:
    Desk();

    std::vector<std::pair<std::string, std::string>> environment;
    std::string input;

    // Runs "postdock -W DIR arguments...".
    Outcome run(const std::vector<std::string>& arguments);
    // Runs postdock with just these arguments, standard input from a file of `input`.
    Outcome runPlain(const std::vector<std::string>& arguments);

    // run in two halves, for those who start the process themselves: what a forked child does (it
    // ends in an exec of "postdock -W DIR arguments..."), and what the run left.
    std::function<void()> child(const std::vector<std::string>& arguments);
    Outcome collect(int exitCode);

    int inputFd = -1;             // standard input instead of `input`, where it is not -1
    bool preload = true;          // whether the preloaded library is there
    unsigned seconds = 0;         // a run that takes longer is ended by SIGALRM; 0: it may
    std::function<void()> limits; // called by the child right before its exec

    std::string path(std::string_view name) const { return dir / name; }
    std::string queue(std::string_view name) const { return dir / ("queue/" + std::string(name)); }

    // All regular files below the queue, by their path there, without the token.
    std::map<std::string, std::string> mailFiles() const;
    // The ids that stand in "locals".
    std::vector<std::string> markers() const;

    // The one mail of the queue: its state and its data. Fails the test where there is not exactly
    // one marker with just its two files.
    StateFile state() const;
    std::string data() const;

private:
    Outcome runChild(const std::function<void()>& body);
    std::function<void()> plainChild(const std::vector<std::string>& arguments);

    support::TempDir dir;
};

// "LOG_ERR text" as the preloaded library notes it.
std::string errorLine(std::string_view text);
std::string infoLine(std::string_view text);

bool contains(const std::vector<std::string>& lines, const std::string& line);

#endif
