#pragma once

#include "ContactDetails.h"

#include <QCollator>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The narrow view of one JSContact card that the address book shows and edits.
struct Contact
{
    static constexpr const char* jsonTypeName = "Contact";

    // One e-mail address or phone number with its key in the card's map.
    struct Entry
    {
        QString key;
        QString value;

        bool operator==(const Entry&) const = default;
    };

    // The parts of a card that are read, in the card's own shape.
    struct Component
    {
        QString kind;
        QString value;
        static Component fromJson(const QJsonObject& object);
    };
    struct Name
    {
        std::optional<QString> full;
        std::optional<QList<Component>> components;
        static Name fromJson(const QJsonObject& object);
    };
    struct Email
    {
        QString address;
        std::optional<qint64> pref;
        static Email fromJson(const QJsonObject& object);
    };
    struct Phone
    {
        QString number;
        std::optional<qint64> pref;
        static Phone fromJson(const QJsonObject& object);
    };
    struct Organization
    {
        std::optional<QString> name;
        static Organization fromJson(const QJsonObject& object);
    };
    struct Note
    {
        QString note;
        static Note fromJson(const QJsonObject& object);
    };

    QString id;
    QString givenName;
    QString surname;
    QString fullName;
    QString organization;
    QList<Entry> emails;
    QList<Entry> phones;
    QString note;
    std::optional<QString> organizationKey;
    std::optional<QString> noteKey;

    Contact() = default;
    // A contact made up locally (demo data, no server): entries are keyed e1, e2, ... and
    // p1, p2, ..., the organization o1 and the note n1 when present.
    Contact(QString id, QString givenName, QString surname, QString fullName, QString organization,
            const QStringList& emails, const QStringList& phones, QString note);

    bool operator==(const Contact&) const = default;

    std::optional<QString> primaryEmail() const;
    QString displayName() const;
    // The editor's form; a card with only a full name offers it as the given name.
    ContactDetails details() const;

    static Contact fromJson(const QJsonObject& card);

    // The order of the address book: by display name, numbers by value, stable.
    static void sortByDisplayName(QList<Contact>& contacts);
    // The comparison of that order, for tables that sort by names: the user's locale, numbers
    // by value, case ignored.
    static QCollator collator();
};

size_t qHash(const Contact::Entry& entry, size_t seed = 0);
size_t qHash(const Contact& contact, size_t seed = 0);
