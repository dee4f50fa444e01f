// MailShepherd: the server-side partner of a MailQueue, which it tells when mails are bound and
// unbound. The submission command has none; its queue drops marker files instead.
//
// The queue does not own its shepherd, which must outlive it. All operations are called without the
// queue's lock, by whatever thread binds or unbinds a mail, so they may be called at the same time.

#ifndef MORVEX_QUEUE_MAIL_SHEPHERD_H
#define MORVEX_QUEUE_MAIL_SHEPHERD_H

class MailItem;

class MailShepherd {
public:
    virtual ~MailShepherd();

    // Whether mails are being processed; without it no new mail is begun.
    virtual bool isProcessing() const = 0;

    // A mail was bound. The caller of the bind holds it during the call.
    virtual void bindNotification(MailItem* item) = 0;

    // The mail with this id could not be bound, though its file was not found to be bad.
    virtual void bindErrorNotification(unsigned id) = 0;

    // A holder is about to let go of the mail, which it still holds during the call. `received` is
    // true at the end of a new mail's reception. True asks the queue to drop the mail from memory;
    // the answer counts only where `received` was set.
    virtual bool unbindNotification(MailItem* item, bool received) = 0;

protected:
    MailShepherd() = default;
    MailShepherd(const MailShepherd&) = delete;
    MailShepherd& operator=(const MailShepherd&) = delete;
};

#endif
