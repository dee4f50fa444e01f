// The last part of a submission: the message goes into its data file, and the mail to the server.

#ifndef MORVEX_SUBMIT_HANDOVER_H
#define MORVEX_SUBMIT_HANDOVER_H

class MailMsg;
class StandardInput;

// Writes the message of `input` into the mail `mi` and hands the mail over, with SIGINT ignored
// from before the hand-over until its log line is written. Returns the exit code. On success `mi`
// is null and the mail is the server's; after a failure, which is reported, no file of it is left
// and SIGINT stays ignored.
int storeAndHandOver(MailMsg& message, const StandardInput& input);

// Reports that standard input could not be read; returns the exit code.
int reportUnreadable(int error);

#endif
