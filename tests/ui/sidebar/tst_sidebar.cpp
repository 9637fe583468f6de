#include "UiTest.h"
#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"
#include "ui/main/ErrorBar.h"
#include "ui/main/MailboxDelegate.h"
#include "ui/main/MailboxListModel.h"
#include "ui/main/MainWindow.h"
#include "ui/main/SidebarView.h"
#include "ui/settings/SettingsWindow.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using UiTest::screenshot;

namespace {

QStringList names(QAccessibleInterface* parent)
{
    QStringList result;
    for (int i = 0; i < parent->childCount(); ++i)
        result << parent->child(i)->text(QAccessible::Name);
    return result;
}

// How deep an item sits in the tree it belongs to: 1 for a top-level item.
int level(QAccessibleInterface* item)
{
    int depth = 0;
    for (QAccessibleInterface* up = item; up && up->role() == QAccessible::TreeItem;
         up = up->parent())
        ++depth;
    return depth;
}

// Every control on show whose accessible name is empty, as "role at path".
void collectUnnamed(QAccessibleInterface* node, const QString& path, QStringList& unnamed)
{
    static const QSet<QAccessible::Role> controls = {
        QAccessible::PushButton,  QAccessible::ButtonMenu, QAccessible::CheckBox,
        QAccessible::RadioButton, QAccessible::ComboBox,   QAccessible::EditableText,
        QAccessible::ProgressBar, QAccessible::Graphic,    QAccessible::Tree,
        QAccessible::TreeItem,    QAccessible::List,       QAccessible::ListItem,
        QAccessible::PageTab,     QAccessible::SpinBox,    QAccessible::Slider};
    if (node->state().invisible)
        return;
    if (controls.contains(node->role()) && node->text(QAccessible::Name).trimmed().isEmpty())
        unnamed << QStringLiteral("%1 at %2").arg(int(node->role()), 0, 16).arg(path);
    for (int i = 0; i < node->childCount(); ++i)
        if (QAccessibleInterface* child = node->child(i))
            collectUnnamed(child, path + QLatin1Char('/') + QString::number(i), unnamed);
}

} // namespace

class TestSidebar : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void rowTexts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<qint64>("unread");
        QTest::addColumn<qint64>("total");
        QTest::addColumn<bool>("showTotal");
        QTest::addColumn<QString>("spoken");
        QTest::addColumn<QString>("toolTip");
        QTest::addColumn<QString>("badge");
        QTest::newRow("unread") << "Inbox" << qint64(2) << qint64(4) << false << "Inbox, 2 unread"
                                << "Inbox: 4 conversations, 2 unread"
                                << "2";
        QTest::newRow("nothing unread") << "Sent" << qint64(0) << qint64(9) << false << "Sent"
                                        << "Sent: 9 conversations, 0 unread"
                                        << "";
        QTest::newRow("count on show")
            << "Projects" << qint64(1) << qint64(8) << true << "Projects, 1 unread, 8 conversations"
            << "Projects: 8 conversations, 1 unread"
            << "1 / 8";
        QTest::newRow("count on show, nothing unread")
            << "Sent" << qint64(0) << qint64(9) << true << "Sent, 9 conversations"
            << "Sent: 9 conversations, 0 unread"
            << "9";
        QTest::newRow("count on show of an empty mailbox")
            << "Trash" << qint64(0) << qint64(0) << true << "Trash"
            << "Trash: 0 conversations, 0 unread"
            << "";
        QTest::newRow("placeholder in the name")
            << "A%2 %1" << qint64(2) << qint64(4) << false << "A%2 %1, 2 unread"
            << "A%2 %1: 4 conversations, 2 unread"
            << "2";
    }

    void rowTexts()
    {
        QFETCH(QString, name);
        QFETCH(qint64, unread);
        QFETCH(qint64, total);
        QFETCH(bool, showTotal);
        auto state = makeDemoState();
        Mailbox mailbox;
        mailbox.id = "m";
        mailbox.name = name;
        mailbox.unreadThreads = unread;
        mailbox.totalThreads = total;
        state->setMailboxes({mailbox});
        AppConfig config = state->config();
        if (showTotal)
            config.showTotalCount = {"m"};
        state->setConfig(config);
        MailboxListModel model(state.get());
        QTEST(model.index(0).data(Qt::AccessibleTextRole).toString(), "spoken");
        QTEST(model.index(0).data(Qt::ToolTipRole).toString(), "toolTip");
        QTEST(model.index(0).data(MailboxListModel::BadgeRole).toString(), "badge");
    }

    void screenReaderMeetsAFolderTree()
    {
        auto state = makeDemoState();
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        Mailbox beds;
        beds.id = "beds";
        beds.name = "Raised beds";
        beds.parentId = "garden";
        state->setMailboxes(QList<Mailbox>(state->mailboxes()) << beds);

        MailboxListView* list = window.sidebar()->list();
        QAccessibleInterface* tree = QAccessible::queryAccessibleInterface(list);
        QCOMPARE(tree->role(), QAccessible::Tree);
        QCOMPARE(tree->text(QAccessible::Name), QString("Mailboxes"));
        QCOMPARE(names(tree),
                 QStringList({"Inbox, 4 unread", "Drafts", "Sent", "Archive", "Spam, 14 unread",
                              "Trash", "Projects, 2 unread", "Receipts", "Travel"}));
        QAccessibleInterface* projects = tree->child(6);
        QCOMPARE(projects->role(), QAccessible::TreeItem);
        QCOMPARE(level(projects), 1);
        QVERIFY(projects->state().expandable && projects->state().expanded);
        QVERIFY(!tree->child(0)->state().expandable);
        QCOMPARE(names(projects),
                 QStringList({"Community garden, 1 unread", "Renovation, 1 unread"}));
        QAccessibleInterface* garden = projects->child(0);
        QCOMPARE(garden->parent(), projects);
        QCOMPARE(level(garden), 2);
        QCOMPARE(level(garden->child(0)), 3);
        QCOMPARE(garden->child(0)->text(QAccessible::Name), QString("Raised beds"));
        // What the mouse finds at a row is what the tree holds there.
        const QPoint gardenCentre = garden->rect().center();
        QCOMPARE(tree->childAt(gardenCentre.x(), gardenCentre.y()), projects);
        QCOMPARE(projects->childAt(gardenCentre.x(), gardenCentre.y()), garden);

        // The keyboard opens and closes folders, and walks between a folder and its subfolders.
        list->setFocus();
        list->setCurrentIndex(window.sidebar()->model()->index(6));
        QVERIFY(projects->state().focused);
        QCOMPARE(tree->focusChild(), projects);
        const auto toggleName = [projects] {
            return projects->actionInterface()->localizedActionName(
                QAccessibleActionInterface::toggleAction());
        };
        QCOMPARE(toggleName(), QString("Collapse Projects"));
        QTest::keyClick(list, Qt::Key_Left);
        QVERIFY(projects->state().collapsed && !projects->state().expanded);
        QCOMPARE(projects->childCount(), 0);
        QCOMPARE(state->config().collapsedMailboxes, QStringList{"projects"});
        QCOMPARE(toggleName(), QString("Expand Projects"));
        QTest::keyClick(list, Qt::Key_Plus);
        QVERIFY(projects->state().expanded);
        QTest::keyClick(list, Qt::Key_Minus);
        QVERIFY(projects->state().collapsed);
        QTest::keyClick(list, Qt::Key_Right);
        QVERIFY(projects->state().expanded);
        QTest::keyClick(list, Qt::Key_Right); // into the first subfolder
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("garden"));
        QVERIFY(garden->state().focused && garden->state().selected);
        QCOMPARE(tree->focusChild(), garden);
        QTest::keyClick(list, Qt::Key_Right);
        QTest::keyClick(list, Qt::Key_Right);
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("beds"));
        QTest::keyClick(list, Qt::Key_Left); // a mailbox without subfolders goes up to its folder
        QTest::keyClick(list, Qt::Key_Left); // an open folder closes
        QTest::keyClick(list, Qt::Key_Left); // and then goes up too
        QCOMPARE(state->selectedMailboxId(), std::optional<QString>("projects"));
        QCOMPARE(state->config().collapsedMailboxes, QStringList{"garden"});

        QTest::keyClick(list, Qt::Key_Down);
        QTRY_VERIFY(list->visualRect(window.sidebar()->model()->index(0)).isValid());
        screenshot(&window, "sidebar-demo");

        // The action and a click on the triangle do what the keys do.
        projects->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QVERIFY(projects->state().collapsed);
        const QRect row = list->visualRect(window.sidebar()->model()->index(6));
        QTest::mouseClick(
            list->viewport(), Qt::LeftButton, {},
            QPoint(row.left() + 2 + MailboxDelegate::disclosureWidth / 2, row.center().y()));
        QVERIFY(projects->state().expanded);
    }

    void everyControlHasAName()
    {
        auto state = makeDemoState();
        MainWindow window(state.get());
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        state->setErrorMessage(QString("The server is unreachable."));
        window.showSettings();
        QVERIFY(QTest::qWaitForWindowExposed(window.settingsWindow()));

        QStringList unnamed;
        for (QWidget* part :
             {static_cast<QWidget*>(window.sidebar()), static_cast<QWidget*>(window.errorBar()),
              static_cast<QWidget*>(window.settingsWindow())})
            collectUnnamed(QAccessible::queryAccessibleInterface(part), part->objectName(),
                           unnamed);
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(", ")));

        // The error bar is an alert that says its message.
        QAccessibleInterface* bar = QAccessible::queryAccessibleInterface(window.errorBar());
        QCOMPARE(bar->role(), QAccessible::AlertMessage);
        QCOMPARE(bar->text(QAccessible::Name), QString("The server is unreachable."));

        // The compose button shows only an icon: its name is the action, its help adds the key.
        QAccessibleInterface* compose =
            QAccessible::queryAccessibleInterface(window.findChild<QToolButton*>("composeButton"));
        QCOMPARE(compose->text(QAccessible::Name), QString("New Message"));
        QCOMPARE(compose->text(QAccessible::Description), QString("New Message   C"));
    }

private:
    std::unique_ptr<AppState> makeDemoState();
    QTemporaryDir home;
};

std::unique_ptr<AppState> TestSidebar::makeDemoState()
{
    AppEnvironment environment;
    environment.demo = true;
    environment.configStore =
        ConfigStore(home.filePath(QString::fromLatin1(QTest::currentTestFunction()) + ".json"));
    environment.readToken = [] { return std::optional<QString>(); };
    environment.saveToken = [](const QString&) { return false; };
    return std::make_unique<AppState>(environment);
}

QTEST_MAIN(TestSidebar)
#include "tst_sidebar.moc"
