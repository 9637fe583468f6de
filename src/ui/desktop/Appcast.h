#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

// The update feed: an RSS channel whose items describe releases in the Sparkle style
// (sparkle:version, sparkle:shortVersionString, an enclosure carrying the same attributes).
namespace Appcast {

struct Release
{
    // What versions are compared by.
    QString version;
    // What the user reads; the version when the feed gives nothing else.
    QString displayVersion;
    QString title;
    // Where the release is described; always http or https.
    QUrl page;

    bool operator==(const Release&) const = default;
};

struct ParseError
{
    QString description;
};

// The releases meant for this platform that say where to read about them, in feed order.
// Items on a named channel, for another system, without a version or without a web page are
// left out. Throws ParseError when the document is not a readable feed.
QList<Release> parse(const QByteArray& document);

// Negative, zero or positive as `a` is older than, the same as or newer than `b`. Numbers
// compare as numbers, "1.10" is newer than "1.9", and a pre-release such as "2.0b1" is older
// than "2.0".
int compareVersions(const QString& a, const QString& b);

// The newest release that is newer than `current`, if any.
std::optional<Release> newest(const QList<Release>& releases, const QString& current);

} // namespace Appcast
