#include "Contact.h"

#include "jmap/Json.h"

#include <QHash>

#include <algorithm>

namespace {

// A pref of 1 is the most preferred; entries without one come after those up to 100.
constexpr qint64 missingPref = 101;

template <typename Record>
QList<Contact::Entry> entries(const QJsonObject& card, const QString& key, QString Record::*value)
{
    const auto map = Json::optionalObject(card, key);
    if (!map)
        return {};
    struct Ranked
    {
        qint64 pref;
        Contact::Entry entry;
    };
    QList<Ranked> ranked;
    for (auto it = map->begin(); it != map->end(); ++it) {
        const Record record = Record::fromJson(Json::asObject(
            it.value(), QStringLiteral("The value of \"%1/%2\"").arg(key, it.key())));
        ranked.append({record.pref.value_or(missingPref), {it.key(), record.*value}});
    }
    std::stable_sort(ranked.begin(), ranked.end(), [](const Ranked& a, const Ranked& b) {
        if (a.pref != b.pref)
            return a.pref < b.pref;
        return a.entry.key < b.entry.key;
    });
    QList<Contact::Entry> result;
    result.reserve(ranked.size());
    for (const Ranked& item : ranked)
        result.append(item.entry);
    return result;
}

// The entry with the smallest key of a map such as "organizations", as (key, object).
std::optional<std::pair<QString, QJsonObject>> firstEntry(const QJsonObject& card,
                                                          const QString& key)
{
    const auto map = Json::optionalObject(card, key);
    if (!map || map->isEmpty())
        return std::nullopt;
    // QJsonObject keeps its keys sorted, so the first is the smallest.
    const auto first = map->begin();
    return std::make_pair(
        first.key(),
        Json::asObject(first.value(),
                       QStringLiteral("The value of \"%1/%2\"").arg(key, first.key())));
}

QString joinedComponents(const QList<Contact::Component>& components, const QString& kind)
{
    QStringList values;
    for (const Contact::Component& component : components)
        if (component.kind == kind)
            values.append(component.value);
    return values.join(u' ');
}

} // namespace

Contact::Component Contact::Component::fromJson(const QJsonObject& object)
{
    return {Json::requiredString(object, QStringLiteral("kind")),
            Json::requiredString(object, QStringLiteral("value"))};
}

Contact::Name Contact::Name::fromJson(const QJsonObject& object)
{
    Name name;
    name.full = Json::optionalString(object, QStringLiteral("full"));
    name.components =
        Json::optionalArray<Component>(object, QStringLiteral("components"), &Component::fromJson);
    return name;
}

Contact::Email Contact::Email::fromJson(const QJsonObject& object)
{
    return {Json::requiredString(object, QStringLiteral("address")),
            Json::optionalInteger(object, QStringLiteral("pref"))};
}

Contact::Phone Contact::Phone::fromJson(const QJsonObject& object)
{
    return {Json::requiredString(object, QStringLiteral("number")),
            Json::optionalInteger(object, QStringLiteral("pref"))};
}

Contact::Organization Contact::Organization::fromJson(const QJsonObject& object)
{
    return {Json::optionalString(object, QStringLiteral("name"))};
}

Contact::Note Contact::Note::fromJson(const QJsonObject& object)
{
    return {Json::requiredString(object, QStringLiteral("note"))};
}

Contact::Contact(QString id, QString givenName, QString surname, QString fullName,
                 QString organization, const QStringList& emails, const QStringList& phones,
                 QString note)
    : id(std::move(id)), givenName(std::move(givenName)), surname(std::move(surname)),
      fullName(std::move(fullName)), organization(std::move(organization)), note(std::move(note))
{
    for (qsizetype i = 0; i < emails.size(); ++i)
        this->emails.append({QStringLiteral("e%1").arg(i + 1), emails.at(i)});
    for (qsizetype i = 0; i < phones.size(); ++i)
        this->phones.append({QStringLiteral("p%1").arg(i + 1), phones.at(i)});
    if (!this->organization.isEmpty())
        organizationKey = QStringLiteral("o1");
    if (!this->note.isEmpty())
        noteKey = QStringLiteral("n1");
}

std::optional<QString> Contact::primaryEmail() const
{
    if (emails.isEmpty())
        return std::nullopt;
    return emails.first().value;
}

QString Contact::displayName() const
{
    if (!fullName.isEmpty())
        return fullName;
    QStringList names;
    if (!givenName.isEmpty())
        names.append(givenName);
    if (!surname.isEmpty())
        names.append(surname);
    if (!names.isEmpty())
        return names.join(u' ');
    if (!organization.isEmpty())
        return organization;
    return primaryEmail().value_or(QString());
}

ContactDetails Contact::details() const
{
    ContactDetails details;
    details.givenName = givenName.isEmpty() && surname.isEmpty() ? fullName : givenName;
    details.surname = surname;
    details.organization = organization;
    for (const Entry& entry : emails)
        details.emails.append(entry.value);
    for (const Entry& entry : phones)
        details.phones.append(entry.value);
    details.note = note;
    return details;
}

Contact Contact::fromJson(const QJsonObject& card)
{
    Contact contact;
    contact.id = Json::requiredString(card, QStringLiteral("id"));
    if (const auto name = Json::optionalObject(card, QStringLiteral("name"))) {
        const Name decoded = Name::fromJson(*name);
        const QList<Component> components = decoded.components.value_or(QList<Component>());
        contact.givenName = joinedComponents(components, QStringLiteral("given"));
        contact.surname = joinedComponents(components, QStringLiteral("surname"));
        contact.fullName = decoded.full.value_or(QString());
    }
    contact.emails = entries<Email>(card, QStringLiteral("emails"), &Email::address);
    contact.phones = entries<Phone>(card, QStringLiteral("phones"), &Phone::number);
    if (const auto organization = firstEntry(card, QStringLiteral("organizations"))) {
        contact.organizationKey = organization->first;
        contact.organization =
            Organization::fromJson(organization->second).name.value_or(QString());
    }
    if (const auto note = firstEntry(card, QStringLiteral("notes"))) {
        contact.noteKey = note->first;
        contact.note = Note::fromJson(note->second).note;
    }
    return contact;
}

QCollator Contact::collator()
{
    // The C locale compares code points and ignores numeric mode; a plain English collation is
    // the closer match to what a user expects of "Item 9" and "Item 10".
    const QLocale locale =
        QLocale().language() == QLocale::C ? QLocale(QLocale::English) : QLocale();
    QCollator collator(locale);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

void Contact::sortByDisplayName(QList<Contact>& contacts)
{
    const QCollator collator = Contact::collator();
    QList<std::pair<QString, qsizetype>> keys;
    keys.reserve(contacts.size());
    for (qsizetype i = 0; i < contacts.size(); ++i)
        keys.append({contacts.at(i).displayName(), i});
    std::stable_sort(keys.begin(), keys.end(), [&collator](const auto& a, const auto& b) {
        return collator.compare(a.first, b.first) < 0;
    });
    QList<Contact> sorted;
    sorted.reserve(contacts.size());
    for (const auto& key : keys)
        sorted.append(contacts.at(key.second));
    contacts = std::move(sorted);
}

size_t qHash(const Contact::Entry& entry, size_t seed)
{
    return qHashMulti(seed, entry.key, entry.value);
}

size_t qHash(const Contact& contact, size_t seed)
{
    seed =
        qHashMulti(seed, contact.id, contact.givenName, contact.surname, contact.fullName,
                   contact.organization, contact.note, contact.organizationKey.value_or(QString()),
                   contact.noteKey.value_or(QString()));
    seed = qHashRange(contact.emails.begin(), contact.emails.end(), seed);
    return qHashRange(contact.phones.begin(), contact.phones.end(), seed);
}
