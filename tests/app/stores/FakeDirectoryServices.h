#pragma once

#include "directory/ContactService.h"
#include "directory/MaskedEmailService.h"

#include <QCoroSignal>
#include <QObject>

#include <exception>

// Holds calls of a fake service until released, so a test decides when answers arrive.
class Gate : public QObject
{
    Q_OBJECT
public:
    bool closed = false;
    void release()
    {
        closed = false;
        Q_EMIT opened();
    }
Q_SIGNALS:
    void opened();
};

// What both fakes answer with: after the gate when it is closed, then the failure when set.
class FakeAnswers
{
public:
    Gate gate;
    std::exception_ptr failure;

protected:
    QCoro::Task<> pass()
    {
        if (gate.closed)
            co_await qCoro(&gate, &Gate::opened);
        if (failure)
            std::rethrow_exception(failure);
    }
};

// Answers with what the test set; records what was asked.
class FakeContactService : public ContactService, public FakeAnswers
{
public:
    FakeContactService() : ContactService(nullptr) {}

    QList<Contact> contacts;
    int listCalls = 0;
    QList<QStringList> deleted;
    QList<ContactDetails> createdDetails;

    QCoro::Task<QList<Contact>> list() override
    {
        ++listCalls;
        co_await pass();
        QList<Contact> result = contacts;
        co_return result;
    }
    QCoro::Task<Contact> create(ContactDetails details) override
    {
        createdDetails.append(details);
        co_await pass();
        co_return Contact("server-" + QString::number(createdDetails.size()), details.givenName,
                          details.surname, QString(), details.organization, details.emails,
                          details.phones, details.note);
    }
    QCoro::Task<Contact> update(Contact contact, ContactDetails details) override
    {
        co_await pass();
        // The server's copy: what was asked, plus a full name only the server knows.
        co_return Contact(contact.id, details.givenName, details.surname, "From server",
                          details.organization, details.emails, details.phones, details.note);
    }
    QCoro::Task<> deleteContacts(QStringList ids) override
    {
        deleted.append(ids);
        co_await pass();
    }
};

class FakeMaskedEmailService : public MaskedEmailService, public FakeAnswers
{
public:
    FakeMaskedEmailService() : MaskedEmailService(nullptr) {}

    QList<MaskedEmail> records;
    int listCalls = 0;
    QList<std::pair<MaskedEmail::State, QStringList>> stateChanges;
    QStringList updatedIds;

    QCoro::Task<QList<MaskedEmail>> list() override
    {
        ++listCalls;
        co_await pass();
        QList<MaskedEmail> result = records;
        co_return result;
    }
    QCoro::Task<MaskedEmail> create(MaskedEmailDetails details, QString prefix) override
    {
        co_await pass();
        MaskedEmail record;
        record.id = "me-new";
        record.email = (prefix.isEmpty() ? QString("x") : prefix) + ".1234@fastmail.example";
        record.forDomain = details.storedForDomain();
        record.description = details.storedDescription();
        co_return record;
    }
    QCoro::Task<> update(QString id, MaskedEmailDetails) override
    {
        updatedIds.append(id);
        co_await pass();
    }
    QCoro::Task<> setState(MaskedEmail::State state, QStringList ids) override
    {
        stateChanges.append({state, ids});
        co_await pass();
    }
};
