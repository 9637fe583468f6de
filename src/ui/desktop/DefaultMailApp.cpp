#include "DefaultMailApp.h"

#include <QCoroProcess>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLocale>
#include <QPointer>
#include <QProcess>
#include <QStandardPaths>

namespace {

constexpr auto mailtoType = "x-scheme-handler/mailto";

// Built outside the coroutines: GCC 12 cannot keep string literals in a coroutine frame.
QStringList queryArguments()
{
    return {QStringLiteral("query"), QStringLiteral("default"), QString::fromLatin1(mailtoType)};
}

QStringList changeArguments()
{
    return {QStringLiteral("default"), QString::fromLatin1(DefaultMailApp::veldrinDesktopId),
            QString::fromLatin1(mailtoType)};
}

// The answer is one desktop file id; anything else means there is none we can name.
std::optional<QString> desktopId(const std::optional<QByteArray>& output)
{
    const QString id = output ? QString::fromUtf8(*output).trimmed() : QString();
    if (id.isEmpty() || id.contains(u'\n') || id.contains(u'/') || !id.endsWith(u".desktop"))
        return std::nullopt;
    return id;
}

// Runs the program to its end; the standard output on a zero exit, absent otherwise.
QCoro::Task<std::optional<QByteArray>> run(QString program, QStringList arguments,
                                           std::chrono::milliseconds timeout)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.setStandardInputFile(QProcess::nullDevice());
    // A missing program is found out here: a start that fails is not reported at once.
    const QString path = QStandardPaths::findExecutable(program);
    if (path.isEmpty())
        co_return std::nullopt;
    auto coro = qCoro(process);
    if (!co_await coro.start(path, arguments))
        co_return std::nullopt;
    if (!co_await coro.waitForFinished(timeout)) {
        process.kill();
        process.waitForFinished(1000);
        co_return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        co_return std::nullopt;
    co_return process.readAllStandardOutput();
}

// The Name= entries of the [Desktop Entry] group, by their locale ("" for the plain one).
QHash<QString, QString> names(const QString& path)
{
    QHash<QString, QString> result;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return result;
    bool inEntry = false;
    // A desktop file is a few kilobytes; stop reading at a sane size.
    for (int lines = 0; !file.atEnd() && lines < 5000; ++lines) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[')) {
            inEntry = line == u"[Desktop Entry]";
            continue;
        }
        if (!inEntry || !line.startsWith(u"Name"))
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0)
            continue;
        const QString key = line.left(equals).trimmed();
        QString locale;
        if (key != u"Name") {
            if (!key.startsWith(u"Name[") || !key.endsWith(u']'))
                continue;
            locale = key.mid(5, key.size() - 6);
        }
        result.insert(locale, line.mid(equals + 1).trimmed());
    }
    return result;
}

} // namespace

DefaultMailApp::DefaultMailApp(QObject* parent) : QObject(parent) {}

QString DefaultMailApp::displayName() const
{
    if (!m_defaultApp)
        return {};
    return m_name.isEmpty() ? *m_defaultApp : m_name;
}

bool DefaultMailApp::isVeldrin() const
{
    return m_defaultApp == QString::fromLatin1(veldrinDesktopId);
}

void DefaultMailApp::setDefaultApp(const std::optional<QString>& app)
{
    m_defaultApp = app;
    m_name = app ? desktopEntryName(*app).value_or(QString()) : QString();
    Q_EMIT changed();
}

QCoro::Task<> DefaultMailApp::readDefault()
{
    QPointer<DefaultMailApp> self = this;
    const auto output = co_await run(program, queryArguments(), std::chrono::seconds(30));
    if (self)
        self->setDefaultApp(desktopId(output));
}

QCoro::Task<> DefaultMailApp::makeDefault()
{
    QPointer<DefaultMailApp> self = this;
    m_changing = true;
    Q_EMIT changed();
    const auto output = co_await run(program, changeArguments(), changeTimeout);
    if (!self)
        co_return;
    self->m_failed = !output;
    self->m_changing = false;
    Q_EMIT self->changed();
    // What the desktop now says, not what was asked for.
    co_await self->readDefault();
}

QStringList DefaultMailApp::applicationDirs()
{
    QStringList roots;
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    roots.append(dataHome.isEmpty() ? QDir::homePath() + QStringLiteral("/.local/share")
                                    : dataHome);
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty())
        dataDirs = QStringLiteral("/usr/local/share:/usr/share");
    roots.append(dataDirs.split(u':', Qt::SkipEmptyParts));
    QStringList result;
    for (const QString& root : roots)
        result.append(QDir(root).filePath(QStringLiteral("applications")));
    return result;
}

std::optional<QString> DefaultMailApp::desktopEntryName(const QString& desktopId)
{
    for (const QString& dir : applicationDirs()) {
        // An id names a file directly under applications/, or one in a subfolder with the
        // folder names joined by "-" ("kde-kmail2.desktop" for kde/kmail2.desktop).
        QString path;
        if (QFile::exists(QDir(dir).filePath(desktopId))) {
            path = QDir(dir).filePath(desktopId);
        } else {
            QDirIterator it(dir, {QStringLiteral("*.desktop")}, QDir::Files,
                            QDirIterator::Subdirectories);
            while (it.hasNext()) {
                const QString candidate = it.next();
                if (QDir(dir).relativeFilePath(candidate).replace(u'/', u'-') == desktopId) {
                    path = candidate;
                    break;
                }
            }
        }
        if (path.isEmpty())
            continue;
        const QHash<QString, QString> found = names(path);
        const QLocale locale;
        const QString full = locale.name();
        const QString language = full.section(u'_', 0, 0);
        for (const QString& key : {full, language, QString()})
            if (!found.value(key).isEmpty())
                return found.value(key);
        return std::nullopt;
    }
    return std::nullopt;
}
