// Who a message is from and who it goes to, and what is added to its headers.
//
// The flags do not name the envelope sender: they only shape From and Sender, and the envelope is
// then read back from those headers. Each step gives 0, or the exit code after reporting why the
// run ends. All addresses go through the process-wide `addrlist`.

#ifndef MORVEX_SUBMIT_ENVELOPE_H
#define MORVEX_SUBMIT_ENVELOPE_H

#include <string>

class GetArgs;
class MailMsg;

// Most recipients a mail takes, from arguments and headers together.
inline constexpr int recipientLimit = 1024;

// The value of a From or Sender that is to be added: from -F and -f or -r, or from the caller's
// name and the primary domain. EX_DATAERR for an invalid given address.
int buildSender(const GetArgs& args, std::string& sender);

// Adds From or Sender, Date and Received as needed, each at the head of the list.
void completeHeaders(MailMsg& message, const GetArgs& args, const std::string& sender);

// Gives the mail its return path and author from Sender and From. EX_DATAERR if one is invalid.
int readEnvelope(MailMsg& message);

// Adds the recipients of the arguments and, with -t or without arguments, of To, Cc and Bcc, and
// takes Bcc out of the message. An invalid recipient is reported and passed over; EX_DATAERR if
// none is left.
int collectRecipients(MailMsg& message, const GetArgs& args);

#endif
