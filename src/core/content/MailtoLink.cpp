#include "MailtoLink.h"
#include "TextTrim.h"

#include <QUrlQuery>

namespace {

QStringList addresses(const QString& text)
{
    QStringList result;
    for (const QString& piece : text.split(u',', Qt::SkipEmptyParts)) {
        const QString address = TextTrim::trimmed(piece, TextTrim::isBlankOrTab);
        if (!address.isEmpty())
            result.append(address);
    }
    return result;
}

} // namespace

std::optional<MailtoLink> MailtoLink::fromUrl(const QUrl& url)
{
    if (!url.isValid() || url.scheme().toLower() != QLatin1String("mailto"))
        return std::nullopt;

    MailtoLink link;
    link.to = addresses(url.path(QUrl::FullyDecoded));

    const QUrlQuery query(url);
    const auto items = query.queryItems(QUrl::FullyDecoded);
    for (const auto& [rawName, value] : items) {
        const QString name = rawName.toLower();
        if (name == QLatin1String("to")) {
            link.to.append(addresses(value));
        } else if (name == QLatin1String("cc")) {
            link.cc.append(addresses(value));
        } else if (name == QLatin1String("bcc")) {
            link.bcc.append(addresses(value));
        } else if (name == QLatin1String("subject")) {
            link.subject = value;
        } else if (name == QLatin1String("body")) {
            QString body = value;
            body.replace(QLatin1String("\r\n"), QLatin1String("\n"));
            link.body = body;
        }
    }
    return link;
}
