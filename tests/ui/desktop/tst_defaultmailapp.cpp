#include "ui/desktop/DefaultMailApp.h"
#include "ui/settings/DefaultMailAppSection.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

// The real xdg-mime, in a private desktop: its own XDG folders, our desktop file and another
// mail program's, and both programs on the PATH, since xdg-mime ignores entries whose program
// is missing.
class TestDefaultMailApp : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        if (QStandardPaths::findExecutable("xdg-mime").isEmpty())
            QSKIP("xdg-mime is not installed (xdg-utils)");
        originalPath = qEnvironmentVariable("PATH");
        // Outside any desktop session, so xdg-mime uses the freedesktop files only.
        for (const char* name : {"XDG_CURRENT_DESKTOP", "KDE_FULL_SESSION", "KDE_SESSION_VERSION",
                                 "GNOME_DESKTOP_SESSION_ID", "DESKTOP_SESSION", "XDG_MENU_PREFIX"})
            qunsetenv(name);
    }

    void init()
    {
        QDir(root.path()).removeRecursively();
        QDir().mkpath(root.path());
        qputenv("XDG_CONFIG_HOME", root.filePath("config").toUtf8());
        qputenv("XDG_CONFIG_DIRS", root.filePath("etc").toUtf8());
        qputenv("XDG_DATA_HOME", root.filePath("home").toUtf8());
        qputenv("XDG_DATA_DIRS", root.filePath("share").toUtf8());
        qputenv("PATH", (root.filePath("bin") + ':' + originalPath).toUtf8());
        QFile ours(QFINDTESTDATA("../../../data/veldrin.desktop"));
        QVERIFY(ours.open(QIODevice::ReadOnly));
        writeFile(root.filePath("share/applications/veldrin.desktop"), ours.readAll());
        writeFile(root.filePath("share/applications/org.example.Courier.desktop"),
                  "[Desktop Entry]\nType=Application\nName=Courier Mail\nName[de]=Kurier\n"
                  "Exec=courier %u\nMimeType=x-scheme-handler/mailto;\n"
                  "[Desktop Action compose]\nName=Compose\n");
        writeFile(root.filePath("config/mimeapps.list"),
                  "[Default Applications]\nx-scheme-handler/mailto=org.example.Courier.desktop\n");
        writeFile(root.filePath("bin/veldrin"), "#!/bin/sh\n", true);
        writeFile(root.filePath("bin/courier"), "#!/bin/sh\n", true);
    }

    void queryChangeAndRefusal()
    {
        DefaultMailAppSection section;
        DefaultMailApp* service = section.service();

        // Query: the other program, by the name its desktop file gives.
        section.show();
        QTRY_COMPARE(section.value()->text(), QString("Courier Mail"));
        QCOMPARE(service->defaultApp(), std::optional<QString>("org.example.Courier.desktop"));
        QVERIFY(section.makeDefaultButton()->isVisible());
        QVERIFY(!section.caption()->isVisible());

        // Refusal: the desktop cannot be asked at all (no xdg-mime on this PATH).
        service->program = root.filePath("bin/xdg-mime");
        QTest::mouseClick(section.makeDefaultButton(), Qt::LeftButton);
        QTRY_VERIFY(service->failed());
        QVERIFY(section.caption()->isVisible());
        QCOMPARE(section.caption()->text(),
                 QString("The desktop did not change the default email app."));
        if (const QString shots = qEnvironmentVariable("VELDRIN_SCREENSHOTS"); !shots.isEmpty()) {
            section.resize(480, section.sizeHint().height());
            section.grab().save(QDir(shots).filePath("settings-default-app-refused.png"));
        }

        // Change: the failure text goes with the next attempt that works, and the name shown is
        // what the desktop now says.
        service->program = QStringLiteral("xdg-mime");
        QTest::mouseClick(section.makeDefaultButton(), Qt::LeftButton);
        QTRY_VERIFY(service->isVeldrin());
        QVERIFY(!service->failed());
        QVERIFY(!section.caption()->isVisible());
        QCOMPARE(section.value()->text(), QString("Veldrin"));
        QVERIFY(!section.makeDefaultButton()->isVisible());
        QFile list(root.filePath("config/mimeapps.list"));
        QVERIFY(list.open(QIODevice::ReadOnly));
        QVERIFY(list.readAll().contains("x-scheme-handler/mailto=veldrin.desktop"));

        // A desktop that names nothing: "None".
        QFile::remove(root.filePath("config/mimeapps.list"));
        QFile::remove(root.filePath("share/applications/veldrin.desktop"));
        QFile::remove(root.filePath("share/applications/org.example.Courier.desktop"));
        section.hide();
        section.show();
        QTRY_COMPARE(section.value()->text(), QString("None"));
    }

    void nameFromDesktopFile_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("name");
        QTest::newRow("in the user's language") << "org.example.Courier.desktop"
                                                << "de_AT"
                                                << "Kurier";
        QTest::newRow("in a vendor folder") << "kde-letters.desktop"
                                            << "C"
                                            << "Letters";
        QTest::newRow("missing file") << "gone.desktop"
                                      << "C"
                                      << "";
    }

    void nameFromDesktopFile()
    {
        QFETCH(QString, id);
        QFETCH(QString, locale);
        QFETCH(QString, name);
        writeFile(root.filePath("home/applications/kde/letters.desktop"),
                  "[Desktop Entry]\nName=Letters\n");
        QLocale::setDefault(QLocale(locale));
        QCOMPARE(DefaultMailApp::desktopEntryName(id).value_or(QString()), name);
        QLocale::setDefault(QLocale::c());
    }

private:
    void writeFile(const QString& path, const QByteArray& content, bool executable = false);
    QTemporaryDir root;
    QString originalPath;
};

void TestDefaultMailApp::writeFile(const QString& path, const QByteArray& content, bool executable)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(content);
    file.close();
    if (executable)
        file.setPermissions(file.permissions() | QFile::ExeOwner);
}

QTEST_MAIN(TestDefaultMailApp)
#include "tst_defaultmailapp.moc"
