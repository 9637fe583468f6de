#include "DirectoryStore.h"

#include "jmap/Errors.h"

DirectoryStore::DirectoryStore(QObject* parent) : QObject(parent) {}

void DirectoryStore::setError(const QString& error)
{
    if (error == m_error)
        return;
    m_error = error;
    Q_EMIT errorChanged();
}

void DirectoryStore::startOver()
{
    ++m_generation;
    clearItems();
    setHasLoaded(false);
    clearError();
    // A load still running belongs to the former service and is dropped when it comes back, so
    // it must not keep the new service from loading.
    setLoading(false);
}

void DirectoryStore::setLoading(bool loading)
{
    if (loading == m_isLoading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void DirectoryStore::setHasLoaded(bool loaded)
{
    if (loaded == m_hasLoaded)
        return;
    m_hasLoaded = loaded;
    Q_EMIT hasLoadedChanged();
}

void DirectoryStore::report(std::exception_ptr error)
{
    if (Errors::isCancellation(error))
        return;
    setError(Errors::describe(error));
}

QStringList DirectoryStore::sortedIds(const QSet<QString>& ids)
{
    QStringList sorted(ids.begin(), ids.end());
    sorted.sort();
    return sorted;
}
