#include "SearchQuery.h"

#include "MailboxTree.h"
#include "jmap/JMAPDecoding.h"

#include <QJsonArray>
#include <QLocale>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <cmath>

namespace SearchQuery {

const QString help = QStringLiteral("in:Archive  in:\"Folder Name\"  in:all  -in:Trash\n"
                                    "from:  to:  cc:  bcc:  subject:  body:\n"
                                    "has:attachment\n"
                                    "is:unread  is:read  is:flagged  is:unflagged  is:answered\n"
                                    "before:2026-10-01  after:2026-10-01\n"
                                    "larger:2M  smaller:500K\n"
                                    "\"exact words\"   -from:excluded");

const QList<GuideEntry> guide = {
    {QStringLiteral("invoice"), QStringLiteral("Words anywhere in the message")},
    {QStringLiteral("\"weekly report\""), QStringLiteral("These words together")},
    {QStringLiteral("from:anna"), QStringLiteral("Sender; also to:, cc: and bcc:")},
    {QStringLiteral("subject:offer"), QStringLiteral("Only the subject; body: only the text")},
    {QStringLiteral("in:Archive"), QStringLiteral("Another folder, by name or path")},
    {QStringLiteral("in:all"), QStringLiteral("Every folder")},
    {QStringLiteral("has:attachment"), QStringLiteral("Messages with attachments")},
    {QStringLiteral("is:unread"),
     QStringLiteral("Also is:read, is:flagged, is:unflagged, is:answered")},
    {QStringLiteral("after:2026-10-01"),
     QStringLiteral("On that day or later; before: is before it")},
    {QStringLiteral("larger:2M"), QStringLiteral("Size; smaller:500K for small ones")},
    {QStringLiteral("-from:noreply"), QStringLiteral("A leading - leaves out what a term finds")},
};

namespace {

// Whether a user-perceived character (a grapheme cluster) is whitespace.
bool isWhitespace(QStringView character)
{
    const char32_t first = character.size() >= 2 && character.at(0).isHighSurrogate()
                               ? QChar::surrogateToUcs4(character.at(0), character.at(1))
                               : character.at(0).unicode();
    return QChar::isSpace(first);
}

// A token negated by a leading "-": the dash must be a character of its own, not the base of
// a combining sequence, and something must follow it.
bool isNegated(const QString& token)
{
    if (token.size() < 2 || token.at(0) != u'-')
        return false;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, token);
    return finder.toNextBoundary() == 1;
}

// Whether the lower-cased path of mailboxes[index] (the names from the top of the tree down,
// joined by "/") is `term`. Matched from the end of the term, one parent at a time, so nothing
// is built and each step uses up at least the "/": the walk is never longer than the term, even
// on the deepest tree.
bool pathMatches(qsizetype index, const QString& term, const QStringList& loweredNames,
                 const QList<qsizetype>& parents)
{
    qsizetype end = term.size();
    while (true) {
        const QString& name = loweredNames.at(index);
        if (end < name.size() || QStringView(term).sliced(end - name.size(), name.size()) != name)
            return false;
        end -= name.size();
        index = parents.at(index);
        if (index < 0)
            return end == 0;
        if (end == 0 || term.at(end - 1) != u'/')
            return false;
        --end;
    }
}

QJsonObject negated(const QJsonObject& condition)
{
    return QJsonObject{{QStringLiteral("operator"), QStringLiteral("NOT")},
                       {QStringLiteral("conditions"), QJsonArray{condition}}};
}

std::optional<QJsonObject> keywordCondition(const QString& value)
{
    const auto has = [](const char* keyword) {
        return QJsonObject{{QStringLiteral("hasKeyword"), QLatin1String(keyword)}};
    };
    const auto hasNot = [](const char* keyword) {
        return QJsonObject{{QStringLiteral("notKeyword"), QLatin1String(keyword)}};
    };
    if (value == u"unread")
        return hasNot("$seen");
    if (value == u"read")
        return has("$seen");
    if (value == u"flagged" || value == u"starred")
        return has("$flagged");
    if (value == u"unflagged" || value == u"unstarred")
        return hasNot("$flagged");
    if (value == u"answered" || value == u"replied")
        return has("$answered");
    return std::nullopt;
}

} // namespace

QStringList tokens(const QString& text)
{
    QStringList result;
    QString current;
    bool inQuotes = false;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    while (finder.toNextBoundary() != -1) {
        const qsizetype end = finder.position();
        const QStringView character = QStringView(text).mid(start, end - start);
        start = end;
        if (character == u"\"") {
            inQuotes = !inQuotes;
        } else if (!inQuotes && isWhitespace(character)) {
            if (!current.isEmpty())
                result.append(current);
            current.clear();
        } else {
            current += character;
        }
    }
    if (!current.isEmpty())
        result.append(current);
    return result;
}

std::optional<std::optional<Mailbox>> folder(const QString& token, const QList<Mailbox>& mailboxes)
{
    const QString lowered = token.toLower();
    if (!lowered.startsWith(QStringLiteral("in:")))
        return std::nullopt;
    const QString term = lowered.mid(3);
    if (term == u"all" || term == u"anywhere")
        return std::optional<Mailbox>();
    const QString roleAlias = term == u"spam" ? QStringLiteral("junk") : term;
    if (mailboxes.isEmpty())
        return std::nullopt;
    for (const Mailbox& mailbox : mailboxes)
        if (mailbox.name.toLower() == term)
            return std::optional<Mailbox>(mailbox);
    // Paths follow the tree as the sidebar shows it, whatever cycles the links hold.
    const QList<qsizetype> parents = MailboxTree::parents(mailboxes);
    QStringList loweredNames;
    loweredNames.reserve(mailboxes.size());
    for (const Mailbox& mailbox : mailboxes)
        loweredNames.append(mailbox.name.toLower());
    for (qsizetype index = 0; index < mailboxes.size(); ++index)
        if (pathMatches(index, term, loweredNames, parents))
            return std::optional<Mailbox>(mailboxes.at(index));
    for (const Mailbox& mailbox : mailboxes)
        if (mailbox.role == roleAlias)
            return std::optional<Mailbox>(mailbox);
    return std::nullopt;
}

std::optional<QJsonObject> condition(const QString& token, const QTimeZone& timeZone)
{
    const qsizetype colon = token.indexOf(u':');
    if (colon < 0)
        return std::nullopt;
    const QString key = token.left(colon).toLower();
    const QString value = token.mid(colon + 1);
    if (value.isEmpty())
        return std::nullopt;
    static const QStringList textKeys = {QStringLiteral("from"),    QStringLiteral("to"),
                                         QStringLiteral("cc"),      QStringLiteral("bcc"),
                                         QStringLiteral("subject"), QStringLiteral("body")};
    if (textKeys.contains(key))
        return QJsonObject{{key, value}};
    if (key == u"has") {
        const QString lowered = value.toLower();
        if (lowered == u"attachment" || lowered == u"attachments")
            return QJsonObject{{QStringLiteral("hasAttachment"), true}};
        return std::nullopt;
    }
    if (key == u"is")
        return keywordCondition(value.toLower());
    if (key == u"before" || key == u"after") {
        const auto instant = startOfDay(value, timeZone);
        if (!instant)
            return std::nullopt;
        return QJsonObject{{key, *instant}};
    }
    if (key == u"larger" || key == u"smaller") {
        const auto bytes = size(value);
        if (!bytes)
            return std::nullopt;
        return QJsonObject{
            {key == u"larger" ? QStringLiteral("minSize") : QStringLiteral("maxSize"), *bytes}};
    }
    return std::nullopt;
}

std::optional<qint64> size(const QString& value)
{
    QString text = value.toLower();
    text.remove(u'b');
    if (text.isEmpty())
        return std::nullopt;
    const QChar unit = text.back();
    double multiplier = 0;
    if (unit == u'k')
        multiplier = 1024.0;
    else if (unit == u'm')
        multiplier = 1048576.0;
    else if (unit == u'g')
        multiplier = 1073741824.0;
    if (multiplier > 0) {
        // Plain ASCII digits with an optional sign and fraction: no exponent, no digit
        // grouping, and none of the Unicode spaces or minus signs a locale would accept.
        static const QRegularExpression decimal(
            QStringLiteral("\\A[+-]?(?:[0-9]+(?:\\.[0-9]*)?|\\.[0-9]+)\\z"));
        const QString number = text.chopped(1);
        if (!decimal.match(number).hasMatch())
            return std::nullopt;
        bool ok = false;
        const double amount = QLocale::c().toDouble(number, &ok);
        if (!ok)
            return std::nullopt;
        const double bytes = std::trunc(amount * multiplier);
        // A product beyond 64 bits (or not finite) is no size: the term stays a word.
        if (!std::isfinite(bytes) || bytes >= 9223372036854775808.0 ||
            bytes < -9223372036854775808.0)
            return std::nullopt;
        return static_cast<qint64>(bytes);
    }
    // Anchored at the very end: "$" would also match before a final line break.
    static const QRegularExpression integer(QStringLiteral("\\A[+-]?[0-9]+\\z"));
    if (!integer.match(text).hasMatch())
        return std::nullopt;
    bool ok = false;
    const qint64 bytes = text.toLongLong(&ok, 10);
    if (!ok)
        return std::nullopt;
    return bytes;
}

std::optional<QString> startOfDay(const QString& value, const QTimeZone& timeZone)
{
    QString text = value;
    text.replace(u'/', u'-');
    // Four plain digits of year: a sign or a longer year is no date the server can read.
    static const QRegularExpression shape(QStringLiteral("\\A[0-9]{4}-"));
    if (!shape.match(text).hasMatch())
        return std::nullopt;
    const QDate date = QLocale::c().toDate(text, QStringLiteral("yyyy-MM-dd"));
    if (!date.isValid())
        return std::nullopt;
    QDateTime start = date.startOfDay(timeZone);
    if (!start.isValid())
        return std::nullopt;
    // Where clocks go back to midnight, the day has two: it begins at the first. Each offset in
    // use around the day gives one candidate midnight; the earliest that is really midnight
    // there wins.
    const QDateTime midnightUtc(date, QTime(0, 0), QTimeZone::utc());
    QList<int> offsets{timeZone.offsetFromUtc(start.addDays(-1)), timeZone.offsetFromUtc(start)};
    for (const QTimeZone::OffsetData& transition :
         timeZone.transitions(start.addDays(-2), start.addDays(1)))
        offsets.append(transition.offsetFromUtc);
    for (const int offset : std::as_const(offsets)) {
        const QDateTime candidate = midnightUtc.addSecs(-offset).toTimeZone(timeZone);
        if (candidate < start && candidate.date() == date && candidate.time() == QTime(0, 0))
            start = candidate;
    }
    // RFC 3339 has room for years 0001 to 9999 only.
    const int utcYear = start.toUTC().date().year();
    if (utcYear < 1 || utcYear > 9999)
        return std::nullopt;
    return JMAPDecoding::formatDate(start);
}

QJsonObject filter(const QString& inMailbox, const QString& search, const QList<Mailbox>& mailboxes,
                   const QTimeZone& timeZone)
{
    QJsonObject base{{QStringLiteral("inMailbox"), inMailbox}};
    QJsonArray conditions;
    QStringList words;
    for (QString token : tokens(search)) {
        bool negative = false;
        if (isNegated(token)) {
            negative = true;
            token = token.mid(1);
        }
        if (const auto term = folder(token, mailboxes)) {
            if (!*term) {
                if (!negative)
                    base.remove(QStringLiteral("inMailbox"));
            } else if (!negative) {
                base.insert(QStringLiteral("inMailbox"), (*term)->id);
            } else {
                conditions.append(
                    QJsonObject{{QStringLiteral("inMailboxOtherThan"), QJsonArray{(*term)->id}}});
            }
            continue;
        }
        if (const auto found = condition(token, timeZone)) {
            conditions.append(negative ? negated(*found) : *found);
            continue;
        }
        if (negative)
            conditions.append(negated(QJsonObject{{QStringLiteral("text"), token}}));
        else
            words.append(token);
    }
    if (!words.isEmpty())
        base.insert(QStringLiteral("text"), words.join(u' '));
    QJsonArray members;
    if (!base.isEmpty())
        members.append(base);
    for (const QJsonValue& member : conditions)
        members.append(member);
    if (members.size() > 1)
        return QJsonObject{{QStringLiteral("operator"), QStringLiteral("AND")},
                           {QStringLiteral("conditions"), members}};
    if (members.size() == 1)
        return members.first().toObject();
    return {};
}

} // namespace SearchQuery
