#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

struct Contact;

// The contact editor's form. Saving never sends the form as a card: a new contact becomes
// card(), an existing one receives only patch(), so that whatever else the card holds on the
// server survives an edit here.
struct ContactDetails
{
    QString givenName;
    QString surname;
    QString organization;
    QStringList emails;
    QStringList phones;
    QString note;

    bool operator==(const ContactDetails&) const = default;

    // Every text trimmed; empty emails and phones dropped.
    ContactDetails trimmed() const;
    // Nothing to save: no name, no organization, no address. A phone or a note alone is not a
    // contact worth keeping.
    bool isEmpty() const;

    // A whole new JSContact card in the given address book.
    QJsonObject card(const QString& addressBookId) const;
    // The JMAP patch that turns `contact` into these details; empty when nothing changed.
    QJsonObject patch(const Contact& contact) const;

    // A key of a card's map as one part of a patch path.
    static QString escapedPathPart(const QString& key);
};
