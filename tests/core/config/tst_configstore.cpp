#include "Fixtures.h"
#include "config/ConfigStore.h"
#include "jmap/Errors.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <limits>

using Edit = std::function<void(AppConfig&)>;
Q_DECLARE_METATYPE(Edit)

namespace {

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(data) == data.size();
}

// Every key set away from its default.
AppConfig everythingChanged()
{
    AppConfig config;
    config.sessionUrl = "https://jmap.example.org/.well-known/jmap";
    config.pageSize = 20;
    config.refreshIntervalSeconds = 5;
    config.loadRemoteImages = true;
    config.markReadOnOpen = false;
    config.markdownByDefault = false;
    config.markdownHardBreaks = false;
    config.groupByDate = true;
    config.showAvatars = false;
    config.showDockBadge = false;
    config.notifyNewMail = false;
    config.undoSendSeconds = 0;
    config.hideWhenEmpty = {"m1", "m2"};
    config.spamMailboxId = "m9";
    config.showTotalCount = {"m3"};
    config.collapsedMailboxes = {"m4"};
    config.mailboxOrder = {"m2", "m1"};
    config.keybindings.insert("archive", "y");
    config.keybindings.insert("spam", "");
    config.keybindings.insert("snooze", "z");
    return config;
}

} // namespace

class TestConfigStore : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void load_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<Edit>("edit");     // applied to the defaults to give the expected record
        QTest::addColumn<QString>("error"); // non-empty: the load fails with this text

        const Edit none = [](AppConfig&) {};
        QTest::newRow("empty object is all defaults") << QByteArray("{}") << none << "";
        QTest::newRow("null keeps the default")
            << QByteArray(R"({"pageSize": null, "sessionUrl": null, "markReadOnOpen": null,
                          "hideWhenEmpty": null, "spamMailboxId": null, "keybindings": null})")
            << none << "";
        QTest::newRow("unknown keys are ignored")
            << QByteArray(R"({"theme": "dark", "pageSize": 20})")
            << Edit([](AppConfig& c) { c.pageSize = 20; }) << "";
        QTest::newRow("only some keys")
            << QByteArray(R"({"groupByDate": true, "mailboxOrder": ["b", "a"]})")
            << Edit([](AppConfig& c) {
                   c.groupByDate = true;
                   c.mailboxOrder = {"b", "a"};
               })
            << "";
        QTest::newRow("whole number with a fraction part")
            << QByteArray(R"({"undoSendSeconds": 5.0})")
            << Edit([](AppConfig& c) { c.undoSendSeconds = 5; }) << "";
        QTest::newRow("one binding overlays the defaults")
            << QByteArray(R"({"keybindings": {"archive": "z"}})")
            << Edit([](AppConfig& c) { c.keybindings["archive"] = "z"; }) << "";
        QTest::newRow("stored empty binding stays unbound")
            << QByteArray(R"({"keybindings": {"archive": ""}})")
            << Edit([](AppConfig& c) { c.keybindings["archive"] = ""; }) << "";
        QTest::newRow("binding of an unknown action is kept")
            << QByteArray(R"({"keybindings": {"snooze": "z"}})")
            << Edit([](AppConfig& c) { c.keybindings.insert("snooze", "z"); }) << "";

        QTest::newRow("string for an integer fails the whole file")
            << QByteArray(R"({"pageSize": "50", "groupByDate": true})") << none
            << "The value of \"pageSize\" is not an integer";
        QTest::newRow("fraction for an integer")
            << QByteArray(R"({"refreshIntervalSeconds": 1.5})") << none
            << "The value of \"refreshIntervalSeconds\" is not an integer";
        QTest::newRow("integers beyond 32 bits are read as they stand")
            << QByteArray(R"({"pageSize": 5000000000, "undoSendSeconds": 1e12,
                          "refreshIntervalSeconds": -9223372036854775808, "groupByDate": true})")
            << Edit([](AppConfig& c) {
                   c.pageSize = 5000000000;
                   c.undoSendSeconds = 1000000000000;
                   c.refreshIntervalSeconds = std::numeric_limits<qint64>::min();
                   c.groupByDate = true;
               })
            << "";
        QTest::newRow("integer beyond 64 bits")
            << QByteArray(R"({"undoSendSeconds": 1e19})") << none
            << "The value of \"undoSendSeconds\" is not an integer";
        QTest::newRow("number for a boolean") << QByteArray(R"({"markReadOnOpen": 1})") << none
                                              << "The value of \"markReadOnOpen\" is not a boolean";
        QTest::newRow("number for a url") << QByteArray(R"({"sessionUrl": 1})") << none
                                          << "The value of \"sessionUrl\" is not a string";
        QTest::newRow("number in a list")
            << QByteArray(R"({"hideWhenEmpty": ["m1", 2]})") << none
            << "The value of \"hideWhenEmpty\" is not an array of strings";
        QTest::newRow("list for the bindings") << QByteArray(R"({"keybindings": ["e"]})") << none
                                               << "The value of \"keybindings\" is not an object";
        QTest::newRow("number for a binding")
            << QByteArray(R"({"keybindings": {"archive": 5}})") << none
            << "The value of \"keybindings\" is not a string";
        QTest::newRow("trailing comma")
            << QByteArray(R"({"pageSize": 50,})") << none
            << "The file is not valid JSON (object is missing after a comma at offset 17)";
        QTest::newRow("list at the top")
            << QByteArray("[]") << none << "The file does not hold a JSON object";
    }

    void load()
    {
        QFETCH(QByteArray, file);
        QFETCH(Edit, edit);
        QFETCH(QString, error);
        QVERIFY(writeFile(path(), file));
        const ConfigStore store(path());
        try {
            const AppConfig loaded = store.load();
            QVERIFY2(error.isEmpty(), "the load should have failed");
            AppConfig expected;
            edit(expected);
            QCOMPARE(QJsonDocument(loaded.toJson()).toJson(),
                     QJsonDocument(expected.toJson()).toJson());
            QVERIFY(loaded == expected);
        } catch (const Error& thrown) {
            QCOMPARE(thrown.description(), error);
        }
    }

    void loadingLeavesTheFileAsItIs_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::newRow("some keys") << QByteArray("{\"pageSize\":20}");
        QTest::newRow("bad file") << QByteArray("{\"pageSize\": \"50\"}");
    }

    void loadingLeavesTheFileAsItIs()
    {
        QFETCH(QByteArray, file);
        QVERIFY(writeFile(path(), file));
        try {
            ConfigStore(path()).load();
        } catch (const Error&) {
        }
        QCOMPARE(readFile(path()), file);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList{"config.json"});
    }

    void firstLoadWritesDefaultsAndFolders()
    {
        const QString nested = path(".config/veldrin/config.json");
        const AppConfig loaded = ConfigStore(nested).load();
        QVERIFY(loaded == AppConfig());
        const QByteArray written = readFile(nested);
        QCOMPARE(written, readFile(Fixtures::path("config/defaults.json")));
        // Loading it again gives the same record and does not touch the file.
        QVERIFY(ConfigStore(nested).load() == AppConfig());
        QCOMPARE(readFile(nested), written);
    }

    void unusablePathsFail()
    {
        // A file where the folder should be: the defaults cannot be written.
        QVERIFY(writeFile(path("blocker"), "x"));
        try {
            ConfigStore(path("blocker/veldrin/config.json")).load();
            QFAIL("the load should fail when the first save fails");
        } catch (const Error& error) {
            QCOMPARE(error.description(),
                     QStringLiteral("The folder %1 could not be created")
                         .arg(QDir::toNativeSeparators(path("blocker/veldrin"))));
        }
        QCOMPARE(readFile(path("blocker")), QByteArray("x"));

        // A folder where the file should be can be neither read nor written.
        QVERIFY(QDir(m_dir->path()).mkdir("folder.json"));
        QVERIFY_THROWS_EXCEPTION(Error, ConfigStore(path("folder.json")).load());
        QVERIFY_THROWS_EXCEPTION(Error, ConfigStore(path("folder.json")).save(AppConfig()));
    }

    void savedFileIsByteStable()
    {
        const ConfigStore store(path());
        store.save(everythingChanged());
        const QByteArray first = readFile(path());
        QCOMPARE(first, readFile(Fixtures::path("config/everything.json")));
        QVERIFY(store.load() == everythingChanged());
        store.save(store.load());
        QCOMPARE(readFile(path()), first);
    }

    void saveReplacesTheFileWhole()
    {
        // A reader that opened the old file keeps reading all of the old file: the new content
        // arrives under the name in one step, never written into the old file in place.
        const ConfigStore store(path());
        store.save(AppConfig());
        const QByteArray before = readFile(path());
        QFile reader(path());
        QVERIFY(reader.open(QIODevice::ReadOnly));

        store.save(everythingChanged());
        QCOMPARE(reader.readAll(), before);
        QCOMPARE(readFile(path()), readFile(Fixtures::path("config/everything.json")));
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList{"config.json"});
    }

    void defaultPathIsInTheHomeFolder()
    {
        QCOMPARE(ConfigStore().path(), QDir::homePath() + "/.config/veldrin/config.json");
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString path(const QString& relative = QStringLiteral("config.json")) const
    {
        return m_dir->filePath(relative);
    }
};

QTEST_GUILESS_MAIN(TestConfigStore)
#include "tst_configstore.moc"
