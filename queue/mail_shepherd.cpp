#include "queue/mail_shepherd.h"

MailShepherd::~MailShepherd() = default;
