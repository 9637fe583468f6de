#include "MaskedEmailStore.h"

#include "jmap/Errors.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPointer>
#include <QRandomGenerator>
#include <QUuid>

#include <algorithm>

MaskedEmailStore::MaskedEmailStore(QObject* parent) : QObject(parent) {}

void MaskedEmailStore::setItems(QList<MaskedEmail> items)
{
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
        return a.createdSort() > b.createdSort();
    });
    replaceItems(std::move(items));
}

void MaskedEmailStore::replaceItems(QList<MaskedEmail> items)
{
    if (items == m_items)
        return;
    m_items = std::move(items);
    Q_EMIT itemsChanged();
}

void MaskedEmailStore::setLoading(bool loading)
{
    if (loading == m_isLoading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void MaskedEmailStore::setHasLoaded(bool loaded)
{
    if (loaded == m_hasLoaded)
        return;
    m_hasLoaded = loaded;
    Q_EMIT hasLoadedChanged();
}

void MaskedEmailStore::setError(const QString& error)
{
    if (error == m_error)
        return;
    m_error = error;
    Q_EMIT errorChanged();
}

void MaskedEmailStore::setService(std::shared_ptr<MaskedEmailService> service)
{
    if (service == m_service)
        return;
    m_service = std::move(service);
    ++m_generation;
    replaceItems({});
    setHasLoaded(false);
    clearError();
    // A load still running belongs to the former service and is dropped when it comes back, so
    // it must not keep the new service from loading.
    setLoading(false);
}

bool MaskedEmailStore::isCurrent(quint64 generation,
                                 const std::shared_ptr<MaskedEmailService>& service) const
{
    return generation == m_generation && service == m_service;
}

void MaskedEmailStore::report(std::exception_ptr error)
{
    if (Errors::isCancellation(error))
        return;
    setError(Errors::describe(error));
}

MaskedEmail MaskedEmailStore::demoAddress(const MaskedEmailDetails& details, const QString& prefix)
{
    const QString start = prefix.trimmed().toLower();
    MaskedEmail record;
    record.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    record.email = QStringLiteral("%1.%2@example.com")
                       .arg(start.isEmpty() ? QStringLiteral("masked") : start)
                       .arg(QRandomGenerator::global()->bounded(1000, 10000));
    record.state = MaskedEmail::State::enabled;
    record.forDomain = details.storedForDomain();
    record.description = details.storedDescription();
    record.createdAt = QDateTime::currentDateTimeUtc();
    return record;
}

QCoro::Task<> MaskedEmailStore::load()
{
    if (!m_service || m_isLoading)
        co_return;
    const QPointer<MaskedEmailStore> self(this);
    const std::shared_ptr<MaskedEmailService> service = m_service;
    const quint64 generation = m_generation;
    setLoading(true);
    try {
        QList<MaskedEmail> records = co_await service->list();
        if (!self || !isCurrent(generation, service))
            co_return;
        // The service already delivers newest first.
        replaceItems(std::move(records));
        setHasLoaded(true);
        clearError();
    } catch (...) {
        if (!self || !isCurrent(generation, service))
            co_return;
        report(std::current_exception());
    }
    setLoading(false);
}

QCoro::Task<std::optional<MaskedEmail>> MaskedEmailStore::create(MaskedEmailDetails details,
                                                                 QString prefix)
{
    const QPointer<MaskedEmailStore> self(this);
    const std::shared_ptr<MaskedEmailService> service = m_service;
    const quint64 generation = m_generation;
    try {
        MaskedEmail record;
        if (service) {
            record = co_await service->create(details, prefix);
            if (!self || !isCurrent(generation, service))
                co_return record;
        } else {
            record = demoAddress(details, prefix);
        }
        // First, whatever the order of the next load: it is what the user just made.
        QList<MaskedEmail> items = m_items;
        items.prepend(record);
        replaceItems(std::move(items));
        // Ready to paste into the site's form.
        if (qGuiApp)
            QGuiApplication::clipboard()->setText(record.email);
        clearError();
        co_return record;
    } catch (...) {
        if (self && isCurrent(generation, service))
            report(std::current_exception());
    }
    co_return std::nullopt;
}

QCoro::Task<bool> MaskedEmailStore::update(MaskedEmail record, MaskedEmailDetails details)
{
    const QPointer<MaskedEmailStore> self(this);
    const std::shared_ptr<MaskedEmailService> service = m_service;
    const quint64 generation = m_generation;
    try {
        if (service) {
            co_await service->update(record.id, details);
            if (!self || !isCurrent(generation, service))
                co_return true;
        }
        QList<MaskedEmail> items = m_items;
        for (MaskedEmail& item : items) {
            if (item.id == record.id) {
                item.forDomain = details.storedForDomain();
                item.description = details.storedDescription();
                break;
            }
        }
        replaceItems(std::move(items));
        clearError();
        co_return true;
    } catch (...) {
        if (self && isCurrent(generation, service))
            report(std::current_exception());
    }
    co_return false;
}

QCoro::Task<> MaskedEmailStore::setState(MaskedEmail::State state, QSet<QString> ids)
{
    if (ids.isEmpty())
        co_return;
    const QPointer<MaskedEmailStore> self(this);
    const std::shared_ptr<MaskedEmailService> service = m_service;
    const quint64 generation = m_generation;
    try {
        if (service) {
            QStringList sorted(ids.begin(), ids.end());
            sorted.sort();
            co_await service->setState(state, sorted);
            if (!self || !isCurrent(generation, service))
                co_return;
        }
        QList<MaskedEmail> items = m_items;
        if (state == MaskedEmail::State::deleted) {
            items.removeIf([&ids](const MaskedEmail& item) { return ids.contains(item.id); });
        } else {
            for (MaskedEmail& item : items)
                if (ids.contains(item.id))
                    item.state = state;
        }
        replaceItems(std::move(items));
        clearError();
    } catch (...) {
        if (self && isCurrent(generation, service))
            report(std::current_exception());
    }
}
