// SIGINT at chosen points of the road: before the hand-over it removes the mail, behind it nothing.

#include "tests/command/harness.h"

#include <gtest/gtest.h>

#include <regex>

namespace {

TEST(Interrupt, RemovesTheMailOrLeavesItWhole) {
    struct Row {
        const char* point;
        bool aborted;
    };
    const Row rows[] = {
        {"open:morvex.cfg:1", true}, // preparing
        {"open:/S:1", false},        // claiming the id: ignored
        {"read:stdin:1", true},      // reading the message
        {"open:/D:1", true},         // about to make the data file
        {"write:/D:1", true},        // writing it
        {"fsync:/D:1", false},       // the hand-over: ignored
        {"write:/S:1", false},       {"open:locals/:1", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.point);
        Desk desk;
        desk.input = "From: a@x.org\n\n" + std::string(5000, 'x') + "\n";
        desk.environment = {{"MORVEX_TEST_SIGNAL", row.point}};
        const Outcome run = desk.run({"r@x.org"});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.err, "");
        if (row.aborted) {
            EXPECT_EQ(run.out, "Transaction aborted by user\n");
            EXPECT_TRUE(std::regex_match(
                run.log.back(),
                std::regex("datagram <22>postdock-[0-9]+: Transaction aborted by user")))
                << run.log.back();
            EXPECT_EQ(desk.mailFiles().size(), 0U);
        } else {
            EXPECT_EQ(run.out, "");
            EXPECT_TRUE(desk.state().valid);
        }
    }
}

} // namespace
