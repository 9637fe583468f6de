#include "Appcast.h"

#include <QXmlStreamReader>

namespace {

constexpr auto sparkleNamespace = "http://www.andymatuschak.org/xml-namespaces/sparkle";

bool isWebPage(const QUrl& url)
{
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == u"https" || url.scheme() == u"http");
}

// One item as read, before it is judged.
struct Item
{
    QString title;
    QString version;
    QString shortVersion;
    QString channel;
    QString os;
    QUrl link;
    QUrl releaseNotes;
    QUrl enclosure;
};

void readEnclosure(const QXmlStreamAttributes& attributes, Item& item)
{
    const QString sparkle = QString::fromLatin1(sparkleNamespace);
    if (item.version.isEmpty())
        item.version = attributes.value(sparkle, QLatin1StringView("version")).trimmed().toString();
    if (item.shortVersion.isEmpty())
        item.shortVersion =
            attributes.value(sparkle, QLatin1StringView("shortVersionString")).trimmed().toString();
    item.os = attributes.value(sparkle, QLatin1StringView("os")).trimmed().toString();
    item.enclosure = QUrl(attributes.value(QLatin1StringView("url")).trimmed().toString());
}

Item readItem(QXmlStreamReader& reader)
{
    const QString sparkle = QString::fromLatin1(sparkleNamespace);
    Item item;
    while (reader.readNextStartElement()) {
        const auto name = reader.name();
        const bool isSparkle = reader.namespaceUri() == sparkle;
        if (isSparkle && name == u"version")
            item.version = reader.readElementText().trimmed();
        else if (isSparkle && name == u"shortVersionString")
            item.shortVersion = reader.readElementText().trimmed();
        else if (isSparkle && name == u"releaseNotesLink")
            item.releaseNotes = QUrl(reader.readElementText().trimmed());
        else if (isSparkle && name == u"channel")
            item.channel = reader.readElementText().trimmed();
        else if (reader.namespaceUri().isEmpty() && name == u"title")
            item.title = reader.readElementText().trimmed();
        else if (reader.namespaceUri().isEmpty() && name == u"link")
            item.link = QUrl(reader.readElementText().trimmed());
        else if (reader.namespaceUri().isEmpty() && name == u"enclosure") {
            readEnclosure(reader.attributes(), item);
            reader.skipCurrentElement();
        } else
            reader.skipCurrentElement();
    }
    return item;
}

std::optional<Appcast::Release> judge(const Item& item, const QUrl& channelLink)
{
    // Items without an os attribute are the feed's own default; anything else is another
    // system's build.
    if (!item.channel.isEmpty() || item.version.isEmpty())
        return std::nullopt;
    if (!item.os.isEmpty() && item.os.compare(u"linux", Qt::CaseInsensitive) != 0)
        return std::nullopt;
    QUrl page;
    for (const QUrl& candidate : {item.link, item.releaseNotes, channelLink, item.enclosure})
        if (isWebPage(candidate)) {
            page = candidate;
            break;
        }
    if (page.isEmpty())
        return std::nullopt;
    return Appcast::Release{item.version,
                            item.shortVersion.isEmpty() ? item.version : item.shortVersion,
                            item.title, page};
}

// A version read as runs of digits, runs of letters and separators.
enum class Kind
{
    Number,
    Text,
    Separator,
};

QList<std::pair<Kind, QString>> chunks(const QString& version)
{
    QList<std::pair<Kind, QString>> result;
    for (const QChar c : version) {
        const Kind kind = c.isDigit() ? Kind::Number : c.isLetter() ? Kind::Text : Kind::Separator;
        if (!result.isEmpty() && result.last().first == kind && kind != Kind::Separator)
            result.last().second.append(c);
        else
            result.append({kind, QString(c)});
    }
    return result;
}

int compareNumbers(QString a, QString b)
{
    // Digits only, so the longer text without leading zeros is the larger number, whatever
    // its length.
    while (a.size() > 1 && a.startsWith(u'0'))
        a.remove(0, 1);
    while (b.size() > 1 && b.startsWith(u'0'))
        b.remove(0, 1);
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}

} // namespace

namespace Appcast {

QList<Release> parse(const QByteArray& document)
{
    QXmlStreamReader reader(document);
    if (!reader.readNextStartElement() || reader.name() != u"rss")
        throw ParseError{reader.hasError() ? reader.errorString()
                                           : QStringLiteral("The feed is not an RSS document.")};
    QList<Item> items;
    QUrl channelLink;
    bool sawChannel = false;
    while (reader.readNextStartElement()) {
        if (reader.name() != u"channel") {
            reader.skipCurrentElement();
            continue;
        }
        sawChannel = true;
        while (reader.readNextStartElement()) {
            if (reader.name() == u"item")
                items.append(readItem(reader));
            else if (reader.name() == u"link" && reader.namespaceUri().isEmpty())
                channelLink = QUrl(reader.readElementText().trimmed());
            else
                reader.skipCurrentElement();
        }
    }
    if (reader.hasError())
        throw ParseError{reader.errorString()};
    if (!sawChannel)
        throw ParseError{QStringLiteral("The feed has no channel.")};
    QList<Release> releases;
    for (const Item& item : items)
        if (auto release = judge(item, channelLink))
            releases.append(*release);
    return releases;
}

int compareVersions(const QString& a, const QString& b)
{
    const auto left = chunks(a);
    const auto right = chunks(b);
    const qsizetype common = std::min(left.size(), right.size());
    for (qsizetype i = 0; i < common; ++i) {
        const auto& [leftKind, leftText] = left[i];
        const auto& [rightKind, rightText] = right[i];
        if (leftKind == rightKind) {
            const int order = leftKind == Kind::Number ? compareNumbers(leftText, rightText)
                              : leftKind == Kind::Text ? leftText.compare(rightText)
                                                       : 0;
            if (order != 0)
                return order < 0 ? -1 : 1;
            continue;
        }
        // Where the two part ways, letters mark a pre-release and lose; a number beats a
        // separator ("1.0.1" against "1.0-1" is settled by what stands there).
        if (leftKind == Kind::Text)
            return -1;
        if (rightKind == Kind::Text)
            return 1;
        return leftKind == Kind::Number ? 1 : -1;
    }
    if (left.size() == right.size())
        return 0;
    // The longer one is newer, unless what it adds starts with letters: "2.0b1" < "2.0".
    const bool leftLonger = left.size() > right.size();
    const auto& extra = leftLonger ? left[common] : right[common];
    const qsizetype next = common + 1;
    const auto& longer = leftLonger ? left : right;
    const bool preRelease =
        extra.first == Kind::Text || (extra.first == Kind::Separator && next < longer.size() &&
                                      longer[next].first == Kind::Text);
    return (leftLonger != preRelease) ? 1 : -1;
}

std::optional<Release> newest(const QList<Release>& releases, const QString& current)
{
    std::optional<Release> best;
    for (const Release& release : releases)
        if (compareVersions(release.version, current) > 0 &&
            (!best || compareVersions(release.version, best->version) > 0))
            best = release;
    return best;
}

} // namespace Appcast
