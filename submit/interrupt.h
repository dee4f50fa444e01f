// What the command does on SIGINT.
//
// While the handler is armed, an interrupt says "Transaction aborted by user", removes the files of
// the mail in progress, if there is one, and ends the process with exit code 0. Around the claim of
// an id and around the hand-over SIGINT is ignored, so that a mail is either gone or whole.

#ifndef MORVEX_SUBMIT_INTERRUPT_H
#define MORVEX_SUBMIT_INTERRUPT_H

// The handler. Never returns. It calls only what is safe in the middle of anything: write, unlink
// (through MailQueue::removeMailFiles), one datagram to the log socket, and _exit.
[[noreturn]] void sigint(int signo);

void armInterrupt();
void ignoreInterrupt();

#endif
