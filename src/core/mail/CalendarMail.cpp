#include "CalendarMail.h"

#include <QLocale>
#include <QStringList>
#include <QUuid>

namespace CalendarMail {

namespace {

// Text for a header: controls become spaces, so nothing can end the line early; anything
// beyond plain ASCII, or too long for one line, goes into RFC 2047 encoded words.
QByteArray headerText(const QString& text)
{
    QString clean = text;
    for (QChar& c : clean)
        if (c.unicode() < 0x20 || c.unicode() == 0x7f || c == QChar::LineSeparator ||
            c == QChar::ParagraphSeparator)
            c = u' ';
    bool plain = clean.size() <= 70;
    for (const QChar c : std::as_const(clean))
        plain = plain && c.unicode() < 0x7f;
    if (plain && !clean.contains(QLatin1String("=?")))
        return clean.toLatin1();
    // Words of at most 45 bytes of UTF-8, never splitting a character.
    QList<QByteArray> words;
    QByteArray chunk;
    for (qsizetype i = 0; i < clean.size(); ++i) {
        const qsizetype length = clean.at(i).isHighSurrogate() && i + 1 < clean.size() ? 2 : 1;
        const QByteArray bytes = clean.mid(i, length).toUtf8();
        i += length - 1;
        if (chunk.size() + bytes.size() > 45) {
            words.append(chunk);
            chunk.clear();
        }
        chunk += bytes;
    }
    if (!chunk.isEmpty() || words.isEmpty())
        words.append(chunk);
    QByteArrayList encoded;
    for (const QByteArray& word : std::as_const(words))
        encoded.append("=?UTF-8?B?" + word.toBase64() + "?=");
    return encoded.join("\r\n ");
}

// An address in a header; the address itself keeps only what an address may hold.
QByteArray address(const EmailAddress& value)
{
    QByteArray email;
    for (const QChar c : value.email)
        if (c.unicode() > 0x20 && c.unicode() < 0x7f && c != u'<' && c != u'>' && c != u',' &&
            c != u'"')
            email.append(char(c.unicode()));
    const QString name = value.name.value_or(QString()).trimmed();
    if (name.isEmpty())
        return email;
    QByteArray phrase = headerText(name);
    if (!phrase.startsWith("=?")) {
        phrase.replace('\\', "\\\\").replace('"', "\\\"");
        phrase = '"' + phrase + '"';
    }
    return phrase + " <" + email + '>';
}

QByteArray addresses(const QList<EmailAddress>& list)
{
    QByteArrayList parts;
    for (const EmailAddress& value : list)
        parts.append(address(value));
    return parts.join(",\r\n ");
}

// Message ids as "<id>" each; what could break out of the brackets is dropped.
QByteArray messageIds(const QStringList& ids)
{
    QByteArrayList parts;
    for (const QString& id : ids) {
        QByteArray clean;
        for (const QChar c : id)
            if (c.unicode() > 0x20 && c.unicode() < 0x7f && c != u'<' && c != u'>')
                clean.append(char(c.unicode()));
        if (!clean.isEmpty())
            parts.append('<' + clean + '>');
    }
    return parts.join("\r\n ");
}

QByteArray base64Lines(const QByteArray& data)
{
    const QByteArray encoded = data.toBase64();
    QByteArray result;
    for (qsizetype at = 0; at < encoded.size(); at += 76)
        result += encoded.mid(at, 76) + "\r\n";
    return result;
}

// RFC 5322 date: "Wed, 25 Nov 2026 04:30:08 +0000", in English whatever the locale.
QByteArray rfc5322Date(const QDateTime& date)
{
    const QDateTime utc = date.toUTC();
    return QLocale::c().toString(utc, QStringLiteral("ddd, d MMM yyyy HH:mm:ss")).toLatin1() +
           " +0000";
}

} // namespace

QByteArray mime(const OutgoingMessage& message, const QDateTime& date, const QString& messageId)
{
    const QByteArray boundary = "veldrin-" + QUuid::createUuid().toString(QUuid::Id128).toLatin1();
    const QString method = message.calendar ? message.calendar->method : QString();
    QByteArray methodToken;
    for (const QChar c : method)
        if (c.isLetterOrNumber() && c.unicode() < 0x7f)
            methodToken.append(char(c.toUpper().unicode()));

    QByteArray out;
    out += "From: " + address(identityAddress(message.identity)) + "\r\n";
    if (!message.to.isEmpty())
        out += "To: " + addresses(message.to) + "\r\n";
    if (!message.cc.isEmpty())
        out += "Cc: " + addresses(message.cc) + "\r\n";
    out += "Subject: " + headerText(message.subject) + "\r\n";
    out += "Date: " + rfc5322Date(date) + "\r\n";
    out += "Message-ID: " + messageIds({messageId}) + "\r\n";
    if (message.inReplyTo && !message.inReplyTo->isEmpty())
        out += "In-Reply-To: " + messageIds(*message.inReplyTo) + "\r\n";
    if (message.references && !message.references->isEmpty())
        out += "References: " + messageIds(*message.references) + "\r\n";
    out += "MIME-Version: 1.0\r\n";
    out += "Content-Type: multipart/alternative; boundary=\"" + boundary + "\"\r\n\r\n";
    out += "--" + boundary + "\r\n";
    out += "Content-Type: text/plain; charset=utf-8\r\n";
    out += "Content-Transfer-Encoding: base64\r\n\r\n";
    out += base64Lines(message.textBody.toUtf8());
    out += "--" + boundary + "\r\n";
    out += "Content-Type: text/calendar; method=" + methodToken + "; charset=utf-8\r\n";
    out += "Content-Transfer-Encoding: base64\r\n\r\n";
    out += base64Lines(message.calendar ? message.calendar->text.toUtf8() : QByteArray());
    out += "--" + boundary + "--\r\n";
    return out;
}

} // namespace CalendarMail
