#include "ContactDetails.h"

#include "Contact.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QSet>

namespace {

using Maker = std::function<QJsonObject(const QString&)>;

QStringList trimmedList(const QStringList& values)
{
    QStringList result;
    for (const QString& value : values) {
        const QString trimmed = value.trimmed();
        if (!trimmed.isEmpty())
            result.append(trimmed);
    }
    return result;
}

// The card's name object, or JSON null when there is no name to write.
QJsonValue nameObject(const QString& givenName, const QString& surname)
{
    QJsonArray components;
    QStringList parts;
    if (!givenName.isEmpty()) {
        components.append(QJsonObject{{QStringLiteral("@type"), QStringLiteral("NameComponent")},
                                      {QStringLiteral("kind"), QStringLiteral("given")},
                                      {QStringLiteral("value"), givenName}});
        parts.append(givenName);
    }
    if (!surname.isEmpty()) {
        components.append(QJsonObject{{QStringLiteral("@type"), QStringLiteral("NameComponent")},
                                      {QStringLiteral("kind"), QStringLiteral("surname")},
                                      {QStringLiteral("value"), surname}});
        parts.append(surname);
    }
    if (components.isEmpty())
        return QJsonValue::Null;
    return QJsonObject{{QStringLiteral("@type"), QStringLiteral("Name")},
                       {QStringLiteral("components"), components},
                       {QStringLiteral("isOrdered"), true},
                       {QStringLiteral("full"), parts.join(u' ')}};
}

QJsonObject emailObject(const QString& address)
{
    return {{QStringLiteral("@type"), QStringLiteral("EmailAddress")},
            {QStringLiteral("address"), address}};
}

QJsonObject phoneObject(const QString& number)
{
    return {{QStringLiteral("@type"), QStringLiteral("Phone")}, {QStringLiteral("number"), number}};
}

QJsonObject organizationObject(const QString& name)
{
    return {{QStringLiteral("@type"), QStringLiteral("Organization")},
            {QStringLiteral("name"), name}};
}

QJsonObject noteObject(const QString& note)
{
    return {{QStringLiteral("@type"), QStringLiteral("Note")}, {QStringLiteral("note"), note}};
}

// A map keyed "<letter>1", "<letter>2", ... in the order of the values.
QJsonObject freshMap(const QString& property, const QStringList& values, const Maker& make)
{
    QJsonObject map;
    for (qsizetype i = 0; i < values.size(); ++i)
        map.insert(property.left(1) + QString::number(i + 1), make(values.at(i)));
    return map;
}

// Entries that stay keep their keys (and with them pref, contexts and labels on the server);
// only removals and additions are written, under keys never used on this card before.
void patchEntries(const QString& property, const QList<Contact::Entry>& oldEntries,
                  const QStringList& newValues, QJsonObject& patch, const Maker& make)
{
    // Old entries pair by the value stored on the card. One the form could not show as it is
    // (blank, or padded) has no partner and goes; its trimmed value, if any, comes back as an
    // addition. So a blank entry is cleaned up by the first save rather than kept forever.
    QList<bool> taken(oldEntries.size(), false);
    QStringList additions;
    bool anyTaken = false;
    for (const QString& value : newValues) {
        bool matched = false;
        for (qsizetype i = 0; i < oldEntries.size(); ++i) {
            if (!taken.at(i) && oldEntries.at(i).value == value) {
                taken[i] = true;
                matched = true;
                anyTaken = true;
                break;
            }
        }
        if (!matched)
            additions.append(value);
    }
    const bool anyRemoved = taken.contains(false);
    if (!anyRemoved && additions.isEmpty())
        return;

    if (!anyTaken) {
        if (newValues.isEmpty())
            patch.insert(property, QJsonValue::Null);
        else
            patch.insert(property, freshMap(property, newValues, make));
        return;
    }

    QSet<QString> oldKeys;
    for (qsizetype i = 0; i < oldEntries.size(); ++i) {
        oldKeys.insert(oldEntries.at(i).key);
        if (!taken.at(i))
            patch.insert(property + u'/' + ContactDetails::escapedPathPart(oldEntries.at(i).key),
                         QJsonValue::Null);
    }
    const QString letter = property.left(1);
    qint64 counter = 1;
    for (const QString& value : additions) {
        while (oldKeys.contains(letter + QString::number(counter)))
            ++counter;
        patch.insert(property + u'/' +
                         ContactDetails::escapedPathPart(letter + QString::number(counter)),
                     make(value));
        ++counter;
    }
}

// The organization and the note: one chosen entry of a map, edited by its key.
void patchChosen(const QString& property, const QString& field,
                 const std::optional<QString>& chosenKey, const QString& defaultKey,
                 const QString& oldText, const QString& newText, QJsonObject& patch,
                 const Maker& make)
{
    if (oldText == newText)
        return;
    const QString path =
        property + u'/' + ContactDetails::escapedPathPart(chosenKey.value_or(defaultKey));
    if (newText.isEmpty())
        patch.insert(path, QJsonValue::Null);
    else if (chosenKey)
        patch.insert(path + u'/' + field, newText);
    else
        patch.insert(path, make(newText));
}

} // namespace

ContactDetails ContactDetails::trimmed() const
{
    ContactDetails result;
    result.givenName = givenName.trimmed();
    result.surname = surname.trimmed();
    result.organization = organization.trimmed();
    result.emails = trimmedList(emails);
    result.phones = trimmedList(phones);
    result.note = note.trimmed();
    return result;
}

bool ContactDetails::isEmpty() const
{
    const ContactDetails form = trimmed();
    return form.givenName.isEmpty() && form.surname.isEmpty() && form.organization.isEmpty() &&
           form.emails.isEmpty();
}

QJsonObject ContactDetails::card(const QString& addressBookId) const
{
    const ContactDetails form = trimmed();
    QJsonObject card{{QStringLiteral("@type"), QStringLiteral("Card")},
                     {QStringLiteral("version"), QStringLiteral("1.0")},
                     {QStringLiteral("kind"), QStringLiteral("individual")},
                     {QStringLiteral("addressBookIds"), QJsonObject{{addressBookId, true}}}};
    const QJsonValue name = nameObject(form.givenName, form.surname);
    if (name.isObject())
        card.insert(QStringLiteral("name"), name);
    if (!form.emails.isEmpty())
        card.insert(QStringLiteral("emails"),
                    freshMap(QStringLiteral("emails"), form.emails, emailObject));
    if (!form.phones.isEmpty())
        card.insert(QStringLiteral("phones"),
                    freshMap(QStringLiteral("phones"), form.phones, phoneObject));
    if (!form.organization.isEmpty())
        card.insert(QStringLiteral("organizations"),
                    QJsonObject{{QStringLiteral("o1"), organizationObject(form.organization)}});
    if (!form.note.isEmpty())
        card.insert(QStringLiteral("notes"),
                    QJsonObject{{QStringLiteral("n1"), noteObject(form.note)}});
    return card;
}

QJsonObject ContactDetails::patch(const Contact& contact) const
{
    const ContactDetails now = trimmed();
    const ContactDetails before = contact.details().trimmed();
    QJsonObject patch;
    if (now.givenName != before.givenName || now.surname != before.surname)
        patch.insert(QStringLiteral("name"), nameObject(now.givenName, now.surname));
    patchEntries(QStringLiteral("emails"), contact.emails, now.emails, patch, emailObject);
    patchEntries(QStringLiteral("phones"), contact.phones, now.phones, patch, phoneObject);
    patchChosen(QStringLiteral("organizations"), QStringLiteral("name"), contact.organizationKey,
                QStringLiteral("o1"), before.organization, now.organization, patch,
                organizationObject);
    patchChosen(QStringLiteral("notes"), QStringLiteral("note"), contact.noteKey,
                QStringLiteral("n1"), before.note, now.note, patch, noteObject);
    return patch;
}

QString ContactDetails::escapedPathPart(const QString& key)
{
    QString escaped = key;
    escaped.replace(u'~', QStringLiteral("~0"));
    escaped.replace(u'/', QStringLiteral("~1"));
    return escaped;
}
