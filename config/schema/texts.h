// The built-in message texts: what lists, password expiry, the welcome and the quota warning say
// until a file gives other words. The running server sends them; the schema only keeps them.
//
// A text is a message or a piece of one, with CR LF line ends. The server fills in
//   %D  the domain          %U  the user's name       %L  the list's address
//   %S  the sender          %C  the command           %K  the confirmation key
//   %T  a time              %P  a percentage
// Each text stays below 4,096 bytes, the longest value that a file can hold.

#ifndef MORVEX_CONFIG_SCHEMA_TEXTS_H
#define MORVEX_CONFIG_SCHEMA_TEXTS_H

namespace HConfig::schema::texts {

// clang-format off

// Replies of a mailing list.

inline constexpr char unknownCommand[] =
    "Subject: Unknown command\r\n"
    "\r\n"
    "The list %L does not know the command \"%C\".\r\n"
    "It knows subscribe and unsubscribe.\r\n";

inline constexpr char invalidUserName[] =
    "Subject: Invalid address\r\n"
    "\r\n"
    "The address %S cannot be used with the list %L.\r\n";

inline constexpr char notAUser[] =
    "Subject: You are not subscribed\r\n"
    "\r\n"
    "The address %S is not subscribed to the list %L, so nothing was done.\r\n";

inline constexpr char badConfirmation[] =
    "Subject: Confirmation not accepted\r\n"
    "\r\n"
    "The confirmation that you sent to the list %L matches no open request.\r\n"
    "It may have been used before, or have expired. Please send your request again.\r\n";

inline constexpr char requestNeedsConfirmation[] =
    "Subject: Please confirm %K\r\n"
    "\r\n"
    "The list %L received the request \"%C\" for %S.\r\n"
    "To confirm it, reply to this message and leave the subject as it is.\r\n"
    "If the request is not yours, there is nothing that you need to do.\r\n";

inline constexpr char requestNeedsAdminConfirmation[] =
    "Subject: Request to approve %K\r\n"
    "\r\n"
    "The list %L received the request \"%C\" for %S.\r\n"
    "To approve it, reply to this message and leave the subject as it is.\r\n";

inline constexpr char userAlreadySubscribed[] =
    "Subject: You are already subscribed\r\n"
    "\r\n"
    "The address %S is already subscribed to the list %L.\r\n";

inline constexpr char autoRejectResponse[] =
    "Subject: Your message was not distributed\r\n"
    "\r\n"
    "The list %L does not take messages from %S.\r\n";

inline constexpr char welcome[] =
    "Subject: Welcome to %L\r\n"
    "\r\n"
    "The address %S is now subscribed to the list %L.\r\n";

inline constexpr char goodbye[] =
    "Subject: Goodbye from %L\r\n"
    "\r\n"
    "The address %S is no longer subscribed to the list %L.\r\n";

inline constexpr char invalidFormat[] =
    "Subject: Your message was not distributed\r\n"
    "\r\n"
    "The list %L does not take messages of the kind that you sent.\r\n"
    "Please send it as plain text.\r\n";

inline constexpr char subscribeDenied[] =
    "Subject: Subscription denied\r\n"
    "\r\n"
    "The address %S cannot be subscribed to the list %L.\r\n";

// Password expiry and the welcome to a new user.

inline constexpr char passExpirationWarningSubject[] =
    "Your password expires soon";

inline constexpr char passExpirationWarningBody[] =
    "The password of %U@%D expires on %T.\r\n"
    "Please choose a new one before that day.\r\n";

inline constexpr char welcomeMessageSubject[] =
    "Welcome, %U";

inline constexpr char welcomeMessageBody[] =
    "Your account %U@%D is ready.\r\n";

// The quota warning.

inline constexpr char quotaLimitNotificationSubject[] =
    "Your mailbox is nearly full";

inline constexpr char quotaLimitNotificationBody[] =
    "The mailboxes of %U@%D hold %P percent of what they may hold.\r\n"
    "Please delete messages that you no longer need.\r\n";

// clang-format on

} // namespace HConfig::schema::texts

#endif
