// The order of work of one submission: one message from standard input into the queue, whole, or
// nothing and a reason. Exit codes are those of <sysexits.h>.

#ifndef MORVEX_SUBMIT_SUBMISSION_H
#define MORVEX_SUBMIT_SUBMISSION_H

// Does all the work and returns the exit code; never exits. A mail that is not finished stands in
// `mi` afterwards, for cleanup to remove.
int main_helper(int argc, const char** argv, const char** envp);

// Creates `mq` over `queue_path`; leaves it null, after reporting, if the queue cannot be used.
void getQueue();

// Removes an unfinished mail and frees the process-wide state.
void cleanup();

// Prints the version line on standard output.
void printVersion();

#endif
