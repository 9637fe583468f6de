#include "AsyncTest.h"
#include "FakeDirectoryServices.h"
#include "app/stores/MaskedEmailStore.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QTest>
#include <QUuid>

using namespace AsyncTest;

namespace {

MaskedEmail record(const QString& id, MaskedEmail::State state = MaskedEmail::State::enabled)
{
    MaskedEmail result;
    result.id = id;
    result.email = id + "@fastmail.example";
    result.state = state;
    return result;
}

QStringList idsOf(const QList<MaskedEmail>& records)
{
    QStringList ids;
    for (const MaskedEmail& item : records)
        ids.append(item.id);
    return ids;
}

} // namespace

class TestMaskedEmailStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        store = std::make_unique<MaskedEmailStore>();
        service = std::make_shared<FakeMaskedEmailService>();
        service->records = {record("one"), record("two", MaskedEmail::State::disabled)};
        QGuiApplication::clipboard()->setText("untouched");
    }

    void createGoesFirstAndToTheClipboard()
    {
        store->setService(service);
        MaskedEmail newer = record("newer");
        newer.createdAt = QDateTime(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC);
        store->setItems({newer});

        // A failed create leaves the list and the clipboard as they were.
        service->failure = std::make_exception_ptr(JMAPError::malformed("created masked email"));
        QCOMPARE(await(store->create(MaskedEmailDetails{"shop.example", ""}, "")), std::nullopt);
        QCOMPARE(store->error(),
                 QString("Unexpected response from Fastmail: created masked email"));
        QCOMPARE(idsOf(store->items()), QStringList{"newer"});
        QCOMPARE(QGuiApplication::clipboard()->text(), QString("untouched"));

        service->failure = nullptr;
        const auto created =
            await(store->create(MaskedEmailDetails{"shop.example", "Shoes"}, "shop"));
        QVERIFY(created);
        QCOMPARE(created->forDomain, QString("https://shop.example"));
        // First though it carries no date: it is what the user just made.
        QCOMPARE(idsOf(store->items()), (QStringList{"me-new", "newer"}));
        QCOMPARE(QGuiApplication::clipboard()->text(), created->email);
        QCOMPARE(store->error(), QString());
    }

    void updateOfARecordThatLeftStillSucceeds()
    {
        store->setService(service);
        await(store->load());
        const MaskedEmail one = store->items().first();

        QVERIFY(await(store->update(one, MaskedEmailDetails{"Shop.example/x", " note "})));
        QCOMPARE(service->updatedIds, QStringList{"one"});
        QCOMPARE(store->items().first().forDomain, QString("https://shop.example"));
        QCOMPARE(store->items().first().description, QString("note"));

        // The deletion is answered first, so the record has left the list when the update returns.
        service->gate.closed = true;
        auto removal = store->setState(MaskedEmail::State::deleted, {"one"});
        auto pending = store->update(one, MaskedEmailDetails{"other.example", ""});
        QCOMPARE(store->items().size(), 2);
        service->gate.release();
        await(std::move(removal));
        QVERIFY(await(std::move(pending)));
        QCOMPARE(idsOf(store->items()), QStringList{"two"});

        service->failure = std::make_exception_ptr(JMAPError::method("notFound", ""));
        QVERIFY(!await(store->update(one, MaskedEmailDetails{"x.example", ""})));
        QCOMPARE(store->error(), QString("JMAP error: notFound"));
    }

    void setStateRemovesOnlyWhenDeleted()
    {
        service->records.append(record("three", MaskedEmail::State::pending));
        store->setService(service);
        await(store->load());

        await(store->setState(MaskedEmail::State::disabled, {"three", "one"}));
        QCOMPARE(service->stateChanges.last().second, (QStringList{"one", "three"}));
        QCOMPARE(idsOf(store->items()), (QStringList{"one", "two", "three"}));
        QCOMPARE(store->items().at(0).state, MaskedEmail::State::disabled);
        QCOMPARE(store->items().at(2).state, MaskedEmail::State::disabled);

        service->failure = std::make_exception_ptr(JMAPError::http(503, ""));
        await(store->setState(MaskedEmail::State::deleted, {"one"}));
        QCOMPARE(store->items().size(), 3);
        QCOMPARE(store->error(), QString("Fastmail returned HTTP 503. "));

        service->failure = nullptr;
        await(store->setState(MaskedEmail::State::deleted, {"one", "two"}));
        QCOMPARE(idsOf(store->items()), QStringList{"three"});
        QCOMPARE(store->error(), QString());

        const int calls = service->stateChanges.size();
        await(store->setState(MaskedEmail::State::enabled, {}));
        QCOMPARE(service->stateChanges.size(), calls);
    }

    void withoutServiceActsOnTheList()
    {
        MaskedEmail older = record("older");
        older.createdAt = QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC);
        MaskedEmail newer = record("newer");
        newer.createdAt = QDateTime(QDate(2025, 1, 1), QTime(0, 0), Qt::UTC);
        store->setItems({record("undated"), older, newer});
        QCOMPARE(idsOf(store->items()), (QStringList{"newer", "older", "undated"}));

        await(store->load());
        QVERIFY(!store->hasLoaded());

        const auto created = await(store->create(MaskedEmailDetails{"news.example", ""}, "News"));
        QVERIFY(created);
        QCOMPARE(store->items().first(), *created);
        QCOMPARE(QGuiApplication::clipboard()->text(), created->email);

        QVERIFY(await(store->update(newer, MaskedEmailDetails{"", "kept"})));
        QCOMPARE(store->items().at(1).description, QString("kept"));

        await(store->setState(MaskedEmail::State::disabled, {"older"}));
        QCOMPARE(store->items().at(2).state, MaskedEmail::State::disabled);
        await(store->setState(MaskedEmail::State::deleted, {"older", created->id}));
        QCOMPARE(idsOf(store->items()), (QStringList{"newer", "undated"}));
    }

    void demoAddressShape()
    {
        // A typed prefix is lower-cased, as the directory window test shows; without one it is
        // "masked".
        const QDateTime before = QDateTime::currentDateTimeUtc();
        const MaskedEmail made =
            MaskedEmailStore::demoAddress(MaskedEmailDetails{"HTTPS://Shop.example/", " x "}, "");
        QVERIFY2(QRegularExpression(R"(^masked\.\d{4}@example\.com$)").match(made.email).hasMatch(),
                 qPrintable(made.email));
        const int number = made.email.section('.', 1, 1).section('@', 0, 0).toInt();
        QVERIFY(number >= 1000 && number <= 9999);
        QVERIFY(!QUuid::fromString(made.id).isNull());
        QCOMPARE(made.state, MaskedEmail::State::enabled);
        QCOMPARE(made.forDomain, QString("https://shop.example"));
        QCOMPARE(made.description, QString("x"));
        QVERIFY(made.createdAt && *made.createdAt >= before.addSecs(-1));
        QCOMPARE(made.url, std::nullopt);
        QCOMPARE(made.lastMessageAt, std::nullopt);
    }

private:
    std::unique_ptr<MaskedEmailStore> store;
    std::shared_ptr<FakeMaskedEmailService> service;
};

QTEST_MAIN(TestMaskedEmailStore)
#include "tst_maskedemailstore.moc"
