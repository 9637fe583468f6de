#pragma once

#include "mail/Email.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

// Full messages of recently opened or prefetched threads, so that moving through the list opens
// threads at once. Evicts by the age of the last store; reading does not make a thread younger.
struct ThreadCache
{
    explicit ThreadCache(qsizetype capacity) : capacity(capacity) {}

    qsizetype capacity;
    QHash<QString, QList<Email>> emailsByThread;
    // Thread ids, oldest store first; each key of emailsByThread once.
    QStringList order;

    std::optional<QList<Email>> emails(const QString& threadId) const;
    bool contains(const QString& threadId) const { return emailsByThread.contains(threadId); }
    void store(const QList<Email>& emails, const QString& threadId);
    // Sets (on) or removes (off) a keyword on every cached message the predicate picks.
    void setKeyword(const QString& keyword, bool on,
                    const std::function<bool(const Email&)>& where);
    void removeAll();

    bool operator==(const ThreadCache&) const = default;
};
