#include "AddressBook.h"

#include <QSet>

#include <algorithm>

namespace {

QString normalised(const QString& text)
{
    return text.normalized(QString::NormalizationForm_C).toLower();
}

QString normalisedQuery(const QString& query)
{
    qsizetype begin = 0;
    qsizetype end = query.size();
    const auto trims = [](QChar c) { return c == u'"' || c == u'<' || c == u' ' || c == u'\t'; };
    while (begin < end && trims(query[begin]))
        ++begin;
    while (end > begin && trims(query[end - 1]))
        --end;
    return normalised(query.mid(begin, end - begin));
}

bool isAscii(QStringView text)
{
    for (const QChar c : text) {
        if (c.unicode() >= 0x80)
            return false;
    }
    return true;
}

// The query, normalised, and whether it is plain ASCII: then an ASCII text needs neither
// composition nor a lower-cased copy, and a case-insensitive comparison gives the same answer.
// This keeps a scan of thousands of entries well below a key press.
struct Query
{
    QString text;
    bool ascii;
};

bool startsWith(QStringView text, const Query& query)
{
    if (query.ascii && isAscii(text))
        return text.startsWith(query.text, Qt::CaseInsensitive);
    return normalised(text.toString()).startsWith(query.text);
}

bool matches(const EmailAddress& address, const Query& query)
{
    const QStringView email = address.email;
    if (startsWith(email, query))
        return true;
    const qsizetype at = email.lastIndexOf(u'@');
    if (at >= 0 && startsWith(email.mid(at + 1), query))
        return true;
    const QStringView name = address.name ? QStringView(*address.name) : QStringView();
    if (startsWith(name, query))
        return true;
    // The words of the name, split on blanks.
    qsizetype index = 0;
    while (index < name.size()) {
        while (index < name.size() && name[index] == u' ')
            ++index;
        const qsizetype start = index;
        while (index < name.size() && name[index] != u' ')
            ++index;
        if (index > start && startsWith(name.mid(start, index - start), query))
            return true;
    }
    return false;
}

} // namespace

void AddressBook::add(const QList<EmailAddress>& addresses, bool counting)
{
    for (const EmailAddress& address : addresses) {
        const QString key = address.email.toLower();
        const auto found = entries.constFind(key);
        Entry entry = found != entries.constEnd() ? *found : Entry{address, 0};
        if (!entry.address.name || entry.address.name->isEmpty())
            entry.address.name = address.name;
        if (counting)
            ++entry.uses;
        entries.insert(key, entry);
    }
}

QList<EmailAddress> AddressBook::suggestions(const QString& matching,
                                             const QList<EmailAddress>& excluding, int limit) const
{
    const QString normalisedText = normalisedQuery(matching);
    if (normalisedText.isEmpty() || limit <= 0)
        return {};
    const Query query{normalisedText, isAscii(normalisedText)};
    QSet<QString> excluded;
    for (const EmailAddress& address : excluding)
        excluded.insert(address.email.toLower());

    QList<std::pair<const QString*, const Entry*>> found;
    for (auto it = entries.constBegin(); it != entries.constEnd(); ++it) {
        if (!excluded.contains(it.key()) && matches(it->address, query))
            found.append({&it.key(), &it.value()});
    }
    const auto before = [](const auto& left, const auto& right) {
        if (left.second->uses != right.second->uses)
            return left.second->uses > right.second->uses;
        return *left.first < *right.first;
    };
    const qsizetype count = std::min<qsizetype>(limit, found.size());
    std::partial_sort(found.begin(), found.begin() + count, found.end(), before);

    QList<EmailAddress> result;
    result.reserve(count);
    for (qsizetype index = 0; index < count; ++index)
        result.append(found[index].second->address);
    return result;
}
