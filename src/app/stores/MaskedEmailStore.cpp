#include "MaskedEmailStore.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QRandomGenerator>
#include <QUuid>

#include <algorithm>

MaskedEmailStore::MaskedEmailStore(QObject* parent) : DirectoryStoreOf(parent) {}

void MaskedEmailStore::setItems(QList<MaskedEmail> items)
{
    std::stable_sort(items.begin(), items.end(), [](const auto& a, const auto& b) {
        return a.createdSort() > b.createdSort();
    });
    replaceItems(std::move(items));
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

QCoro::Task<std::optional<MaskedEmail>> MaskedEmailStore::create(MaskedEmailDetails details,
                                                                 QString prefix)
{
    const Call call(this);
    try {
        MaskedEmail record;
        if (call.service) {
            record = co_await call.service->create(details, prefix);
            if (!call.isCurrent())
                co_return record;
        } else {
            record = demoAddress(details, prefix);
        }
        // First, whatever the order of the next load: it is what the user just made.
        QList<MaskedEmail> records = items();
        records.prepend(record);
        replaceItems(std::move(records));
        // Ready to paste into the site's form.
        if (qGuiApp)
            QGuiApplication::clipboard()->setText(record.email);
        clearError();
        co_return record;
    } catch (...) {
        if (call.isCurrent())
            report(std::current_exception());
    }
    co_return std::nullopt;
}

QCoro::Task<bool> MaskedEmailStore::update(MaskedEmail record, MaskedEmailDetails details)
{
    const Call call(this);
    try {
        if (call.service) {
            co_await call.service->update(record.id, details);
            if (!call.isCurrent())
                co_return true;
        }
        QList<MaskedEmail> records = items();
        for (MaskedEmail& item : records) {
            if (item.id == record.id) {
                item.forDomain = details.storedForDomain();
                item.description = details.storedDescription();
                break;
            }
        }
        replaceItems(std::move(records));
        clearError();
        co_return true;
    } catch (...) {
        if (call.isCurrent())
            report(std::current_exception());
    }
    co_return false;
}

QCoro::Task<> MaskedEmailStore::setState(MaskedEmail::State state, QSet<QString> ids)
{
    if (ids.isEmpty())
        co_return;
    const Call call(this);
    try {
        if (call.service) {
            co_await call.service->setState(state, sortedIds(ids));
            if (!call.isCurrent())
                co_return;
        }
        QList<MaskedEmail> records = items();
        if (state == MaskedEmail::State::deleted) {
            records.removeIf([&ids](const MaskedEmail& item) { return ids.contains(item.id); });
        } else {
            for (MaskedEmail& item : records)
                if (ids.contains(item.id))
                    item.state = state;
        }
        replaceItems(std::move(records));
        clearError();
    } catch (...) {
        if (call.isCurrent())
            report(std::current_exception());
    }
}
