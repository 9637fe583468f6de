#include "MaskedEmailDetails.h"
#include "TextTrim.h"

#include <algorithm>

namespace {

// Spaces and tabs only: a line break is kept, and then makes no website.
bool isSpace(QChar c)
{
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

bool isHostScalar(char32_t scalar)
{
    if (scalar == U'-' || scalar == U'.')
        return true;
    switch (QChar::category(scalar)) {
    case QChar::Letter_Uppercase:
    case QChar::Letter_Lowercase:
    case QChar::Letter_Titlecase:
    case QChar::Letter_Modifier:
    case QChar::Letter_Other:
    case QChar::Mark_NonSpacing:
    case QChar::Mark_SpacingCombining:
    case QChar::Mark_Enclosing:
    case QChar::Number_DecimalDigit:
    case QChar::Number_Letter:
    case QChar::Number_Other:
        return true;
    default:
        return false;
    }
}

bool isHost(const QString& host)
{
    if (!host.contains(u'.') || host.startsWith(u'.') || host.endsWith(u'.'))
        return false;
    const QList<uint> scalars = host.toUcs4();
    return std::all_of(scalars.begin(), scalars.end(),
                       [](uint scalar) { return isHostScalar(static_cast<char32_t>(scalar)); });
}

// A port written in base 10, from 1 to 65535; a sign is allowed as by any integer reader.
std::optional<int> port(const QString& text)
{
    QStringView digits(text);
    if (digits.startsWith(u'+'))
        digits = digits.mid(1);
    if (digits.isEmpty())
        return std::nullopt;
    qint64 value = 0;
    for (QChar c : digits) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
        value = value * 10 + (c.unicode() - u'0');
        if (value > 65535)
            return std::nullopt;
    }
    if (value < 1)
        return std::nullopt;
    return static_cast<int>(value);
}

} // namespace

std::optional<QString> MaskedEmailDetails::origin(const QString& text)
{
    const QString trimmed = TextTrim::trimmed(text, isSpace);
    if (trimmed.isEmpty())
        return QString();
    QString scheme = QStringLiteral("https");
    QString rest = trimmed;
    const qsizetype separator = trimmed.indexOf(QStringLiteral("://"));
    if (separator >= 0) {
        scheme = trimmed.left(separator).toLower();
        rest = trimmed.mid(separator + 3);
    }
    if (scheme != u"https" && scheme != u"http")
        return std::nullopt;

    qsizetype authorityEnd = rest.size();
    for (QChar end : {u'/', u'?', u'#'}) {
        const qsizetype at = rest.indexOf(end);
        if (at >= 0)
            authorityEnd = std::min(authorityEnd, at);
    }
    const QString authority = rest.left(authorityEnd);
    const qsizetype colon = authority.indexOf(u':');
    const QString host = (colon >= 0 ? authority.left(colon) : authority).toLower();
    if (!isHost(host))
        return std::nullopt;
    QString result = scheme + QStringLiteral("://") + host;
    if (colon >= 0) {
        const auto number = port(authority.mid(colon + 1));
        if (!number)
            return std::nullopt;
        result += u':' + QString::number(*number);
    }
    return result;
}

QString MaskedEmailDetails::storedForDomain() const
{
    const auto site = origin(forDomain);
    return site ? *site : TextTrim::trimmed(forDomain, isSpace);
}

QString MaskedEmailDetails::storedDescription() const
{
    return TextTrim::trimmed(description, isSpace);
}

QJsonObject MaskedEmailDetails::json() const
{
    return {{QStringLiteral("forDomain"), storedForDomain()},
            {QStringLiteral("description"), storedDescription()}};
}
