// Runs several commands in turn and tells what each took, one line a command.
//
//     submissions time RUNS INPUT NAME COMMAND ARG... [-- NAME COMMAND ARG...]...
//     submissions peak INPUT NAME COMMAND ARG... [-- NAME COMMAND ARG...]...
//
// "time" tells the medians of the wall time from fork to the end of the command and of its
// processor time, in microseconds, and how many of its runs failed. Each round runs every command
// once, in an order that changes, so that what disturbs the machine disturbs all of them and no
// command always pays for what the one before it left to the disk. "peak"
// runs each once and tells the peak of its resident memory in KiB, as the kernel knows it when the
// command is about to end. INPUT is every command's standard input; its output goes nowhere. "{}"
// in an argument becomes six hexadecimal digits that no other run has.
//
// Words in front of a command that hold a "=" go into its environment alone.
//
//     submissions listen PATH
//
// takes in what is sent to a log socket at PATH and drops it, until it is killed.
//
// Only the command itself is measured: what it leaves in the background is not waited for.

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

struct Command {
    const char* name;
    std::vector<std::string> environment;
    std::vector<std::string> arguments;
    std::vector<double> wall;
    std::vector<double> processor;
    int failures = 0;
};

[[noreturn]] void giveUp(const char* what) {
    std::perror(what);
    std::exit(1);
}

std::vector<Command> readCommands(char** argv) {
    std::vector<Command> commands;
    while (*argv != nullptr) {
        Command command{*argv++, {}, {}, {}, {}, 0};
        while (*argv != nullptr && std::strcmp(*argv, "--") != 0) {
            const bool variable = command.arguments.empty() && std::strchr(*argv, '=') != nullptr;
            (variable ? command.environment : command.arguments).emplace_back(*argv++);
        }
        if (command.arguments.empty()) {
            std::fprintf(stderr, "a name without a command: %s\n", command.name);
            std::exit(64);
        }
        commands.push_back(std::move(command));
        argv += *argv != nullptr ? 1 : 0;
    }
    return commands;
}

double now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
}

double microseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

// Starts a command; all that costs time is done before the clock starts.
pid_t start(const Command& command, const char* input, bool traced, double& started) {
    static unsigned number = 0;
    char digits[16];
    std::snprintf(digits, sizeof digits, "%06X", number++);
    std::vector<std::string> arguments = command.arguments;
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        if (const std::size_t place = argument.find("{}"); place != std::string::npos) {
            argument.replace(place, 2, digits);
        }
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    std::vector<char*> environment;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        environment.push_back(*variable);
    }
    for (const std::string& variable : command.environment) {
        environment.push_back(const_cast<char*>(variable.c_str()));
    }
    environment.push_back(nullptr);
    const int in = ::open(input, O_RDONLY | O_CLOEXEC);
    const int out = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (in < 0 || out < 0) {
        giveUp(input);
    }
    started = now();
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(in, STDIN_FILENO);
        ::dup2(out, STDOUT_FILENO);
        ::dup2(out, STDERR_FILENO);
        if (traced) {
            ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        }
        ::execvpe(argv[0], argv.data(), environment.data());
        ::_exit(127);
    }
    ::close(in);
    ::close(out);
    if (child < 0) {
        giveUp("fork");
    }
    return child;
}

void runOnce(Command& command, const char* input) {
    double started = 0;
    const pid_t child = start(command, input, false, started);
    int status = 0;
    rusage usage{};
    if (::wait4(child, &status, 0, &usage) != child) {
        giveUp("wait4");
    }
    command.wall.push_back(now() - started);
    command.processor.push_back(microseconds(usage.ru_utime) + microseconds(usage.ru_stime));
    command.failures += status != 0 ? 1 : 0;
}

int measureTimes(int runs, const char* input, std::vector<Command>& commands) {
    std::vector<std::size_t> order(commands.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::minstd_rand random;
    for (int round = 0; round < runs; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t index : order) {
            runOnce(commands[index], input);
        }
    }
    for (const Command& command : commands) {
        std::printf("%s\t%.0f\t%.0f\t%d\n", command.name, median(command.wall),
                    median(command.processor), command.failures);
    }
    return 0;
}

// The value of VmHWM of a process that has stopped, in KiB; -1 if it cannot be read.
long peakOf(pid_t process) {
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/status", static_cast<int>(process));
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr) {
        return -1;
    }
    long peak = -1;
    char line[256];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, "VmHWM:", 6) == 0) {
            peak = std::strtol(line + 6, nullptr, 10);
        }
    }
    std::fclose(file);
    return peak;
}

// The usage that wait4 gives would count the pages of this program too, from before the exec.
int measurePeaks(const char* input, std::vector<Command>& commands) {
    for (const Command& command : commands) {
        double started = 0;
        const pid_t child = start(command, input, true, started);
        int status = 0;
        long peak = -1;
        bool begun = false;
        while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
            const int event = status >> 16;
            const long signal = event == 0 && begun ? WSTOPSIG(status) : 0;
            if (!begun) { // the stop behind the first exec
                ::ptrace(PTRACE_SETOPTIONS, child, nullptr,
                         PTRACE_O_TRACEEXIT | PTRACE_O_TRACEEXEC | PTRACE_O_EXITKILL);
                begun = true;
            } else if (event == PTRACE_EVENT_EXIT) {
                peak = peakOf(child);
            }
            ::ptrace(PTRACE_CONT, child, nullptr, signal);
        }
        std::printf("%s\t%ld\t%d\n", command.name, peak, status);
    }
    return 0;
}

int listenForLog(const char* path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path) {
        return 64;
    }
    std::strcpy(address.sun_path, path);
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        giveUp(path);
    }
    ::chmod(path, 0666);
    char text[8192];
    while (::recv(fd, text, sizeof text, 0) >= 0) {
    }
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "listen") == 0) {
        return listenForLog(argv[2]);
    }
    const bool time = argc > 5 && std::strcmp(argv[1], "time") == 0;
    const bool peak = argc > 4 && std::strcmp(argv[1], "peak") == 0;
    const int runs = time ? std::atoi(argv[2]) : 0;
    if ((!time && !peak) || (time && runs < 1)) {
        std::fprintf(stderr, "usage: submissions time RUNS INPUT NAME COMMAND ARG... [-- ...]\n"
                             "       submissions peak INPUT NAME COMMAND ARG... [-- ...]\n"
                             "       submissions listen PATH\n");
        return 64;
    }
    std::vector<Command> commands = readCommands(argv + (time ? 4 : 3));
    return time ? measureTimes(runs, argv[3], commands) : measurePeaks(argv[2], commands);
}
