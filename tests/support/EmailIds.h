#pragma once

#include "mail/Email.h"

#include <QStringList>

// The ids of emails in their order, for comparing lists of mail in tests.
inline QStringList idsOf(const QList<Email>& emails)
{
    QStringList ids;
    for (const Email& email : emails)
        ids.append(email.id);
    return ids;
}
