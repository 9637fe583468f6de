#include "ThreadCache.h"

std::optional<QList<Email>> ThreadCache::emails(const QString& threadId) const
{
    const auto found = emailsByThread.constFind(threadId);
    if (found == emailsByThread.cend())
        return std::nullopt;
    return *found;
}

void ThreadCache::store(const QList<Email>& emails, const QString& threadId)
{
    order.removeAll(threadId);
    order.append(threadId);
    emailsByThread.insert(threadId, emails);
    while (order.size() > capacity)
        emailsByThread.remove(order.takeFirst());
}

void ThreadCache::setKeyword(const QString& keyword, bool on,
                             const std::function<bool(const Email&)>& where)
{
    for (QList<Email>& emails : emailsByThread) {
        for (Email& email : emails) {
            if (!where(email))
                continue;
            if (on)
                email.keywords.insert(keyword, true);
            else
                email.keywords.remove(keyword);
        }
    }
}

void ThreadCache::removeAll()
{
    emailsByThread.clear();
    order.clear();
}
