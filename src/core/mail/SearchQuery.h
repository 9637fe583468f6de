#pragma once

#include "jmap/Mailbox.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTimeZone>

#include <optional>

// The search language of the search field: one line of text and the mailbox on show become
// one Email/query filter. Every line yields a filter; whatever does not read as an operator is
// searched for as text.
namespace SearchQuery {

struct GuideEntry
{
    QString example;
    QString meaning;
    bool operator==(const GuideEntry&) const = default;
};

// The operator summary (seven lines), shown under "Search operators:" in the tool tip.
extern const QString help;
// The examples of the search guide, in display order.
extern const QList<GuideEntry> guide;

QJsonObject filter(const QString& inMailbox, const QString& search, const QList<Mailbox>& mailboxes,
                   const QTimeZone& timeZone);

// The terms of a line: whitespace separates, double quotes group and are dropped.
QStringList tokens(const QString& text);
// An "in:" term: absent when the token is none; an empty mailbox for every folder
// ("in:all", "in:anywhere"); else the mailbox named by name, path or role.
std::optional<std::optional<Mailbox>> folder(const QString& token, const QList<Mailbox>& mailboxes);
// The filter condition of an operator term such as "from:anna", or absent.
std::optional<QJsonObject> condition(const QString& token, const QTimeZone& timeZone);
// "2M", "500kb", "1.5g", "1234": bytes in powers of 1024; absent when unreadable or too large.
std::optional<qint64> size(const QString& value);
// "2026-10-01" (or with "/"): the local midnight that begins that day, as UTC RFC 3339 text.
std::optional<QString> startOfDay(const QString& value, const QTimeZone& timeZone);

} // namespace SearchQuery
