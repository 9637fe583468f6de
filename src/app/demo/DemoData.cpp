#include "DemoData.h"

namespace DemoData {

namespace {

Mailbox mailbox(const char* id, const char* name, std::optional<QString> role, qint64 sortOrder,
                qint64 totalThreads, qint64 unreadThreads, std::optional<QString> parentId = {})
{
    Mailbox result;
    result.id = QLatin1String(id);
    result.name = QString::fromUtf8(name);
    result.role = std::move(role);
    result.parentId = std::move(parentId);
    result.sortOrder = sortOrder;
    result.totalThreads = totalThreads;
    result.unreadThreads = unreadThreads;
    // Demo threads hold two messages on average.
    result.totalEmails = totalThreads * 2;
    result.unreadEmails = unreadThreads;
    return result;
}

MaskedEmail masked(const char* id, const char* email, MaskedEmail::State state, const char* domain,
                   const char* description, const QDateTime& created,
                   std::optional<QDateTime> lastMessage)
{
    MaskedEmail result;
    result.id = QLatin1String(id);
    result.email = QLatin1String(email);
    result.state = state;
    result.forDomain = QLatin1String(domain);
    result.description = QString::fromUtf8(description);
    result.createdAt = created;
    result.lastMessageAt = std::move(lastMessage);
    return result;
}

} // namespace

bool isDemo()
{
    return qEnvironmentVariableIsSet("VELDRIN_DEMO");
}

QString accountName()
{
    return QStringLiteral("alex@example.com");
}

QList<Identity> identities()
{
    return {Identity{QStringLiteral("demo-identity"), QStringLiteral("Alex Morgan"),
                     QStringLiteral("alex@example.com"), QStringLiteral("Alex")}};
}

QList<Mailbox> mailboxes()
{
    const QString inbox = QStringLiteral("inbox");
    return {
        mailbox("inbox", "Inbox", QStringLiteral("inbox"), 1, 248, 4),
        mailbox("drafts", "Drafts", QStringLiteral("drafts"), 2, 2, 0),
        mailbox("sent", "Sent", QStringLiteral("sent"), 3, 512, 0),
        mailbox("archive", "Archive", QStringLiteral("archive"), 4, 3120, 0),
        mailbox("spam", "Spam", QStringLiteral("junk"), 5, 14, 14),
        mailbox("trash", "Trash", QStringLiteral("trash"), 6, 37, 0),
        mailbox("projects", "Projects", std::nullopt, 10, 42, 2),
        mailbox("garden", "Community garden", std::nullopt, 10, 18, 1, QStringLiteral("projects")),
        mailbox("renovation", "Renovation", std::nullopt, 10, 24, 1, QStringLiteral("projects")),
        mailbox("receipts", "Receipts", std::nullopt, 11, 96, 0),
        mailbox("travel", "Travel", std::nullopt, 12, 31, 0),
    };
}

QList<Contact> contacts()
{
    return {
        Contact(QStringLiteral("c1"), QStringLiteral("Anna"), QStringLiteral("Berg"), {},
                QStringLiteral("Berg & Holm Architects"), {QStringLiteral("anna@example.com")},
                {QStringLiteral("+1 555 0100")}, QStringLiteral("Kitchen plans, second draft")),
        Contact(QStringLiteral("c2"), QStringLiteral("Ben"), QStringLiteral("Okafor"), {}, {},
                {QStringLiteral("ben.okafor@example.org"), QStringLiteral("ben@example.net")}, {},
                {}),
        Contact(QStringLiteral("c3"), QStringLiteral("Chiara"), QStringLiteral("Rossi"), {},
                QStringLiteral("Greenfield Co-op"), {QStringLiteral("chiara@example.org")},
                {QStringLiteral("+1 555 0142")}, {}),
        Contact(QStringLiteral("c4"), {}, {}, QStringLiteral("Dev Team"), {},
                {QStringLiteral("dev-team@example.com")}, {}, {}),
        Contact(QStringLiteral("c5"), QStringLiteral("Emil"), QStringLiteral("Sandqvist"), {}, {},
                {QStringLiteral("emil@example.net")}, {QStringLiteral("+1 555 0177")},
                QStringLiteral("Climbing on Thursdays")),
    };
}

QList<MaskedEmail> maskedEmails(const QDateTime& now)
{
    return {
        masked("m1", "quiet.river4821@example.com", MaskedEmail::State::enabled,
               "https://shop.example", "Garden supplies", now.addDays(-40), now.addDays(-2)),
        masked("m2", "amber.fox1177@example.com", MaskedEmail::State::enabled,
               "https://news.example", "Weekly newsletter", now.addDays(-120), now.addDays(-6)),
        masked("m3", "tall.cedar0932@example.com", MaskedEmail::State::disabled,
               "https://tickets.example", "Concert tickets", now.addDays(-300), now.addDays(-250)),
        masked("m4", "swift.heron5540@example.com", MaskedEmail::State::pending, "", "",
               now.addSecs(-600), std::nullopt),
    };
}

QList<EmailAddress> senders()
{
    return {
        EmailAddress{QStringLiteral("Anna Berg"), QStringLiteral("anna@example.com")},
        EmailAddress{QStringLiteral("Ben Okafor"), QStringLiteral("ben.okafor@example.org")},
        EmailAddress{QStringLiteral("Chiara Rossi"), QStringLiteral("chiara@example.org")},
        EmailAddress{QStringLiteral("Emil Sandqvist"), QStringLiteral("emil@example.net")},
    };
}

} // namespace DemoData
