// Runs a program under ptrace and lets one of its system calls go wrong: the N-th is where the
// process is killed, where the call fails, or where signals arrive.

#ifndef MORVEX_TESTS_FAULTS_TRACER_H
#define MORVEX_TESTS_FAULTS_TRACER_H

#include <cstdint>
#include <functional>
#include <vector>

struct TracedCall {
    std::uint64_t number; // as in <sys/syscall.h>
    std::uint64_t args[6];
};

// What to do when a call is about to enter the kernel.
struct Verdict {
    enum Kind { Pass, Kill, Fail, Shorten, Signal } kind = Pass;
    int value = 0; // Fail: the error; Shorten: the size to pass instead; Signal: the signal
};

// Called at each system call, with its position in the run, from 0 (the first after exec).
using Judge = std::function<Verdict(int position, const TracedCall& call)>;

struct TracedRun {
    int exitCode = -1;    // 128 + N after signal N
    int calls = 0;        // system calls begun
    bool reached = false; // whether the judge ever gave anything but Pass
};

// Whether this machine lets a process trace its child; says why not on standard error.
bool canTrace();

// Runs `child` in a fork up to its exec, which must come, and judges the calls behind it.
TracedRun trace(const std::function<void()>& child, const Judge& judge);

#endif
