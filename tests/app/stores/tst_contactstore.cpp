#include "AsyncTest.h"
#include "FakeDirectoryServices.h"
#include "app/stores/ContactStore.h"

#include <QSignalSpy>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

Contact person(const QString& id, const QString& name, const QString& email = {})
{
    return Contact(id, name, "", "", "", email.isEmpty() ? QStringList() : QStringList{email}, {},
                   "");
}

QStringList namesOf(const QList<Contact>& contacts)
{
    QStringList names;
    for (const Contact& contact : contacts)
        names.append(contact.displayName());
    return names;
}

} // namespace

// Loading, resets and stale answers live in the store base both directories share; they are
// tested here once.
class TestContactStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        store = std::make_unique<ContactStore>();
        service = std::make_shared<FakeContactService>();
        service->contacts = {person("a", "Ada"), person("b", "Bob")};
    }

    void loadReplacesItemsAndClearsError()
    {
        await(store->load()); // no service: nothing happens
        QVERIFY(!store->hasLoaded());

        store->setService(service);
        store->setError("Earlier failure");
        QSignalSpy loading(store.get(), &ContactStore::isLoadingChanged);
        QSignalSpy items(store.get(), &ContactStore::itemsChanged);
        await(store->load());
        QCOMPARE(namesOf(store->items()), (QStringList{"Ada", "Bob"}));
        QVERIFY(store->hasLoaded());
        QCOMPARE(store->error(), QString());
        QCOMPARE(loading.size(), 2);
        QCOMPARE(items.size(), 1);

        // The same list again is no change to announce.
        await(store->load());
        QCOMPARE(items.size(), 1);
    }

    void overlappingLoadRunsOnce()
    {
        store->setService(service);
        service->gate.closed = true;
        auto first = store->load();
        QVERIFY(store->isLoading());
        auto second = store->load();
        QVERIFY(second.isReady());
        QCOMPARE(service->listCalls, 1);

        service->gate.release();
        await(std::move(first));
        QVERIFY(!store->isLoading());
        QCOMPARE(store->items().size(), 2);
        QCOMPARE(service->listCalls, 1);
    }

    void failedLoadKeepsItems()
    {
        store->setService(service);
        service->failure = std::make_exception_ptr(JMAPError::http(500, "Try later"));
        await(store->load());
        QVERIFY(!store->hasLoaded());
        QCOMPARE(store->error(), QString("Fastmail returned HTTP 500. Try later"));
        QVERIFY(!store->isLoading());

        service->failure = nullptr;
        await(store->load());
        QCOMPARE(store->error(), QString());
        service->contacts.clear();
        service->failure = std::make_exception_ptr(JMAPError::noContactsAccess());
        QSignalSpy error(store.get(), &ContactStore::errorChanged);
        await(store->load());
        QCOMPARE(namesOf(store->items()), (QStringList{"Ada", "Bob"}));
        QVERIFY(store->hasLoaded());
        QCOMPARE(error.size(), 1);
        QVERIFY(store->error().startsWith("This token has no access to contacts."));
    }

    void cancelledLoadLeavesError_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("cancelled task") << 0;
        QTest::newRow("cancelled request") << 1;
    }

    void cancelledLoadLeavesError()
    {
        QFETCH(int, kind);
        store->setService(service);
        store->setError("Earlier failure");
        service->failure = kind == 0
                               ? std::make_exception_ptr(CancelledError())
                               : std::make_exception_ptr(TransportError(
                                     QNetworkReply::OperationCanceledError, "Operation canceled"));
        await(store->load());
        QCOMPARE(store->error(), QString("Earlier failure"));
        QVERIFY(!store->isLoading());
        QVERIFY(!store->hasLoaded());
    }

    void newServiceResets()
    {
        store->setService(service);
        await(store->load());
        store->setError("Some failure");
        // The same service again is no reset.
        QSignalSpy items(store.get(), &ContactStore::itemsChanged);
        store->setService(service);
        QCOMPARE(store->items().size(), 2);
        QCOMPARE(items.size(), 0);

        QSignalSpy hasLoaded(store.get(), &ContactStore::hasLoadedChanged);
        auto other = std::make_shared<FakeContactService>();
        store->setService(other);
        QVERIFY(store->items().isEmpty());
        QVERIFY(!store->hasLoaded());
        QCOMPARE(store->error(), QString());
        QCOMPARE(hasLoaded.size(), 1);

        // Disconnecting is a reset too.
        other->contacts = {person("z", "Zoe")};
        await(store->load());
        QCOMPARE(store->items().size(), 1);
        store->setService(nullptr);
        QVERIFY(store->items().isEmpty());
        QVERIFY(!store->hasLoaded());
    }

    void answersForFormerServiceAreDropped()
    {
        store->setService(service);
        service->gate.closed = true;
        auto staleLoad = store->load();
        auto staleCreate = store->create(ContactDetails{"Carl", "", "", {}, {}, ""});
        QVERIFY(store->isLoading());

        auto other = std::make_shared<FakeContactService>();
        other->contacts = {person("z", "Zoe")};
        store->setService(other);
        // The new account loads at once, beside the former one's request.
        QVERIFY(!store->isLoading());
        await(store->load());
        QCOMPARE(namesOf(store->items()), QStringList{"Zoe"});

        QSignalSpy items(store.get(), &ContactStore::itemsChanged);
        QSignalSpy loading(store.get(), &ContactStore::isLoadingChanged);
        service->failure = nullptr;
        service->gate.release();
        await(std::move(staleLoad));
        QVERIFY(await(std::move(staleCreate)));
        QCOMPARE(namesOf(store->items()), QStringList{"Zoe"});
        QCOMPARE(items.size(), 0);
        QCOMPARE(loading.size(), 0);

        // A failure for the former account is not this account's error either.
        service->gate.closed = true;
        store->setService(service);
        auto failing = store->load();
        store->setService(other);
        service->failure = std::make_exception_ptr(JMAPError::unauthorized());
        service->gate.release();
        await(std::move(failing));
        QCOMPARE(store->error(), QString());
    }

    void withoutServiceActsOnTheList()
    {
        store->setItems({person("b", "Bob"), person("a", "Ada")});
        QCOMPARE(namesOf(store->items()), (QStringList{"Ada", "Bob"}));
        store->setError("Stale");

        QVERIFY(await(
            store->create(ContactDetails{" Carl ", "", " Acme ", {"", "carl@x.example"}, {}, ""})));
        QCOMPARE(namesOf(store->items()), (QStringList{"Ada", "Bob", "Carl"}));
        const Contact carl = store->items().at(2);
        QVERIFY(!QUuid::fromString(carl.id).isNull());
        QCOMPARE(carl.organization, QString("Acme"));
        QCOMPARE(carl.organizationKey, std::optional<QString>("o1"));
        QCOMPARE(carl.emails, (QList<Contact::Entry>{{"e1", "carl@x.example"}}));
        QCOMPARE(store->error(), QString());

        QVERIFY(await(store->update(carl, ContactDetails{"Aaron", "", "", {}, {}, ""})));
        QCOMPARE(namesOf(store->items()), (QStringList{"Aaron", "Ada", "Bob"}));
        QCOMPARE(store->items().first().id, carl.id);

        await(store->deleteContacts({}));
        QCOMPARE(store->items().size(), 3);
        await(store->deleteContacts({carl.id, "a", "unknown"}));
        QCOMPARE(namesOf(store->items()), QStringList{"Bob"});
    }

    void withServiceListChangesAfterSuccessOnly()
    {
        store->setService(service);
        await(store->load());
        const QList<Contact> before = store->items();

        service->failure = std::make_exception_ptr(
            JMAPError::method("invalidProperties", "Invalid email address"));
        QVERIFY(!await(store->create(ContactDetails{"Carl", "", "", {"bad"}, {}, ""})));
        QCOMPARE(store->error(), QString("JMAP error: invalidProperties (Invalid email address)"));
        QVERIFY(!await(store->update(before.first(), ContactDetails{"Ann", "", "", {}, {}, ""})));
        await(store->deleteContacts({"a"}));
        QCOMPARE(store->items(), before);

        service->failure = nullptr;
        QVERIFY(await(store->create(ContactDetails{"Aaron", "", "", {}, {}, ""})));
        QCOMPARE(store->error(), QString());
        QCOMPARE(store->items().first().id, QString("server-2"));

        // The stored record is the one the server returned.
        QVERIFY(await(store->update(before.at(1), ContactDetails{"Bea", "", "", {}, {}, ""})));
        QCOMPARE(namesOf(store->items()), (QStringList{"Aaron", "Ada", "From server"}));

        await(store->deleteContacts({"b", "a"}));
        QCOMPARE(service->deleted.last(), (QStringList{"a", "b"}));
        QCOMPARE(namesOf(store->items()), QStringList{"Aaron"});
    }

private:
    std::unique_ptr<ContactStore> store;
    std::shared_ptr<FakeContactService> service;
};

QTEST_MAIN(TestContactStore)
#include "tst_contactstore.moc"
