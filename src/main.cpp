#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/desktop/Rendering.h"
#include "ui/desktop/SingleInstance.h"
#include "ui/desktop/Updater.h"
#include "ui/main/KeyMonitor.h"
#include "ui/main/MainWindow.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QNetworkAccessManager>

int main(int argc, char** argv)
{
    // The web engine learns our URL schemes, and its renderer, before the application exists.
    MailWebView::registerSchemes();
    Rendering::chooseForThisMachine();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Veldrin"));
    QApplication::setApplicationDisplayName(QStringLiteral("Veldrin"));
    QApplication::setOrganizationDomain(QStringLiteral("tolvik.com"));
    QApplication::setDesktopFileName(QStringLiteral("veldrin"));
    Icons::useFallbackTheme();

    // One instance per user: a second launch hands its arguments over and ends.
    SingleInstance instance(QStringLiteral("veldrin"));
    if (!instance.claim()) {
        instance.handOver(QApplication::arguments().mid(1));
        return 0;
    }

    QNetworkAccessManager network;
    AppEnvironment environment = AppEnvironment::standard(&network);
    AppState* started = nullptr;
    environment.installKeyMonitor = [&started] { KeyMonitor::install(started); };
    AppState state(std::move(environment));
    started = &state;
    // Only builds that name an update feed have an updater.
    const std::unique_ptr<Updater> updater = Updater::standard(&network);
    MainWindow window(&state);
    if (updater)
        window.setUpdater(updater.get());
    // mailto: links come as arguments, ours at start and a second launch's through the socket.
    const auto links = [](const QStringList& arguments) {
        QList<QUrl> urls;
        for (const QString& argument : arguments)
            urls.append(QUrl(argument));
        return urls;
    };
    state.open(links(QApplication::arguments().mid(1)));
    QObject::connect(&instance, &SingleInstance::received, &window,
                     [&window, &state, links](const QStringList& arguments) {
                         window.showNormal();
                         window.raise();
                         window.activateWindow();
                         state.open(links(arguments));
                     });
    window.show();
    return QApplication::exec();
}
