#include "MailDocument.h"

#include <QRegularExpression>

namespace {

QString withoutAngleBrackets(QString id)
{
    id = id.trimmed();
    if (id.startsWith(QLatin1Char('<')) && id.endsWith(QLatin1Char('>')) && id.size() >= 2)
        id = id.mid(1, id.size() - 2);
    return id;
}

} // namespace

bool MailDocuments::remoteContentAllowed(const QString& html)
{
    // The first policy in the document is the one our wrapper writes into the head; a policy a
    // message puts in its body comes later and cannot widen what the view lets through.
    static const QRegularExpression meta(
        QStringLiteral("<meta\\s+http-equiv\\s*=\\s*[\"']?Content-Security-Policy[\"']?\\s+"
                       "content\\s*=\\s*\"([^\"]*)\""),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = meta.match(html);
    if (!match.hasMatch())
        return false;
    static const QRegularExpression remote(QStringLiteral("(^|\\s)https?:(\\s|;|$)"),
                                           QRegularExpression::CaseInsensitiveOption);
    return remote.match(match.captured(1)).hasMatch();
}

std::optional<BodyPart> MailDocuments::inlinePart(const QList<BodyPart>& parts,
                                                  const QString& contentId)
{
    const QString wanted = withoutAngleBrackets(contentId);
    if (wanted.isEmpty())
        return std::nullopt;
    for (const BodyPart& part : parts) {
        if (part.cid && withoutAngleBrackets(*part.cid) == wanted)
            return part;
    }
    return std::nullopt;
}
