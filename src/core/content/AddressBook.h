#pragma once

#include "mail/EmailAddress.h"

#include <QHash>
#include <QList>
#include <QString>

// The addresses seen this session, for completing recipient fields. Lives in memory only.
class AddressBook
{
public:
    struct Entry
    {
        // As first seen, with the best name known.
        EmailAddress address;
        // How often the user is known to have written to it.
        int uses = 0;

        bool operator==(const Entry&) const = default;
    };

    // By the lower-cased email. The first spelling of an address stays, and a name once
    // known is never replaced.
    QHash<QString, Entry> entries;

    bool operator==(const AddressBook&) const = default;

    // Learns the addresses; with `counting`, each occurrence is one more use.
    void add(const QList<EmailAddress>& addresses, bool counting);

    // Up to `limit` addresses whose email, domain, name or a word of the name starts with the
    // query, most used first, then by email; none of `excluding`.
    QList<EmailAddress> suggestions(const QString& matching, const QList<EmailAddress>& excluding,
                                    int limit) const;
};
