#include "ReplyBuilder.h"

#include "DateFormat.h"
#include "EmailHTML.h"

namespace {

// The subject with the prefix in front, unless it already starts with one of the
// (lower-case) alternatives.
QString prefixed(const QString& subject, const QString& prefix, const QStringList& alternatives)
{
    const QString lower = subject.toLower();
    for (const QString& alternative : alternatives) {
        if (lower.startsWith(alternative))
            return subject;
    }
    return prefix + u' ' + subject;
}

QString list(const std::optional<QList<EmailAddress>>& addresses)
{
    QStringList entries;
    for (const EmailAddress& address : addresses.value_or(QList<EmailAddress>())) {
        if (address.name && !address.name->isEmpty())
            entries.append(*address.name + QLatin1String(" <") + address.email + u'>');
        else
            entries.append(address.email);
    }
    return entries.join(QLatin1String(", "));
}

QString quoted(const QString& text)
{
    QStringList lines = text.split(u'\n');
    for (QString& line : lines)
        line = line.isEmpty() ? QStringLiteral(">") : QLatin1String("> ") + line;
    return lines.join(u'\n');
}

DraftSeed forward(const Email& email, const QString& subject, const QString& text,
                  const QString& date)
{
    const QStringList block{QStringLiteral("---------- Forwarded message ----------"),
                            QLatin1String("From: ") + list(email.from),
                            QLatin1String("Date: ") + date, QLatin1String("Subject: ") + subject,
                            QLatin1String("To: ") + list(email.to)};
    DraftSeed seed;
    seed.subject =
        prefixed(subject, QStringLiteral("Fwd:"), {QStringLiteral("fwd:"), QStringLiteral("fw:")});
    seed.body = QLatin1String("\n\n") + block.join(u'\n') + QLatin1String("\n\n") + text;
    return seed;
}

} // namespace

namespace ReplyBuilder {

DraftSeed seed(ReplyKind kind, const Email& email, const QSet<QString>& ownAddresses,
               const QLocale& locale, const QTimeZone& timeZone)
{
    const QString subject = email.subject.value_or(QString());
    const QString text = EmailHTML::plainText(email);
    const QString date = DateFormat::abbreviatedDateShortTime(email.receivedAt, locale, timeZone);
    if (kind == ReplyKind::Forward)
        return forward(email, subject, text, date);

    const QList<EmailAddress> from = email.from.value_or(QList<EmailAddress>());
    const bool fromMe =
        !from.isEmpty() && std::all_of(from.begin(), from.end(), [&](const EmailAddress& a) {
            return ownAddresses.contains(a.email.toLower());
        });
    QList<EmailAddress> target;
    if (fromMe)
        target = email.to.value_or(QList<EmailAddress>());
    else if (email.replyTo && !email.replyTo->isEmpty())
        target = *email.replyTo;
    else
        target = from;

    DraftSeed seed;
    seed.to = target;
    if (kind == ReplyKind::ReplyAll) {
        QSet<QString> seen;
        for (const EmailAddress& address : std::as_const(target))
            seen.insert(address.email.toLower());
        QList<EmailAddress> candidates;
        if (!fromMe)
            candidates += email.to.value_or(QList<EmailAddress>());
        candidates += email.cc.value_or(QList<EmailAddress>());
        for (const EmailAddress& candidate : std::as_const(candidates)) {
            const QString key = candidate.email.toLower();
            if (ownAddresses.contains(key) || seen.contains(key))
                continue;
            seen.insert(key);
            seed.cc.append(candidate);
        }
    }

    seed.subject = prefixed(subject, QStringLiteral("Re:"), {QStringLiteral("re:")});
    seed.inReplyTo = email.messageId;
    seed.references =
        email.references.value_or(QStringList()) + email.messageId.value_or(QStringList());
    seed.answeredEmailId = email.id;
    seed.body = QLatin1String("\n\nOn ") + date + QLatin1String(", ") + email.senderName() +
                QLatin1String(" wrote:\n\n") + quoted(text) + u'\n';
    return seed;
}

} // namespace ReplyBuilder
