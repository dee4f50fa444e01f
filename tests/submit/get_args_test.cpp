#include "common/error.h"
#include "common/thread/thread.h"
#include "submit/get_args.h"
#include "submit/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct Parsed {
    std::unique_ptr<GetArgs> args;
    unsigned error = 0;
    std::string complaint;
};

Parsed parse(std::vector<const char*> arguments, const getargs_config* table = getArgsConf,
             const char* const* ignore = ignoreArgs) {
    arguments.insert(arguments.begin(), "postdock");
    arguments.push_back(nullptr);
    Parsed parsed;
    testing::internal::CaptureStderr();
    parsed.args = std::make_unique<GetArgs>(static_cast<int>(arguments.size()) - 1,
                                            arguments.data(), table, ignore);
    parsed.error = Thread::getLastError();
    parsed.complaint = testing::internal::GetCapturedStderr();
    return parsed;
}

// Everything of a parse in one text: options with their values, then the arguments.
std::string dump(const GetArgs& args, std::string_view flags) {
    std::string text;
    for (const char flag : flags) {
        if (args.getValCount(flag, nullptr) < 0) {
            continue;
        }
        text += std::string("-") + flag;
        for (int i = 0; i < args.getValCount(flag, nullptr); ++i) {
            text += std::string("=") + args.getVal(flag, nullptr, i);
        }
        text += ' ';
    }
    for (int i = 0; i < args.getArgCount(); ++i) {
        text += std::string("[") + args.getArg(i) + "]";
    }
    return text;
}

constexpr std::string_view allFlags = "hvitnfrFoOMmeCW";
const std::string defaults = "-C=run/morvex.cfg -W=/var/opt/morvex ";

TEST(GetArgs, TakesGoodCommandLines) {
    const std::pair<std::vector<const char*>, std::string> rows[] = {
        {{}, defaults},
        {{"-t", "-i"}, "-t " + defaults},
        {{"-ti"}, "-i -t " + defaults},
        {{"-ni", "a"}, "-i -n " + defaults + "[a]"},
        {{"-fabc"}, "-f=abc " + defaults},
        {{"-f", "abc"}, "-f=abc " + defaults},
        {{"-tfvalue", "a"}, "-t -f=value " + defaults + "[a]"},
        {{"-ff"}, "-f=f " + defaults},
        {{"-f", "a,b"}, "-f=a,b " + defaults},
        {{"-f", ""}, "-f= " + defaults},
        {{"a,b", "c"}, defaults + "[a][b][c]"},
        {{"a,,b"}, defaults + "[a][][b]"},
        {{"a,"}, defaults + "[a]"},
        {{"a", "--", "-t"}, defaults + "[a][-t]"},
        {{"a", "-", "-t"}, defaults + "[a][-t]"},
        {{"--", "-t"}, defaults + "[-t]"},
        {{"-", "-t"}, "-t " + defaults},
        {{"--HELP"}, "-h " + defaults},
        {{"-C", "x", "-W", "y"}, "-C=x -W=y "},
        {{"--configfile", "x", "--workdir", "y", "z"}, "-C=x -W=y [z]"},
        // Dropped by prefix, wherever they stand; their values are not.
        {{"-oi", "-oem", "-odb", "-bm", "-V", "-q", "-Z5", "-d", "-Lx", "a"}, defaults + "[a]"},
        {{"-O", "x"}, defaults + "[x]"},
        {{"-t", "-oi", "a", "-oi", "b"}, "-t " + defaults + "[a][b]"},
        {{"a,-oi", "b"}, defaults + "[a][b]"},
        // Inside a cluster the compatibility options take what follows, up to their count.
        {{"-toa,b", "c"}, "-t -o=a=b " + defaults + "[c]"},
        {{"-te", "a"}, "-t -e=a " + defaults},
    };
    for (const auto& [arguments, expected] : rows) {
        SCOPED_TRACE(expected);
        const Parsed parsed = parse(arguments);
        EXPECT_EQ(parsed.error, 0U);
        EXPECT_EQ(parsed.complaint, "");
        EXPECT_EQ(dump(*parsed.args, allFlags), expected);
    }
}

TEST(GetArgs, RefusesBadCommandLines) {
    const std::pair<std::vector<const char*>, std::string> rows[] = {
        {{"-t", "-t"}, "duplicate options are not accepted: -t.\n"},
        {{"-C", "x", "--configfile", "y"}, "duplicate options are not accepted: --configfile.\n"},
        {{"-tt"}, "Option -t does not expects values (t).\n"},
        {{"-tx"}, "Option -t does not expects values (x).\n"},
        {{"-hx"}, "Option -h, --help does not expects values (x).\n"},
        {{"-w"}, "Error: option -w not recognized.\n"},
        {{"--x"}, "Error: option --x not recognized.\n"},
        {{"--configfile=x"}, "Error: option --configfile=x not recognized.\n"},
        {{"-f"}, "Option -f expects 1 value(s).\n"},
        {{"-f", "-t"}, "Option -f expects 1 value(s).\n"},
        {{"-f", "-oi"}, "Option -f expects 1 value(s).\n"},
        {{"--workdir"}, "Option -W, --workdir expects 1 value(s).\n"},
        {{"a", "-t"}, "Error: options are not allowed after arguments.\n"},
        {{"-O", "x", "-t"}, "Error: options are not allowed after arguments.\n"},
        {{"\x7F"}, ""},
        {{"-t", "a\xC3\xA9"}, ""},
        {{"a\tb"}, ""},
        {{"a,b\n"}, ""},
    };
    for (const auto& [arguments, complaint] : rows) {
        SCOPED_TRACE(complaint);
        const Parsed parsed = parse(arguments);
        EXPECT_EQ(parsed.error, unsigned{HE_INVAL});
        EXPECT_EQ(parsed.complaint, complaint);
    }
    testing::internal::CaptureStderr();
    EXPECT_STREQ((GetArgs(0, nullptr, getArgsConf, nullptr), Thread::getErrorSymbol()), "HE_INVAL");
    const char* argv[] = {"x", nullptr};
    EXPECT_STREQ((GetArgs(1, argv, nullptr, nullptr), Thread::getErrorSymbol()), "HE_INVAL");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Nothing to parse.\nNot configured.\n");
}

// Quadratic work would take minutes here.
TEST(GetArgs, SplitsALongListInLinearTime) {
    constexpr int pieces = 500000;
    std::string list;
    for (int i = 0; i < pieces; ++i) {
        list += "a,";
    }
    EXPECT_EQ(parse({list.c_str()}).args->getArgCount(), pieces);
}

TEST(GetArgs, CountsValuesByMode) {
    const getargs_config table[] = {
        {'m', "many", 2, GETARGS_AT_LEAST, nullptr, nullptr, "help"},
        {'q', nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr, "help"},
        {'2', nullptr, 2, GETARGS_EXACTLY, nullptr, nullptr, "help"},
        {0, "long", 1, GETARGS_EXACTLY, nullptr, "d", nullptr},
        {0, nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr, nullptr},
    };
    const Parsed good = parse({"-m", "a", "b,c", "-2", "x,y", "z"}, table, nullptr);
    EXPECT_EQ(good.error, 0U);
    EXPECT_EQ(dump(*good.args, "mq2"), "-m=a=b=c -2=x=y [z]");
    EXPECT_STREQ(good.args->getVal(0, "LONG", 0), "d");
    EXPECT_EQ(parse({"-m", "a"}, table, nullptr).complaint,
              "Option -m, --many expects at least 2 value(s).\n");
    EXPECT_EQ(parse({"-m", "a", "-q"}, table, nullptr).complaint,
              "Option -m, --many expects at least 2 value(s).\n");
    EXPECT_EQ(parse({"-2", "a"}, table, nullptr).complaint, "Option -2 expects 2 value(s).\n");
}

TEST(GetArgs, AnswersAndChanges) {
    Parsed parsed = parse({"-t", "-f", "x"});
    GetArgs& args = *parsed.args;
    EXPECT_STREQ(args.getVal('t', nullptr, 0), "none");
    EXPECT_EQ(args.getVal('f', nullptr, 1), nullptr);
    EXPECT_EQ(args.getVal('r', nullptr, 0), nullptr);
    EXPECT_EQ(args.getVal(0, nullptr, 0), nullptr);
    EXPECT_EQ(args.getValCount(0, nullptr), -1);
    EXPECT_EQ(args.getArg(0), nullptr);
    EXPECT_EQ(args.modifyVal("y", 'f', nullptr, 0), 0);
    EXPECT_STREQ(args.getVal('f', nullptr, 0), "y");
    EXPECT_EQ(args.modifyVal("y", 'f', nullptr, 1), -1);
    EXPECT_EQ(args.modifyVal("y", 't', nullptr, 0), -1);
    EXPECT_EQ(args.addOptionAndValue('r', nullptr, "z"), 0);
    EXPECT_STREQ(args.getVal('r', nullptr, 0), "z");
    const Parsed unconfigured = parse({}, nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(unconfigured.args->addOptionAndValue('r', nullptr, "z"), -1);
    EXPECT_EQ(args.addOptionAndValue(0, "nothing", "z"), -1);
    EXPECT_EQ(args.addOptionAndValue('r', nullptr, "z"), -1);
    testing::internal::GetCapturedStderr();
}

TEST(GetArgs, PrintsTheUsageFromTheTable) {
    const Parsed parsed = parse({});
    testing::internal::CaptureStdout();
    parsed.args->printUsage();
    std::fflush(stdout);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "Usage: postdock [flags...][option...[value...]] [recipients...]\n"
        "\n"
        "Flags:\n"
        "    -h, --help                             Print this help.\n"
        "    -v, --version                          Print version and exit.\n"
        "    -i                                     A line with a single '.' on input is not "
        "treated as end of file.\n"
        "    -t                                     Get recipients addresses from mail file. "
        "Implicit if no recipent arguments.\n"
        "    -n                                     Don't do aliasing.\n"
        "\n"
        "Options:\n"
        "    -f header_value                        Set From: header field.\n"
        "    -r header_value                        An alternate and obsolete form of the -f "
        "flag.\n"
        "    -F sender_name                         Set the sender full name.\n"
        "    -o                                     Ignored, for compatibility.\n"
        "    -O                                     Ignored, for compatibility.\n"
        "    -M                                     Ignored, for compatibility.\n"
        "    -m                                     Ignored, for compatibility.\n"
        "    -e                                     Ignored, for compatibility.\n"
        "    -C, --configfile filename              Server configuration file. Default to "
        "/var/opt/morvex/run/morvex.cfg.\n"
        "    -W, --workdir path                     Full path to working directory. Default to "
        "/var/opt/morvex.\n"
        "\n"
        "Please mail bug reports and suggestions to <support@morvex.example>.\n");
}

} // namespace
