#pragma once

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringList>

#include <exception>
#include <memory>

// The state the contacts and Masked Email windows share: loading, loaded and the last failure.
// Operations never throw: failures land in `error`, cancellations nowhere. The list itself and
// its service are typed, so they live in DirectoryStoreOf.
class DirectoryStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY hasLoadedChanged)
    Q_PROPERTY(QString error READ error WRITE setError NOTIFY errorChanged)

public:
    bool isLoading() const { return m_isLoading; }
    // A load has succeeded since the last reset: tells "never loaded" from "loaded and empty".
    bool hasLoaded() const { return m_hasLoaded; }

    // The last failure's text; empty when there is none.
    const QString& error() const { return m_error; }
    void setError(const QString& error);
    void clearError() { setError(QString()); }

Q_SIGNALS:
    void itemsChanged();
    void isLoadingChanged();
    void hasLoadedChanged();
    void errorChanged();

protected:
    explicit DirectoryStore(QObject* parent);

    quint64 generation() const { return m_generation; }
    // For another service: answers for the former one become stale, and nothing of it is shown.
    void startOver();
    virtual void clearItems() = 0;

    void setLoading(bool loading);
    void setHasLoaded(bool loaded);
    void report(std::exception_ptr error);

    // The server is asked in a stable order, whatever the set's.
    static QStringList sortedIds(const QSet<QString>& ids);

private:
    bool m_isLoading = false;
    bool m_hasLoaded = false;
    QString m_error;
    // Raised on every change of service; an answer that comes back to another is stale.
    quint64 m_generation = 0;
};

// The typed half: the list of `Item` and the `Service` that fills it, whose `list()` delivers
// the list in display order.
template <typename Item, typename Service> class DirectoryStoreOf : public DirectoryStore
{
public:
    const QList<Item>& items() const { return m_items; }

    // Absent means demo data or not connected. Another service is a reset: the list of a former
    // account is never shown, and answers for it are dropped.
    const std::shared_ptr<Service>& service() const { return m_service; }
    void setService(std::shared_ptr<Service> service)
    {
        if (service == m_service)
            return;
        m_service = std::move(service);
        startOver();
    }

    // Reloads the list; a second load while one runs returns at once.
    QCoro::Task<> load();

protected:
    using DirectoryStore::DirectoryStore;

    // Taken as an operation starts, kept across its await: tells whether the answer still
    // belongs here, the store alive and its service the same.
    class Call
    {
    public:
        explicit Call(const DirectoryStoreOf* store)
            : service(store->m_service), m_store(store), m_generation(store->generation())
        {
        }
        bool isCurrent() const { return m_store && m_store->isCurrent(m_generation, service); }

        const std::shared_ptr<Service> service;

    private:
        QPointer<const DirectoryStoreOf> m_store;
        quint64 m_generation;
    };

    bool isCurrent(quint64 generation, const std::shared_ptr<Service>& service) const
    {
        return generation == this->generation() && service == m_service;
    }

    void replaceItems(QList<Item> items)
    {
        if (items == m_items)
            return;
        m_items = std::move(items);
        Q_EMIT itemsChanged();
    }
    void clearItems() override { replaceItems({}); }

private:
    QList<Item> m_items;
    std::shared_ptr<Service> m_service;
};

template <typename Item, typename Service> QCoro::Task<> DirectoryStoreOf<Item, Service>::load()
{
    if (!m_service || isLoading())
        co_return;
    const Call call(this);
    setLoading(true);
    try {
        QList<Item> items = co_await call.service->list();
        if (!call.isCurrent())
            co_return;
        replaceItems(std::move(items));
        setHasLoaded(true);
        clearError();
    } catch (...) {
        if (!call.isCurrent())
            co_return;
        report(std::current_exception());
    }
    setLoading(false);
}
