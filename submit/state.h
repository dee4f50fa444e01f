// What one run of the command keeps in plain global variables, because the interrupt handler and
// the clean-up must reach it without arguments. One thread; only `mq`, `mailId` and the queue's
// removal of a mail's files are touched by the handler (submit/interrupt.h).

#ifndef MORVEX_SUBMIT_STATE_H
#define MORVEX_SUBMIT_STATE_H

#include <cstddef>
#include <cstdint>

class Address;
class AddressList;
class MailItem;
class MailQueue;

inline constexpr std::uint32_t noMailId = 0xFFFFFFFFU;
inline constexpr std::size_t logidentSize = 40;

extern int processId;         // this process: it never forks
extern std::uint32_t userId;  // real uid of the caller
extern std::uint32_t mailId;  // the mail in progress; noMailId before and after it
extern std::int32_t rcpts;    // recipients taken so far
extern std::int32_t countRes; // result of the latest recipient parse
extern char* userName;        // owned; the caller's login name
extern MailQueue* mq;         // owned
extern MailItem* mi;          // non-null means unfinished: cleanup removes it
extern Address* argmailbox;   // borrowed from addrlist
extern AddressList* addrlist; // owned; reused for every parse
extern char* queue_path;      // owned
extern char* primary_domain;  // owned
extern char* expand_domain;   // primary_domain, or null with -n; never freed by itself
extern std::uint16_t queue_entry_count;
extern char logident[logidentSize]; // outlives the log connection

#endif
