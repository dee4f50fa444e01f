// What the fault tests share: a message and its desk, the check of what a run left on the disk, and
// the count of the points that were tried.
//
// The legal states: no marker for an id, or a marker with a whole state file and a whole data file.
// The long form, which tries more points and runs for minutes, is asked for by MORVEX_FAULTS=long.

#ifndef MORVEX_TESTS_FAULTS_FAULT_DESK_H
#define MORVEX_TESTS_FAULTS_FAULT_DESK_H

#include "tests/command/harness.h"

#include <functional>
#include <string>
#include <vector>

bool longForm();

// The step between the points that are tried: 1 in the long form.
std::size_t stride(std::size_t quick);

// A desk whose queue stands elsewhere than the built-in default, so that a run that goes on without
// its configuration is seen. Its message has one recipient, r@x.org, in its header, and a body of
// bodySize bytes in one line.
class FaultDesk : public Desk {
public:
    explicit FaultDesk(int entryCount = 2, std::size_t bodySize = 9000);
};

struct StoredMail {
    std::string id;
    StateFile state;
    std::string data;
};

// The mails whose markers stand; fails the test for a marker without two whole files.
std::vector<StoredMail> handedOver(const Desk& desk);

// How many there are; fails the test where one is not FaultDesk's message, whole.
int wholeMails(const Desk& desk);

// How many files the queues of the desk hold, markers included, without the token. Fails the test
// where one is outside the configured queue.
std::size_t countFiles(const Desk& desk);

// After a fault in a run on a fresh tree: exit code 0 with one whole mail, or another exit code
// with no file of the mail and, with `reason`, a reason on standard error.
void expectWholeOrNothing(const Desk& desk, const Outcome& run, bool reason);

// After a run that ended as if killed: one whole mail, or no marker and at most the two files of
// one mail; and the next run on the tree works.
void expectAsAfterAKill(FaultDesk& desk, int mailsBefore = 0);

// Counts points, and prints "N of M WHAT safe" when it goes.
class Tally {
public:
    explicit Tally(std::string what) : name(std::move(what)) {}
    Tally(const Tally&) = delete;
    Tally& operator=(const Tally&) = delete;
    ~Tally();

    // Runs the checks of one point; false once so many have failed that going on tells no more.
    bool check(const std::string& point, const std::function<void()>& checks);

private:
    std::string name;
    int points = 0;
    int failed = 0;
};

#endif
