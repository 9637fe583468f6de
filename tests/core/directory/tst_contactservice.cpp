#include "AsyncTest.h"
#include "FakeNetwork.h"
#include "Fixtures.h"
#include "directory/ContactService.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

using namespace AsyncTest;

using Fixtures::object;

namespace {

QStringList idsOf(const QList<Contact>& contacts)
{
    QStringList ids;
    for (const Contact& contact : contacts)
        ids.append(contact.id);
    return ids;
}

const QJsonArray properties{"id", "kind", "name", "emails", "phones", "organizations", "notes"};

} // namespace

class TestContactService : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        network = std::make_unique<FakeNetwork>();
        service = std::make_unique<ContactService>(
            std::make_shared<JMAPClient>(FakeNetwork::sessionUrl(), "token", network.get()));
    }

    void listsIndividualsInDisplayOrder()
    {
        network->respondTo("ContactCard/get", Fixtures::json("directory/contactcards.json"));
        const QList<Contact> contacts = await(service->list());

        // Groups and organisations are left out; a kind that is no string counts as a person.
        QCOMPARE(idsOf(contacts),
                 (QStringList{"c-ada", "c-odd-kind", "c-fullname", "c-item9", "c-item10"}));
        QCOMPARE(contacts.at(1).displayName(), QString("Babbage"));

        const auto batches = network->batches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(batches.first().json()["using"].toArray(),
                 (QJsonArray{"urn:ietf:params:jmap:core", "urn:ietf:params:jmap:mail",
                             "urn:ietf:params:jmap:submission", "urn:ietf:params:jmap:contacts"}));
        QCOMPARE(batches.first().methodNames(), QStringList{"ContactCard/get"});
        QCOMPARE(batches.first().callArguments("0"),
                 (QJsonObject{
                     {"accountId", "u1"}, {"ids", QJsonValue::Null}, {"properties", properties}}));
    }

    void listFailures_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("error");
        QTest::newRow("no list is an empty book") << QByteArray(R"({"state":"1"})") << 0 << "";
        QTest::newRow("one broken card fails the list")
            << QByteArray(R"({"list":[{"id":"a"}, {"kind":"individual"}]})") << 0
            << "Unexpected response from Fastmail: Array<Contact>: No value for the required key "
               "\"id\".";
        QTest::newRow("a broken group is never read")
            << QByteArray(R"({"list":[{"id":"a"}, {"kind":"group"}]})") << 1 << "";
    }

    void listFailures()
    {
        QFETCH(QByteArray, response);
        QFETCH(int, count);
        QFETCH(QString, error);
        network->respondTo("ContactCard/get", QJsonDocument::fromJson(response).object());
        const auto outcome = run(service->list());
        if (error.isEmpty()) {
            QVERIFY(!outcome.error);
            QCOMPARE(outcome.value->size(), count);
        } else {
            QVERIFY(outcome.error);
            QCOMPARE(Errors::describe(outcome.error), error);
        }
    }

    void withoutContactsAccessNothingIsSent()
    {
        QJsonObject session = FakeNetwork::defaultSession();
        QJsonObject primary = session["primaryAccounts"].toObject();
        primary.remove(JMAPClient::contactsCapability);
        session["primaryAccounts"] = primary;
        network->setSession(session);
        const auto error = awaitError<JMAPError>(service->list());
        QVERIFY(error);
        QCOMPARE(
            error->description(),
            QString("This token has no access to contacts. Create one in Fastmail that includes "
                    "Contacts, and paste it in Settings."));
        QVERIFY(network->batches().isEmpty());
    }

    void createsInTheDefaultAddressBook()
    {
        network->respondTo("AddressBook/get", object(R"({"list":[
        {"id":"b-shared","name":"Shared","isDefault":false},
        {"id":"b-personal","name":"Personal","isDefault":true}]})"));
        // Fastmail answers a creation with the id and what it added, not the whole card.
        network->respondTo("ContactCard/set", object(R"({"created":{"new":{
        "id":"card-9","uid":"urn:uuid:9",
        "emails":{"e1":{"@type":"EmailAddress","address":"ada@x.example","pref":1}}}}})"));

        const ContactDetails details{"Ada", "King", "Acme", {"ada@x.example"}, {"111"}, ""};
        const Contact created = await(service->create(details));

        const auto batches = network->batches();
        QCOMPARE(batches.size(), 2);
        QCOMPARE(batches.at(0).methodNames(), QStringList{"AddressBook/get"});
        QCOMPARE(batches.at(0).callArguments("books"),
                 (QJsonObject{{"accountId", "u1"}, {"ids", QJsonValue::Null}}));
        QVERIFY(batches.at(0).json()["using"].toArray().contains(JMAPClient::contactsCapability));
        QCOMPARE(batches.at(1).methodNames(), QStringList{"ContactCard/set"});
        QCOMPARE(batches.at(1).callArguments("0"),
                 (QJsonObject{{"accountId", "u1"},
                              {"create", QJsonObject{{"new", details.card("b-personal")}}}}));

        QCOMPARE(created.id, QString("card-9"));
        QCOMPARE(created.givenName, QString("Ada"));
        QCOMPARE(created.organization, QString("Acme"));
        QCOMPARE(created.organizationKey, std::optional<QString>("o1"));
        QCOMPARE(created.phones, (QList<Contact::Entry>{{"p1", "111"}}));
        QCOMPARE(created.primaryEmail(), std::optional<QString>("ada@x.example"));
    }

    void createFailures_data()
    {
        QTest::addColumn<QByteArray>("books");
        QTest::addColumn<QByteArray>("set");
        QTest::addColumn<int>("requests");
        QTest::addColumn<QString>("error");
        const QByteArray book = R"({"list":[{"id":"b1"}]})";
        QTest::newRow("no address book") << QByteArray(R"({"list":[]})") << QByteArray("{}") << 1
                                         << "Unexpected response from Fastmail: no address book";
        QTest::newRow("address book without a usable id")
            << QByteArray(R"({"list":[{"id":5,"isDefault":true}]})") << QByteArray("{}") << 1
            << "Unexpected response from Fastmail: no address book";
        QTest::newRow("refused by the server")
            << book
            << QByteArray(R"({"created":null,"notCreated":{"new":{"type":"invalidProperties",
            "description":"Invalid email address","properties":["emails/e1/address"]}}})")
            << 2 << "JMAP error: invalidProperties (Invalid email address [emails/e1/address])";
        QTest::newRow("created entry missing")
            << book << QByteArray(R"({"created":{}})") << 2
            << "Unexpected response from Fastmail: created contact";
    }

    void createFailures()
    {
        QFETCH(QByteArray, books);
        QFETCH(QByteArray, set);
        QFETCH(int, requests);
        QFETCH(QString, error);
        network->respondTo("AddressBook/get", QJsonDocument::fromJson(books).object());
        network->respondTo("ContactCard/set", QJsonDocument::fromJson(set).object());
        const auto outcome = run(service->create(ContactDetails{"Ada", "", "", {}, {}, ""}));
        QVERIFY(outcome.error);
        QCOMPARE(Errors::describe(outcome.error), error);
        QCOMPARE(network->batches().size(), requests);
    }

    void updateSendsPatchAndRereads()
    {
        const Contact before = Contact::fromJson(object(R"({"id":"c1",
        "name":{"components":[{"kind":"given","value":"Ada"}]},
        "emails":{"e1":{"address":"a@x.example","pref":1},"e3":{"address":"c@x.example"}}})"));
        network->respondTo("ContactCard/set", object(R"({"updated":{"c1":null}})"));
        network->respondTo("ContactCard/get", object(R"({"list":[{"id":"c1",
        "name":{"components":[{"kind":"given","value":"Ada"}]},
        "emails":{"e1":{"address":"a@x.example","pref":1},"e3":{"address":"c@x.example"},
                  "e2":{"address":"new@x.example"}}}]})"));

        ContactDetails details = before.details();
        details.emails.append("new@x.example");
        const Contact after = await(service->update(before, details));

        const auto batches = network->batches();
        QCOMPARE(batches.size(), 1);
        QCOMPARE(batches.first().methodNames(),
                 (QStringList{"ContactCard/set", "ContactCard/get"}));
        QCOMPARE(batches.first().callArguments("0"), object(R"({"accountId":"u1","update":{"c1":{
                 "emails/e2":{"@type":"EmailAddress","address":"new@x.example"}}}})"));
        QCOMPARE(batches.first().callArguments("1"),
                 (QJsonObject{
                     {"accountId", "u1"}, {"ids", QJsonArray{"c1"}}, {"properties", properties}}));
        // The stored record is the server's, with the key it gave the new address.
        QCOMPARE(after.emails,
                 (QList<Contact::Entry>{
                     {"e1", "a@x.example"}, {"e2", "new@x.example"}, {"e3", "c@x.example"}}));
    }

    void unchangedUpdateSendsNothing()
    {
        const Contact contact("c1", "Ada", "", "", "", {"a@x.example"}, {}, "");
        ContactDetails details = contact.details();
        details.givenName = " Ada ";
        QCOMPARE(await(service->update(contact, details)), contact);
        QVERIFY(network->requests().isEmpty());
    }

    void updateFailures_data()
    {
        QTest::addColumn<QByteArray>("set");
        QTest::addColumn<QByteArray>("get");
        QTest::addColumn<QString>("error");
        QTest::newRow("refused by the server")
            << QByteArray(R"({"notUpdated":{"c1":{"type":"notFound"}}})")
            << QByteArray(R"({"list":[],"notFound":["c1"]})") << "JMAP error: notFound";
        QTest::newRow("card gone after the update")
            << QByteArray(R"({"updated":{"c1":null}})")
            << QByteArray(R"({"list":[],"notFound":["c1"]})")
            << "Unexpected response from Fastmail: updated contact";
    }

    void updateFailures()
    {
        QFETCH(QByteArray, set);
        QFETCH(QByteArray, get);
        QFETCH(QString, error);
        network->respondTo("ContactCard/set", QJsonDocument::fromJson(set).object());
        network->respondTo("ContactCard/get", QJsonDocument::fromJson(get).object());
        const Contact contact("c1", "Ada", "", "", "", {}, {}, "");
        ContactDetails details = contact.details();
        details.surname = "King";
        const auto outcome = run(service->update(contact, details));
        QVERIFY(outcome.error);
        QCOMPARE(Errors::describe(outcome.error), error);
    }

    void deletesCards()
    {
        await(service->deleteContacts({}));
        QVERIFY(network->requests().isEmpty());

        network->respondTo("ContactCard/set", object(R"({"destroyed":["c1","c2"]})"));
        await(service->deleteContacts({"c1", "c2"}));
        QCOMPARE(network->batches().size(), 1);
        QCOMPARE(network->batches().first().callArguments("0"),
                 (QJsonObject{{"accountId", "u1"}, {"destroy", QJsonArray{"c1", "c2"}}}));

        network->respondTo("ContactCard/set", object(R"({"destroyed":["c1"],
        "notDestroyed":{"c2":{"type":"forbidden","description":"Read-only address book"}}})"));
        const auto error = awaitError<JMAPError>(service->deleteContacts({"c1", "c2"}));
        QVERIFY(error);
        QCOMPARE(*error, JMAPError::method("forbidden", "Read-only address book"));
    }

private:
    std::unique_ptr<FakeNetwork> network;
    std::unique_ptr<ContactService> service;
};

QTEST_GUILESS_MAIN(TestContactService)
#include "tst_contactservice.moc"
