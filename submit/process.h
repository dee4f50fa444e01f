// What the command needs of its process, whatever the caller left it with.

#ifndef MORVEX_SUBMIT_PROCESS_H
#define MORVEX_SUBMIT_PROCESS_H

// Keeps descriptors 0 to 2 from being taken by the queue's files, turns the signals of a closed
// pipe and of a file-size limit into errors of the write, and sees to it that an exception that
// nobody catches (EX_TEMPFAIL) and an internal check that fails (EX_IOERR) leave no file of the
// mail. With the mail handed over already both end with EX_OK.
void guardProcess();

#endif
