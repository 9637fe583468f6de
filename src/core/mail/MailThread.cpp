#include "MailThread.h"

#include <QSet>

const Email& MailThread::anchor() const
{
    for (const Email& email : emails)
        if (email.id == anchorId)
            return email;
    if (!emails.isEmpty())
        return emails.last();
    static const Email none;
    return none;
}

QString MailThread::subject() const
{
    const Email& email = anchor();
    if (email.subject && !email.subject->isEmpty())
        return *email.subject;
    return QStringLiteral("(no subject)");
}

qsizetype MailThread::messageCount() const
{
    return uniqueMessages(emails).size();
}

bool MailThread::isUnread() const
{
    return std::any_of(emails.begin(), emails.end(),
                       [](const Email& email) { return !email.isSeen() && !email.isDraft(); });
}

bool MailThread::isFlagged() const
{
    return std::any_of(emails.begin(), emails.end(),
                       [](const Email& email) { return email.isFlagged(); });
}

bool MailThread::hasAttachment() const
{
    return std::any_of(emails.begin(), emails.end(),
                       [](const Email& email) { return email.hasAttachment.value_or(false); });
}

QString MailThread::participants() const
{
    QStringList names;
    QSet<QString> seen;
    for (const Email& email : emails) {
        if (!email.from || email.from->isEmpty())
            continue;
        const EmailAddress& sender = email.from->first();
        const QString key = sender.email.toLower();
        if (seen.contains(key))
            continue;
        seen.insert(key);
        names.append(sender.name && !sender.name->isEmpty() ? *sender.name : sender.email);
    }
    if (names.isEmpty())
        return QStringLiteral("(unknown sender)");
    return names.join(QStringLiteral(", "));
}
