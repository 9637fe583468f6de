#include "EmailAddresses.h"
#include "TextTrim.h"

#include <QTextBoundaryFinder>

namespace {

struct Piece
{
    qsizetype start;
    qsizetype length;
};

// The scanner: a quoted run hides everything up to its closing quote (or the end), angle
// brackets hide separators, and outside both a comma, semicolon or line feed ends an entry.
QList<Piece> split(const QString& text)
{
    QList<Piece> pieces;
    qsizetype start = 0;
    bool insideAngle = false;
    for (qsizetype index = 0; index < text.size(); ++index) {
        const QChar c = text[index];
        if (c == u'"') {
            const qsizetype closing = text.indexOf(u'"', index + 1);
            index = closing < 0 ? text.size() : closing;
        } else if (c == u'<') {
            insideAngle = true;
        } else if (c == u'>') {
            insideAngle = false;
        } else if (!insideAngle && (c == u',' || c == u';' || c == u'\n')) {
            pieces.append({start, index - start});
            start = index + 1;
        }
    }
    pieces.append({start, text.size() - start});
    return pieces;
}

std::optional<EmailAddress> parse(QStringView piece)
{
    const QString text = piece.trimmed().toString();
    QString candidate = text;
    std::optional<QString> name;
    const qsizetype open = text.lastIndexOf(u'<');
    const qsizetype close = text.lastIndexOf(u'>');
    if (open >= 0 && close > open) {
        candidate = TextTrim::trimmed(QStringView(text).mid(open + 1, close - open - 1),
                                      TextTrim::isBlankOrTab);
        const QString before = TextTrim::trimmed(QStringView(text).left(open), [](QChar c) {
            return c == u' ' || c == u'\t' || c == u'"';
        });
        if (!before.isEmpty())
            name = before;
    }
    if (!candidate.contains(u'@') || candidate.contains(u' '))
        return std::nullopt;
    return EmailAddress{name, candidate};
}

bool hasName(const EmailAddress& address)
{
    return address.name && !address.name->isEmpty();
}

// The first user-perceived character of the text.
QString firstCharacter(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    const qsizetype end = finder.toNextBoundary();
    return text.left(end > 0 ? end : text.size());
}

// The text without its leading characters that are neither letters nor numbers.
QString fromFirstLetterOrNumber(const QString& text)
{
    qsizetype index = 0;
    while (index < text.size()) {
        char32_t codePoint = text[index].unicode();
        qsizetype width = 1;
        if (text[index].isHighSurrogate() && index + 1 < text.size() &&
            text[index + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(text[index], text[index + 1]);
            width = 2;
        }
        if (QChar::isLetterOrNumber(codePoint))
            break;
        index += width;
    }
    return text.mid(index);
}

} // namespace

namespace EmailAddresses {

QList<EmailAddress> parseList(const QString& text)
{
    QList<EmailAddress> addresses;
    for (const Piece& piece : split(text)) {
        if (auto address = parse(QStringView(text).mid(piece.start, piece.length)))
            addresses.append(std::move(*address));
    }
    return addresses;
}

QString unfinishedEntry(const QString& text)
{
    const Piece last = split(text).last();
    return QStringView(text).mid(last.start, last.length).trimmed().toString();
}

QString completing(const QString& text, const EmailAddress& address)
{
    QString result = text.left(split(text).last().start);
    if (!result.isEmpty() && !result.endsWith(u' '))
        result += u' ';
    result += listEntry(address);
    result += QLatin1String(", ");
    return result;
}

QString listEntry(const EmailAddress& address)
{
    if (!hasName(address))
        return address.email;
    const QString& name = *address.name;
    if (name.contains(u',') || name.contains(u';') || name.contains(u'<') || name.contains(u'>')) {
        QString unquoted = name;
        unquoted.remove(u'"');
        return u'"' + unquoted + QLatin1String("\" <") + address.email + u'>';
    }
    return name + QLatin1String(" <") + address.email + u'>';
}

QString formatted(const EmailAddress& address)
{
    if (!hasName(address))
        return address.email;
    return *address.name + QLatin1String(" <") + address.email + u'>';
}

QString displayName(const EmailAddress& address)
{
    return hasName(address) ? *address.name : address.email;
}

QString initials(const EmailAddress& address)
{
    QStringList pieces;
    const QString name = displayName(address);
    qsizetype index = 0;
    while (index < name.size()) {
        while (index < name.size() && name[index].isSpace())
            ++index;
        const qsizetype start = index;
        while (index < name.size() && !name[index].isSpace())
            ++index;
        const QString piece = fromFirstLetterOrNumber(name.mid(start, index - start));
        if (!piece.isEmpty())
            pieces.append(piece);
    }
    if (pieces.isEmpty())
        return QStringLiteral("?");
    QString result = firstCharacter(pieces.first());
    if (hasName(address) && pieces.size() >= 2)
        result += firstCharacter(pieces.last());
    return result.toUpper();
}

double avatarHue(const EmailAddress& address)
{
    quint32 hash = 5381;
    for (const char byte : address.email.toLower().toUtf8())
        hash = hash * 33 + static_cast<quint8>(byte);
    return static_cast<double>(hash % 360) / 360.0;
}

} // namespace EmailAddresses
