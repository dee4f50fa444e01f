#include "submit/options.h"

// clang-format off
const getargs_config getArgsConf[] = {
    {1, nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr,
     "Usage: postdock [flags...][option...[value...]] [recipients...]\n"},
    {1, nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr, "Flags:"},
    {'h', "help", 0, GETARGS_EXACTLY, nullptr, nullptr, "Print this help."},
    {'v', "version", 0, GETARGS_EXACTLY, nullptr, nullptr, "Print version and exit."},
    {'i', nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr,
     "A line with a single '.' on input is not treated as end of file."},
    {'t', nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr,
     "Get recipients addresses from mail file. Implicit if no recipent arguments."},
    {'n', nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr, "Don't do aliasing."},
    {1, nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr, "\nOptions:"},
    {'f', nullptr, 1, GETARGS_EXACTLY, "header_value", nullptr, "Set From: header field."},
    {'r', nullptr, 1, GETARGS_EXACTLY, "header_value", nullptr,
     "An alternate and obsolete form of the -f flag."},
    {'F', nullptr, 1, GETARGS_EXACTLY, "sender_name", nullptr, "Set the sender full name."},
    {'o', nullptr, 2, GETARGS_AT_MOST, nullptr, nullptr, "Ignored, for compatibility."},
    {'O', nullptr, 1, GETARGS_AT_MOST, nullptr, nullptr, "Ignored, for compatibility."},
    {'M', nullptr, 1, GETARGS_AT_MOST, nullptr, nullptr, "Ignored, for compatibility."},
    {'m', nullptr, 1, GETARGS_AT_MOST, nullptr, nullptr, "Ignored, for compatibility."},
    {'e', nullptr, 1, GETARGS_AT_MOST, nullptr, nullptr, "Ignored, for compatibility."},
    {'C', "configfile", 1, GETARGS_EXACTLY, "filename", "run/morvex.cfg",
     "Server configuration file. Default to /var/opt/morvex/run/morvex.cfg."},
    {'W', "workdir", 1, GETARGS_EXACTLY, "path", "/var/opt/morvex",
     "Full path to working directory. Default to /var/opt/morvex."},
    {1, nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr,
     "\nPlease mail bug reports and suggestions to <support@morvex.example>."},
    {0, nullptr, 0, GETARGS_EXACTLY, nullptr, nullptr, nullptr},
};

const char* const ignoreArgs[] = {
    "-a", "-A", "-b", "-B", "-c", "-D", "-e", "-E", "-g", "-G", "-H", "-i", "-I", "-j", "-J",
    "-k", "-K", "-l", "-d", "-L", "-m", "-M", "-N", "-o", "-O", "-p", "-P", "-q", "-Q", "-R",
    "-s", "-S", "-T", "-u", "-U", "-V", "-x", "-X", "-y", "-Y", "-z", "-Z", nullptr,
};
// clang-format on
