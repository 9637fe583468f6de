#include "AppTestEnvironment.h"
#include "app/demo/DemoData.h"
#include "app/demo/DemoScene.h"
#include "app/state/AppState.h"

#include <QTemporaryDir>
#include <QTest>

using DemoScene::Scene;
using namespace std::chrono_literals;

namespace {

// What a scene sets up and changes, as a viewer of the main window would notice.
struct Shot
{
    QStringList threadIds;
    bool groupByDate = true;
    bool showAvatars = true;
    QSet<QString> selected;
    bool isOpen = false;
    bool showsShortcuts = false;

    bool operator==(const Shot&) const = default;
};

Shot shot(const AppState& state)
{
    Shot result;
    for (const MailThread& thread : state.threads())
        result.threadIds.append(thread.id);
    result.groupByDate = state.config().groupByDate;
    result.showAvatars = state.config().showAvatars;
    result.selected = state.selectedThreadIds();
    result.isOpen = !state.openEmails().isEmpty();
    result.showsShortcuts = state.showsShortcuts();
    return result;
}

char* toString(const Shot& shot)
{
    return qstrdup(QString("threads %1, group %2, avatars %3, selected %4, open %5, overlay %6")
                       .arg(shot.threadIds.join(','))
                       .arg(shot.groupByDate)
                       .arg(shot.showAvatars)
                       .arg(QStringList(shot.selected.begin(), shot.selected.end()).join(','))
                       .arg(shot.isOpen)
                       .arg(shot.showsShortcuts)
                       .toUtf8());
}

} // namespace

class TestDemoScenes : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void scenesStartThenChange_data()
    {
        QTest::addColumn<QString>("name");
        // A change to the plain filled state, in words the test understands.
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("after");
        QTest::newRow("unknown scene") << "beach"
                                       << ""
                                       << "";
        QTest::newRow("load") << "load"
                              << "empty"
                              << "";
        QTest::newRow("loadflat") << "loadflat"
                                  << "empty flat"
                                  << "flat";
        QTest::newRow("insertone") << "insertone"
                                   << "without first"
                                   << "";
        QTest::newRow("remove") << "remove"
                                << ""
                                << "without first";
        QTest::newRow("toggle") << "toggle"
                                << ""
                                << "flat";
        QTest::newRow("avatar") << "avatar"
                                << ""
                                << "no avatars";
        QTest::newRow("open") << "open"
                              << "open"
                              << "open";
        QTest::newRow("shortcuts") << "shortcuts"
                                   << "overlay"
                                   << "overlay";
    }

    void scenesStartThenChange()
    {
        QFETCH(QString, name);
        QFETCH(QString, start);
        QFETCH(QString, after);
        const Shot plain = shot(*stage(Scene::none));
        QVERIFY(plain.threadIds.size() > 2);
        const auto expected = [&plain](const QString& words) {
            Shot result = plain;
            if (words.contains("empty"))
                result.threadIds.clear();
            if (words.contains("without first"))
                result.threadIds.removeFirst();
            if (words.contains("flat"))
                result.groupByDate = false;
            if (words.contains("no avatars"))
                result.showAvatars = false;
            if (words.contains("open")) {
                result.selected = {plain.threadIds.first()};
                result.isOpen = true;
            }
            result.showsShortcuts = words.contains("overlay");
            return result;
        };

        auto state = stage(DemoScene::fromName(name));
        QCOMPARE(shot(*state), expected(start));
        QTRY_COMPARE(shot(*state), expected(after));
        // In memory only: the settings file is not written by a scene.
        QCOMPARE(state->configStore().load().groupByDate, AppConfig().groupByDate);
        QCOMPARE(state->configStore().load().showAvatars, AppConfig().showAvatars);
    }

    void delayFromText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("milliseconds");
        QTest::newRow("absent") << QString() << qint64(1500);
        QTest::newRow("zero") << "0" << qint64(0);
        QTest::newRow("decimal") << " 2.25 " << qint64(2250);
        QTest::newRow("no number") << "soon" << qint64(1500);
        QTest::newRow("not finite") << "inf" << qint64(1500);
        QTest::newRow("negative") << "-3" << qint64(0);
        QTest::newRow("beyond an hour") << "1e12" << qint64(3600000);
    }

    void delayFromText()
    {
        QFETCH(QString, text);
        QFETCH(qint64, milliseconds);
        QCOMPARE(qint64(DemoScene::delay(text).count()), milliseconds);
    }

    void environmentNamesScene()
    {
        // Presence decides demo mode, not the value.
        qputenv("VELDRIN_DEMO", "");
        QVERIFY(DemoData::isDemo());
        QCOMPARE(DemoScene::fromEnvironment(), Scene::none);
        qputenv("VELDRIN_DEMO", "toggle");
        qputenv("VELDRIN_DEMO_DELAY", "0.5");
        QCOMPARE(DemoScene::fromEnvironment(), Scene::toggle);
        QCOMPARE(DemoScene::delayFromEnvironment(), 500ms);
        qunsetenv("VELDRIN_DEMO");
        qunsetenv("VELDRIN_DEMO_DELAY");
        QVERIFY(!DemoData::isDemo());
        QCOMPARE(DemoScene::delayFromEnvironment(), 1500ms);
    }

private:
    std::unique_ptr<AppState> stage(Scene scene);
    QTemporaryDir home;
    MemorySecretStore keychain;
};

std::unique_ptr<AppState> TestDemoScenes::stage(Scene scene)
{
    AppEnvironment environment = testEnvironment(nullptr, home.filePath("config.json"), keychain);
    environment.demo = true;
    environment.demoScene = scene;
    environment.demoDelay = 0ms;
    auto state = std::make_unique<AppState>(std::move(environment));
    state->start([](QUuid) {});
    return state;
}

QTEST_GUILESS_MAIN(TestDemoScenes)
#include "tst_demoscenes.moc"
