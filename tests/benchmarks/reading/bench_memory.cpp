#include "ReadingAccount.h"
#include "ui/desktop/Icons.h"
#include "ui/main/MainWindow.h"
#include "ui/reader/MessageView.h"
#include "ui/reader/ThreadDetailView.h"
#include "ui/web/MailWebView.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>
#include <unistd.h>

namespace {

struct Process
{
    qint64 pid = 0;
    qint64 parent = 0;
    QString name;
};

QList<Process> allProcesses()
{
    QList<Process> processes;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        bool number = false;
        const qint64 pid = entry.toLongLong(&number);
        if (!number)
            continue;
        QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
        if (!file.open(QIODevice::ReadOnly))
            continue; // gone meanwhile
        const QByteArray stat = file.readAll();
        // "pid (name) state ppid ...": the name may hold spaces and parentheses.
        const qsizetype open = stat.indexOf('(');
        const qsizetype close = stat.lastIndexOf(')');
        if (open < 0 || close < open)
            continue;
        const QList<QByteArray> fields = stat.mid(close + 2).split(' ');
        if (fields.size() < 2)
            continue;
        processes << Process{pid, fields.at(1).toLongLong(),
                             QString::fromUtf8(stat.mid(open + 1, close - open - 1))};
    }
    return processes;
}

// This process and all processes below it.
QList<Process> tree(qint64 root)
{
    const QList<Process> processes = allProcesses();
    QList<Process> found;
    for (const Process& process : processes)
        if (process.pid == root)
            found << process;
    for (qsizetype i = 0; i < found.size(); ++i)
        for (const Process& process : processes)
            if (process.parent == found.at(i).pid)
                found << process;
    return found;
}

// Proportional set size in kB: shared pages count a share for each process mapping them.
qint64 pssKilobytes(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(pid));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    // Files under /proc report no size, so read them whole rather than line by line.
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith("Pss:"))
            return line.simplified().split(' ').value(1).toLongLong();
    return 0;
}

// The web engine's role of a process, from its command line. Renderers are forked by the
// zygote and keep its command line, so a zygote's child is taken for a renderer.
QString role(const Process& process, const QList<Process>& others)
{
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(process.pid));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QString type = QStringLiteral("main");
    for (const QByteArray& argument : file.readAll().split('\0'))
        if (argument.startsWith("--type="))
            type = QString::fromUtf8(argument.mid(7));
    for (const Process& parent : others)
        if (parent.pid == process.parent && type == QLatin1String("zygote") &&
            parent.name == process.name && role(parent, {}) == type)
            return QStringLiteral("renderer");
    return type;
}

} // namespace

class BenchMemory : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }
    void listAndOpenConversation();
};

// The whole program as a reader leaves it: 200 conversations listed and one of ten messages
// open, three of them expanded and laid out by the web engine.
void BenchMemory::listAndOpenConversation()
{
    ReadingAccount account;
    auto state = account.makeState();
    MainWindow window(state.get());
    window.resize(1280, 800);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_COMPARE_WITH_TIMEOUT(state->threads().size(), 200, 20000);
    QTRY_COMPARE(state->activeFetches(), 0);
    state->setSelectedThreadIds({"long"});
    ThreadDetailView* reader = window.reader();
    QTRY_COMPARE(reader->messageViews().size(), 10);
    QList<MailWebView*> bodies;
    for (MessageView* message : reader->messageViews())
        if (message->webView())
            bodies << message->webView();
    QCOMPARE(bodies.size(), 3);
    QTRY_VERIFY_WITH_TIMEOUT(std::all_of(bodies.cbegin(), bodies.cend(),
                                         [](MailWebView* web) { return web->contentHeight() > 0; }),
                             60000);
    QTRY_COMPARE(state->activeFetches(), 0);

    qint64 total = 0;
    const QList<Process> processes = tree(getpid());
    for (const Process& process : processes) {
        const qint64 pss = pssKilobytes(process.pid);
        total += pss;
        qInfo("%8lld kB  %lld %s (%s)", pss, process.pid, qPrintable(process.name),
              qPrintable(role(process, processes)));
    }
    qInfo("PSS of the process tree: %.1f MB", total / 1024.0);
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QTWEBENGINE_CHROMIUM_FLAGS"))
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--no-sandbox --disable-gpu");
    MailWebView::registerSchemes();
    QApplication app(argc, argv);
    BenchMemory bench;
    return QTest::qExec(&bench, argc, argv);
}

#include "bench_memory.moc"
