#include "Fixtures.h"
#include "directory/Contact.h"
#include "directory/ContactDetails.h"
#include "jmap/JMAPDecoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>

Q_DECLARE_METATYPE(ContactDetails)

using Fixtures::object;

namespace {

ContactDetails form(QString given, QString surname, QString organization, QStringList emails,
                    QStringList phones = {}, QString note = {})
{
    return ContactDetails{std::move(given),  std::move(surname), std::move(organization),
                          std::move(emails), std::move(phones),  std::move(note)};
}

QJsonObject fixtureCard(const QString& id)
{
    for (const QJsonValue& card : Fixtures::json("directory/contactcards.json")["list"].toArray())
        if (card["id"].toString() == id)
            return card.toObject();
    return {};
}

} // namespace

class TestContactDetails : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readsCardInPreferenceOrder()
    {
        const Contact ada = JMAPDecoding::decode<Contact>(fixtureCard("c-ada"));
        QCOMPARE(ada.id, QString("c-ada"));
        // Only "given" and "surname" components count; title and second given name stay unseen.
        QCOMPARE(ada.givenName, QString("Ada"));
        QCOMPARE(ada.surname, QString("King"));
        QCOMPARE(ada.fullName, QString());
        // pref 1, pref 2, then no pref (101), then pref 150.
        QCOMPARE(ada.emails, (QList<Contact::Entry>{{"work", "ada@work.example"},
                                                    {"home", "ada@home.example"},
                                                    {"old", "ada@old.example"},
                                                    {"spare", "ada@spare.example"}}));
        // Equal prefs fall back to the key.
        QCOMPARE(ada.phones,
                 (QList<Contact::Entry>{{"p1", "+45 11 11 11 11"}, {"p2", "+45 22 22 22 22"}}));
        QCOMPARE(ada.organizationKey, std::optional<QString>("org-a"));
        QCOMPARE(ada.organization, QString("Royal Society"));
        QCOMPARE(ada.noteKey, std::optional<QString>("n1"));
        QCOMPARE(ada.note, QString("Met at the lecture"));
        QCOMPARE(ada.primaryEmail(), std::optional<QString>("ada@work.example"));
        QCOMPARE(ada.displayName(), QString("Ada King"));

        const Contact bare = Contact::fromJson(object(R"({"id": "x", "organizations": {}})"));
        QCOMPARE(bare.organizationKey, std::nullopt);
        QCOMPARE(bare.primaryEmail(), std::nullopt);
    }

    void brokenCardNamesTheRecord()
    {
        try {
            JMAPDecoding::decode<Contact>(
                object(R"({"id": "x", "emails": {"e1": {"@type": "EmailAddress"}}})"));
            QFAIL("a card with an address-less e-mail must not decode");
        } catch (const JMAPError& error) {
            QCOMPARE(error.kind(), JMAPError::Kind::Malformed);
            QVERIFY2(error.description().startsWith("Unexpected response from Fastmail: Contact: "),
                     qPrintable(error.description()));
            QVERIFY(error.description().contains("address"));
        }
    }

    void displayName_data()
    {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<QString>("expected");
        QTest::newRow("full name wins")
            << QByteArray(R"({"id":"1","name":{"full":"Ada Lovelace","components":[
            {"kind":"given","value":"Ada"}]}})")
            << "Ada Lovelace";
        QTest::newRow("given and surname")
            << QByteArray(R"({"id":"1","name":{"components":[{"kind":"surname","value":"King"},
            {"kind":"given","value":"Ada"}]}})")
            << "Ada King";
        QTest::newRow("surname alone")
            << QByteArray(R"({"id":"1","name":{"components":[{"kind":"surname","value":"King"}]}})")
            << "King";
        QTest::newRow("organization")
            << QByteArray(R"({"id":"1","organizations":{"o1":{"name":"Acme"}},
            "emails":{"e1":{"address":"a@acme.example"}}})")
            << "Acme";
        QTest::newRow("primary email")
            << QByteArray(R"({"id":"1","emails":{"e1":{"address":"a@acme.example"}}})")
            << "a@acme.example";
        QTest::newRow("nothing") << QByteArray(R"({"id":"1"})") << "";
    }

    void displayName()
    {
        QFETCH(QByteArray, card);
        QFETCH(QString, expected);
        QCOMPARE(Contact::fromJson(QJsonDocument::fromJson(card).object()).displayName(), expected);
    }

    void fullNameOnlyCardIsEditableAsGivenName()
    {
        const Contact grace = Contact::fromJson(fixtureCard("c-fullname"));
        QCOMPARE(grace.displayName(), QString("Grace Hopper"));
        QCOMPARE(grace.details(), form("Grace Hopper", "", "", {"grace@navy.example"}));
    }

    void isEmpty_data()
    {
        QTest::addColumn<ContactDetails>("details");
        QTest::addColumn<bool>("empty");
        QTest::newRow("only a phone") << form("", "", "", {}, {"+45 12 34 56 78"}) << true;
        QTest::newRow("white space name and blank email")
            << form("  \n", "\t", " ", {" ", ""}) << true;
        QTest::newRow("surname") << form("", "King", "", {}) << false;
        QTest::newRow("email") << form("", "", "", {"", "a@acme.example"}) << false;
    }

    void isEmpty()
    {
        QFETCH(ContactDetails, details);
        QFETCH(bool, empty);
        QCOMPARE(details.isEmpty(), empty);
    }

    void newCard_data()
    {
        QTest::addColumn<ContactDetails>("details");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("everything")
            << form(" Ada ", "King", "Acme", {"a@x.example", " ", "b@x.example"}, {"+45 1"}, "note")
            << QByteArray(R"({
        "@type": "Card", "version": "1.0", "kind": "individual",
        "addressBookIds": {"book-1": true},
        "name": {"@type": "Name", "isOrdered": true, "full": "Ada King", "components": [
            {"@type": "NameComponent", "kind": "given", "value": "Ada"},
            {"@type": "NameComponent", "kind": "surname", "value": "King"}]},
        "emails": {"e1": {"@type": "EmailAddress", "address": "a@x.example"},
                   "e2": {"@type": "EmailAddress", "address": "b@x.example"}},
        "phones": {"p1": {"@type": "Phone", "number": "+45 1"}},
        "organizations": {"o1": {"@type": "Organization", "name": "Acme"}},
        "notes": {"n1": {"@type": "Note", "note": "note"}}})");
        QTest::newRow("surname and email only")
            << form("", "King", "  ", {"k@x.example"}) << QByteArray(R"({
        "@type": "Card", "version": "1.0", "kind": "individual",
        "addressBookIds": {"book-1": true},
        "name": {"@type": "Name", "isOrdered": true, "full": "King", "components": [
            {"@type": "NameComponent", "kind": "surname", "value": "King"}]},
        "emails": {"e1": {"@type": "EmailAddress", "address": "k@x.example"}}})");
        QTest::newRow("organization without a name") << form("", "", "Acme", {}) << QByteArray(R"({
        "@type": "Card", "version": "1.0", "kind": "individual",
        "addressBookIds": {"book-1": true},
        "organizations": {"o1": {"@type": "Organization", "name": "Acme"}}})");
    }

    void newCard()
    {
        QFETCH(ContactDetails, details);
        QFETCH(QByteArray, expected);
        QCOMPARE(details.card("book-1"), QJsonDocument::fromJson(expected).object());
    }

    void patch_data()
    {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<ContactDetails>("details");
        QTest::addColumn<QByteArray>("expected");

        const QByteArray fullNameOnly =
            R"({"id":"c","name":{"full":"Grace Hopper"},"emails":{"e1":{"address":"g@x.example"}}})";
        QTest::newRow("full-name-only card saved unchanged sends nothing")
            << fullNameOnly << form("Grace Hopper", "", "", {"g@x.example"}) << QByteArray("{}");
        QTest::newRow("full-name-only card renamed writes one given component")
            << fullNameOnly << form("Grace B. Hopper", "", "", {"g@x.example"})
            << QByteArray(
                   R"({"name": {"@type": "Name", "isOrdered": true, "full": "Grace B. Hopper",
            "components": [{"@type": "NameComponent", "kind": "given",
                            "value": "Grace B. Hopper"}]}})");

        const QByteArray ada = R"({"id":"c",
        "name":{"components":[{"kind":"title","value":"Dr."},{"kind":"given","value":"Ada"},
                              {"kind":"surname","value":"King"}]},
        "emails":{"e1":{"address":"a@x.example","pref":1},"e2":{"address":"b@x.example"}},
        "phones":{"p1":{"number":"111","pref":1}}})";
        QTest::newRow("clearing both names writes null")
            << ada << form("", "", "", {"a@x.example", "b@x.example"}, {"111"})
            << QByteArray(R"({"name": null})");
        QTest::newRow("padding, blank rows and another order are no change")
            << ada
            << form(" Ada ", "King\n", " ", {"", "b@x.example ", " a@x.example", " "}, {"111 "})
            << QByteArray("{}");
        QTest::newRow("changing one of two entries uses a fresh key")
            << ada << form("Ada", "King", "", {"a@x.example", "c@x.example"}, {"111"})
            << QByteArray(R"({"emails/e2": null,
            "emails/e3": {"@type": "EmailAddress", "address": "c@x.example"}})");
        QTest::newRow("a duplicate is an addition")
            << ada
            << form("Ada", "King", "", {"a@x.example", "b@x.example", "a@x.example"}, {"111"})
            << QByteArray(R"({"emails/e3": {"@type": "EmailAddress", "address": "a@x.example"}})");
        QTest::newRow("removing all phones writes null")
            << ada << form("Ada", "King", "", {"a@x.example", "b@x.example"}, {" "})
            << QByteArray(R"({"phones": null})");
        QTest::newRow("a new phone beside one with a pref")
            << ada << form("Ada", "King", "", {"a@x.example", "b@x.example"}, {"111", "222"})
            << QByteArray(R"({"phones/p2": {"@type": "Phone", "number": "222"}})");

        QTest::newRow("a blank address on the card goes with an unchanged save")
            << QByteArray(
                   R"({"id":"c","emails":{"e1":{"address":" "},"e2":{"address":"a@x.example"}}})")
            << form("", "", "", {"a@x.example"}) << QByteArray(R"({"emails/e1": null})");
        QTest::newRow("a padded stored address is written again trimmed")
            << QByteArray(R"({"id":"c","emails":{"e1":{"address":" a@x.example"},
                                              "e2":{"address":"b@x.example"}}})")
            << form("", "", "", {"a@x.example", "b@x.example"}) << QByteArray(R"({"emails/e1": null,
            "emails/e3": {"@type": "EmailAddress", "address": "a@x.example"}})");

        const QByteArray single = R"({"id":"c","emails":{"e1":{"address":"a@x.example"}}})";
        QTest::newRow("changing the only address rewrites the map")
            << single << form("", "", "", {"z@x.example"})
            << QByteArray(
                   R"({"emails": {"e1": {"@type": "EmailAddress", "address": "z@x.example"}}})");
        QTest::newRow("adding to a card without addresses")
            << QByteArray(R"({"id":"c","organizations":{"o1":{"name":"Acme"}}})")
            << form("", "", "Acme", {"a@x.example", "b@x.example"})
            << QByteArray(R"({"emails": {"e1": {"@type": "EmailAddress", "address": "a@x.example"},
                                     "e2": {"@type": "EmailAddress", "address": "b@x.example"}}})");

        const QByteArray gapped =
            R"({"id":"c","emails":{"e1":{"address":"a@x.example"},"e3":{"address":"c@x.example"}}})";
        QTest::newRow("e1 kept, e3 removed, two added: still e2 and e4")
            << gapped << form("", "", "", {"a@x.example", "x@x.example", "y@x.example"})
            << QByteArray(R"({"emails/e3": null,
                          "emails/e2": {"@type": "EmailAddress", "address": "x@x.example"},
                          "emails/e4": {"@type": "EmailAddress", "address": "y@x.example"}})");

        QTest::newRow("keys with slash and tilde are escaped")
            << QByteArray(R"({"id":"c","emails":{"a/b~":{"address":"gone@x.example"},
                                              "keep":{"address":"k@x.example"}}})")
            << form("", "", "", {"k@x.example", "n@x.example"})
            << QByteArray(R"({"emails/a~1b~0": null,
                          "emails/e1": {"@type": "EmailAddress", "address": "n@x.example"}})");

        const QByteArray twoOrganizations = R"({"id":"c","name":{"full":"Ada"},
        "organizations":{"org-b":{"name":"Engines"},"org-a":{"name":"Society","units":[]}},
        "notes":{"n2":{"note":"old"}}})";
        QTest::newRow("of two organizations the smaller key is edited")
            << twoOrganizations << form("Ada", "", "Royal Society", {}, {}, "old")
            << QByteArray(R"({"organizations/org-a/name": "Royal Society"})");
        QTest::newRow("clearing the organization removes only the chosen one")
            << twoOrganizations << form("Ada", "", "", {}, {}, "old")
            << QByteArray(R"({"organizations/org-a": null})");
        QTest::newRow("a changed note keeps its key")
            << twoOrganizations << form("Ada", "", "Society", {}, {}, "new")
            << QByteArray(R"({"notes/n2/note": "new"})");
        QTest::newRow("organization and note added to a bare card")
            << QByteArray(R"({"id":"c","name":{"full":"Ada"}})")
            << form("Ada", "", "Acme", {}, {}, "hello")
            << QByteArray(R"({"organizations/o1": {"@type": "Organization", "name": "Acme"},
                          "notes/n1": {"@type": "Note", "note": "hello"}})");
    }

    void patch()
    {
        QFETCH(QByteArray, card);
        QFETCH(ContactDetails, details);
        QFETCH(QByteArray, expected);
        const Contact contact = Contact::fromJson(QJsonDocument::fromJson(card).object());
        const QJsonObject patch = details.patch(contact);
        QCOMPARE(QJsonDocument(patch).toJson(QJsonDocument::Compact),
                 QJsonDocument(QJsonDocument::fromJson(expected).object())
                     .toJson(QJsonDocument::Compact));
    }

    void localContactKeys()
    {
        const Contact contact("id-1", "Ada", "King", "", "Acme", {"a@x.example", "b@x.example"},
                              {"111"}, "");
        QCOMPARE(contact.emails,
                 (QList<Contact::Entry>{{"e1", "a@x.example"}, {"e2", "b@x.example"}}));
        QCOMPARE(contact.phones, (QList<Contact::Entry>{{"p1", "111"}}));
        QCOMPARE(contact.organizationKey, std::optional<QString>("o1"));
        QCOMPARE(contact.noteKey, std::nullopt);
        // Editing a local contact round-trips: its own details are no change.
        QCOMPARE(contact.details().patch(contact), QJsonObject());
    }

    void sortsByDisplayNameWithNumbers()
    {
        QList<Contact> contacts{Contact("1", "", "", "Item 10", "", {}, {}, ""),
                                Contact("2", "", "", "item 9", "", {}, {}, ""),
                                Contact("3", "", "", "Babbage", "", {}, {}, ""),
                                Contact("4", "", "", "Item 10", "", {"second@x.example"}, {}, "")};
        Contact::sortByDisplayName(contacts);
        QStringList ids;
        for (const Contact& contact : contacts)
            ids.append(contact.id);
        QCOMPARE(ids, (QStringList{"3", "2", "1", "4"}));
    }
};

QTEST_GUILESS_MAIN(TestContactDetails)
#include "tst_contactdetails.moc"
