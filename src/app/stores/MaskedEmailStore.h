#pragma once

#include "directory/MaskedEmail.h"
#include "directory/MaskedEmailDetails.h"
#include "directory/MaskedEmailService.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <memory>
#include <optional>

// What the Masked Email window shows: the account's masked addresses, or demo data when there
// is no service. The list changes only after the server agreed. Operations never throw:
// failures land in `error`, cancellations nowhere.
class MaskedEmailStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<MaskedEmail> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY hasLoadedChanged)
    Q_PROPERTY(QString error READ error WRITE setError NOTIFY errorChanged)

public:
    explicit MaskedEmailStore(QObject* parent = nullptr);

    const QList<MaskedEmail>& items() const { return m_items; }
    // Fills the list without a server, as demo mode does; the list is put newest first.
    void setItems(QList<MaskedEmail> items);

    bool isLoading() const { return m_isLoading; }
    // A load has succeeded since the last reset: tells "never loaded" from "loaded and empty".
    bool hasLoaded() const { return m_hasLoaded; }

    // The last failure's text; empty when there is none.
    const QString& error() const { return m_error; }
    void setError(const QString& error);
    void clearError() { setError(QString()); }

    // Absent means demo data or not connected. Another service is a reset: the list of a former
    // account is never shown, and answers for it are dropped.
    const std::shared_ptr<MaskedEmailService>& service() const { return m_service; }
    void setService(std::shared_ptr<MaskedEmailService> service);

    // Reloads the list; a second load while one runs returns at once.
    QCoro::Task<> load();
    // The new address, first in the list and on the clipboard; absent on failure.
    QCoro::Task<std::optional<MaskedEmail>> create(MaskedEmailDetails details, QString prefix);
    // True when saved; the record is updated locally, not read again.
    QCoro::Task<bool> update(MaskedEmail record, MaskedEmailDetails details);
    // `deleted` removes the rows; other states change them in place.
    QCoro::Task<> setState(MaskedEmail::State state, QSet<QString> ids);

    // A made-up enabled address "<prefix or masked>.<1000-9999>@example.com", created now.
    static MaskedEmail demoAddress(const MaskedEmailDetails& details, const QString& prefix);

Q_SIGNALS:
    void itemsChanged();
    void isLoadingChanged();
    void hasLoadedChanged();
    void errorChanged();

private:
    bool isCurrent(quint64 generation, const std::shared_ptr<MaskedEmailService>& service) const;
    void replaceItems(QList<MaskedEmail> items);
    void setLoading(bool loading);
    void setHasLoaded(bool loaded);
    void report(std::exception_ptr error);

    QList<MaskedEmail> m_items;
    bool m_isLoading = false;
    bool m_hasLoaded = false;
    QString m_error;
    std::shared_ptr<MaskedEmailService> m_service;
    // Raised on every change of service; an answer that comes back to another is stale.
    quint64 m_generation = 0;
};
