#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// What a mailto: link asks to compose. The addresses are kept as the link writes them; the
// draft reads them later like typed text.
struct MailtoLink
{
    QStringList to;
    QStringList cc;
    QStringList bcc;
    QString subject;
    QString body;

    bool operator==(const MailtoLink&) const = default;

    // Absent unless the URL's scheme is mailto (in any case).
    static std::optional<MailtoLink> fromUrl(const QUrl& url);
};
