#pragma once

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <QTest>
#include <QWidget>

// Helpers for the tests of windows.
namespace UiTest {

// A picture for a person to look at, where VELDRIN_SCREENSHOTS points. A sheet is a window of
// its own: it is drawn where it stands over the window.
inline void screenshot(QWidget* window, const QString& name, QWidget* sheet = nullptr)
{
    const QString directory = qEnvironmentVariable("VELDRIN_SCREENSHOTS");
    if (directory.isEmpty())
        return;
    QTest::qWait(300); // only for the picture: web views paint their bodies, toasts end a slide
    QDir().mkpath(directory);
    QPixmap picture = window->grab();
    if (sheet) {
        QPainter painter(&picture);
        painter.drawPixmap((picture.width() - sheet->width()) / 2, 60, sheet->grab());
    }
    QVERIFY(picture.save(QDir(directory).filePath(name + QStringLiteral(".png"))));
}

} // namespace UiTest

// The main of a test whose windows show mail: Chromium runs without sandbox and GPU, and the
// mail schemes exist before the application does.
#define VELDRIN_WEB_TEST_MAIN(TestClass)                                                           \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");                       \
        MailWebView::registerSchemes();                                                            \
        QApplication application(argc, argv);                                                      \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
