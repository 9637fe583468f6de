#pragma once

#include "directory/Contact.h"
#include "directory/ContactDetails.h"
#include "directory/ContactService.h"

#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <memory>

// What the contacts window shows: the address book of the connected account, or demo data when
// there is no service. The list changes only after the server agreed, so a failed edit leaves
// it as it was. Operations never throw: failures land in `error`, cancellations nowhere.
class ContactStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<Contact> items READ items NOTIFY itemsChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool hasLoaded READ hasLoaded NOTIFY hasLoadedChanged)
    Q_PROPERTY(QString error READ error WRITE setError NOTIFY errorChanged)

public:
    explicit ContactStore(QObject* parent = nullptr);

    const QList<Contact>& items() const { return m_items; }
    // Fills the list without a server, as demo mode does; the list is put in display order.
    void setItems(QList<Contact> items);

    bool isLoading() const { return m_isLoading; }
    // A load has succeeded since the last reset: tells "never loaded" from "loaded and empty".
    bool hasLoaded() const { return m_hasLoaded; }

    // The last failure's text; empty when there is none.
    const QString& error() const { return m_error; }
    void setError(const QString& error);
    void clearError() { setError(QString()); }

    // Absent means demo data or not connected. Another service is a reset: the list of a former
    // account is never shown, and answers for it are dropped.
    const std::shared_ptr<ContactService>& service() const { return m_service; }
    void setService(std::shared_ptr<ContactService> service);

    // Reloads the list; a second load while one runs returns at once.
    QCoro::Task<> load();
    // True when the contact now exists.
    QCoro::Task<bool> create(ContactDetails details);
    // True when saved.
    QCoro::Task<bool> update(Contact contact, ContactDetails details);
    QCoro::Task<> deleteContacts(QSet<QString> ids);

Q_SIGNALS:
    void itemsChanged();
    void isLoadingChanged();
    void hasLoadedChanged();
    void errorChanged();

private:
    bool isCurrent(quint64 generation, const std::shared_ptr<ContactService>& service) const;
    void replaceItems(QList<Contact> items);
    void setLoading(bool loading);
    void setHasLoaded(bool loaded);
    void report(std::exception_ptr error);

    QList<Contact> m_items;
    bool m_isLoading = false;
    bool m_hasLoaded = false;
    QString m_error;
    std::shared_ptr<ContactService> m_service;
    // Raised on every change of service; an answer that comes back to another is stale.
    quint64 m_generation = 0;
};
