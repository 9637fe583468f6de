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

bool matches(const EmailAddress& address, const QString& query)
{
    const QString email = normalised(address.email);
    if (email.startsWith(query))
        return true;
    const qsizetype at = email.lastIndexOf(u'@');
    if (at >= 0 && QStringView(email).mid(at + 1).startsWith(query))
        return true;
    const QString name = normalised(address.name.value_or(QString()));
    if (name.startsWith(query))
        return true;
    for (const auto word : QStringView(name).split(u' ', Qt::SkipEmptyParts)) {
        if (word.startsWith(query))
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
    const QString query = normalisedQuery(matching);
    if (query.isEmpty() || limit <= 0)
        return {};
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
