#include "submit/state.h"

int processId = 0;
std::uint32_t userId = 0xFFFFFFFFU;
std::uint32_t mailId = noMailId;
std::int32_t rcpts = 0;
std::int32_t countRes = -1;
char* userName = nullptr;
MailQueue* mq = nullptr;
MailItem* mi = nullptr;
Address* argmailbox = nullptr;
AddressList* addrlist = nullptr;
char* queue_path = nullptr;
char* primary_domain = nullptr;
char* expand_domain = nullptr;
std::uint16_t queue_entry_count = 0;
char logident[logidentSize] = "";
