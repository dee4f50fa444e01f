#include "tests/faults/tracer.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace {

#if defined(__x86_64__)

TracedCall readCall(pid_t child, user_regs_struct& regs) {
    ::ptrace(PTRACE_GETREGS, child, nullptr, &regs);
    return {regs.orig_rax, {regs.rdi, regs.rsi, regs.rdx, regs.r10, regs.r8, regs.r9}};
}

// The kernel takes a call of number -1 for one that does not exist; what it would give is replaced
// when the call returns.
void skipCall(pid_t child, user_regs_struct regs) {
    regs.orig_rax = ~0ULL;
    ::ptrace(PTRACE_SETREGS, child, nullptr, &regs);
}

void setResult(pid_t child, long result) {
    user_regs_struct regs{};
    ::ptrace(PTRACE_GETREGS, child, nullptr, &regs);
    regs.rax = static_cast<unsigned long long>(result);
    ::ptrace(PTRACE_SETREGS, child, nullptr, &regs);
}

void setSize(pid_t child, user_regs_struct regs, int size) {
    regs.rdx = static_cast<unsigned long long>(size);
    ::ptrace(PTRACE_SETREGS, child, nullptr, &regs);
}

constexpr bool knowsTheMachine = true;

#else

struct user_regs_struct {};
TracedCall readCall(pid_t, user_regs_struct&) {
    return {};
}
void skipCall(pid_t, user_regs_struct) {
}
void setResult(pid_t, long) {
}
void setSize(pid_t, user_regs_struct, int) {
}

constexpr bool knowsTheMachine = false;

#endif

constexpr int syscallStop = SIGTRAP | 0x80;

int exitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// One traced process between its stops.
class Tracee {
public:
    Tracee(pid_t process, const Judge& judgeOfCalls, TracedRun& result)
        : child(process), judge(judgeOfCalls), run(result) {}

    void follow() {
        int status = 0;
        int signal = 0;
        while (true) {
            ::ptrace(PTRACE_SYSCALL, child, nullptr, reinterpret_cast<void*>(long{signal}));
            if (::waitpid(child, &status, 0) != child) {
                return;
            }
            if (!WIFSTOPPED(status)) {
                run.exitCode = exitCodeOf(status);
                return;
            }
            signal = WSTOPSIG(status) == syscallStop ? 0 : WSTOPSIG(status);
            if (signal == 0) {
                entering ? enter() : leave();
                entering = !entering;
            }
        }
    }

private:
    void enter() {
        user_regs_struct regs{};
        const TracedCall call = readCall(child, regs);
        const Verdict verdict = judge(run.calls++, call);
        run.reached = run.reached || verdict.kind != Verdict::Pass;
        failing = verdict.kind == Verdict::Fail ? verdict.value : 0;
        switch (verdict.kind) {
        case Verdict::Pass:
            break;
        case Verdict::Kill:
            ::kill(child, SIGKILL);
            break;
        case Verdict::Fail:
            skipCall(child, regs);
            break;
        case Verdict::Shorten:
            setSize(child, regs, verdict.value);
            break;
        case Verdict::Signal:
            ::kill(child, verdict.value);
            break;
        }
    }

    void leave() {
        if (failing != 0) {
            setResult(child, -failing);
        }
    }

    pid_t child;
    const Judge& judge;
    TracedRun& run;
    bool entering = true;
    int failing = 0;
};

} // namespace

TracedRun trace(const std::function<void()>& child, const Judge& judge) {
    TracedRun run;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        child();
        ::_exit(126);
    }
    int status = 0;
    ::waitpid(pid, &status, 0); // the exec
    if (!WIFSTOPPED(status)) {
        run.exitCode = exitCodeOf(status);
        return run;
    }
    ::ptrace(PTRACE_SETOPTIONS, pid, nullptr,
             reinterpret_cast<void*>(long{PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL}));
    Tracee(pid, judge, run).follow();
    return run;
}

bool canTrace() {
    if (!knowsTheMachine) {
        std::fputs("fault injection knows no other machine than x86-64\n", stderr);
        return false;
    }
    const TracedRun run = trace([] { ::execl("/bin/true", "true", nullptr); },
                                [](int, const TracedCall&) { return Verdict{}; });
    if (run.exitCode != 0 || run.calls == 0) {
        std::fputs("this machine does not let a process trace its child\n", stderr);
        return false;
    }
    return true;
}
