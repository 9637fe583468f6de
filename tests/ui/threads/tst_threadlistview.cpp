#include "StateFixture.h"
#include "app/state/AppState.h"
#include "ui/main/SyncFooter.h"
#include "ui/threads/EmptyState.h"
#include "ui/threads/MailSearchField.h"
#include "ui/threads/ThreadListModel.h"
#include "ui/threads/ThreadListView.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QListView>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

using Kind = ThreadListModel::Kind;

namespace {

const QDateTime now = QDateTime::currentDateTime();

// The kinds and texts of the rows, for comparing whole lists at once.
QStringList rowTexts(const QAbstractItemModel& model)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        const auto kind = index.data(ThreadListModel::KindRole).value<Kind>();
        texts << (kind == Kind::Thread ? index.data(ThreadListModel::IdRole).toString()
                                       : "[" + index.data().toString() + "]");
    }
    return texts;
}

void clickRow(QListView* list, int row)
{
    const QRect rect = list->visualRect(list->model()->index(row, 0));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, rect.center());
}

} // namespace

class TestThreadList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { f = std::make_unique<StateFixture>(); }

    void refreshesChangeRowsInPlace()
    {
        for (int i = 1; i <= 30; ++i)
            f->server.add(FakeMailServer::thread(QStringLiteral("T%1").arg(i), "Anna Berg",
                                                 QStringLiteral("Subject %1").arg(i),
                                                 now.addSecs(-600 * i), i == 3 ? 2 : 1, i != 3));
        auto state = connectedState();
        ThreadListView view(state.get());
        QObject::connect(state.get(), &AppState::selectedThreadIdsChanged, state.get(),
                         &AppState::threadSelectionChanged);
        QAbstractItemModelTester tester(view.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy resets(view.model(), &QAbstractItemModel::modelReset);
        view.resize(356, 400);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        SyncFooter footer(state.get());
        state->start([](QUuid) {});
        QTRY_COMPARE(view.model()->rowCount(), 30);
        QCOMPARE(rowTexts(*view.model()).mid(0, 3), QStringList({"T1", "T2", "T3"}));

        // An unread thread of two says so to assistive technology, in reading order.
        const QModelIndex third = view.model()->index(2, 0);
        QCOMPARE(third.data(Qt::AccessibleTextRole).toString(),
                 "Unread, Anna Berg, 2 messages, Subject 3, " +
                     third.data(ThreadListModel::DateTextRole).toString() +
                     ", Preview of Subject 3");
        QVERIFY(third.data(ThreadListModel::UnreadRole).toBool());

        // A click selects in the state; Ctrl+click adds to the selection.
        clickRow(view.list(), 2);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T3"});
        clickRow(view.list(), 4);
        QTest::mouseClick(view.list()->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          view.list()->visualRect(view.model()->index(2, 0)).center());
        QCOMPARE(state->selectedThreadIds(), QSet<QString>({"T3", "T5"}));
        QTest::mouseClick(view.list()->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          view.list()->visualRect(view.model()->index(4, 0)).center());
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T3"});
        // The state's selection reaches the list the other way round too.
        state->setSelectedThreadIds({"T1", "T2"});
        QCOMPARE(view.list()->selectionModel()->selectedIndexes().size(), 2);
        // Dragging the selection carries its ids in list order, one a line.
        std::unique_ptr<QMimeData> drag(
            view.model()->mimeData(view.list()->selectionModel()->selectedIndexes()));
        QCOMPARE(drag->text(), QString("T1\nT2"));
        state->setSelectedThreadIds({"T3"});
        QCOMPARE(view.list()->selectionModel()->selectedIndexes().size(), 1);
        QPersistentModelIndex selected = view.model()->index(2, 0);

        view.list()->verticalScrollBar()->setValue(120);
        // Mail arrives at the top, T2 goes away, T5 gets a new subject.
        f->server.removeThread("T2");
        f->server.add(FakeMailServer::thread("T0", "Bo Lind", "New", now, 1, false));
        f->server.find("T5-1")->insert("subject", "Renamed");
        f->network.clearRequests();
        QSignalSpy moves(view.model(), &QAbstractItemModel::rowsMoved);
        QSignalSpy removals(view.model(), &QAbstractItemModel::rowsRemoved);
        state->refresh();
        QTRY_VERIFY(footer.status() == "Fetching mail…");
        QTRY_COMPARE(rowTexts(*view.model()).mid(0, 5),
                     QStringList({"T0", "T1", "T3", "T4", "T5"}));
        QTRY_VERIFY(!state->isLoadingList());
        QCOMPARE(resets.size(), 0);
        // T2 leaves as one removal; the rows below it stay where they are.
        QCOMPARE(removals.size(), 1);
        QCOMPARE(moves.size(), 0);
        QVERIFY(selected.isValid());
        QCOMPARE(selected.row(), 2);
        QVERIFY(view.list()->selectionModel()->isSelected(selected));
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T3"});
        QCOMPARE(view.model()->index(4, 0).data(ThreadListModel::SubjectRole).toString(),
                 QString("Renamed"));
        QCOMPARE(view.list()->verticalScrollBar()->value(), 120);
        QTRY_COMPARE(footer.status(), QString());
    }

    void loadMorePagesUntilAllAreIn()
    {
        for (int i = 1; i <= 12; ++i)
            f->server.add(FakeMailServer::thread(QStringLiteral("T%1").arg(i), "Anna Berg", "Hello",
                                                 now.addDays(-i)));
        auto state = connectedState(5);
        ThreadListView view(state.get());
        QAbstractItemModelTester tester(view.model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        view.resize(356, 900);
        view.show();
        state->start([](QUuid) {});
        QTRY_COMPARE(view.model()->rowCount(), 6);
        const int last = 5;
        QCOMPARE(view.model()->index(last, 0).data().toString(), QString("Load more (7 left)"));
        QCOMPARE(view.model()->index(last, 0).data(Qt::AccessibleTextRole).toString(),
                 QString("Load more (7 left)"));
        QVERIFY(!(view.model()->flags(view.model()->index(last, 0)) & Qt::ItemIsSelectable));

        clickRow(view.list(), last);
        QVERIFY(state->isLoadingList());
        // Greyed while the page loads: a second click does not ask again.
        QVERIFY(!(view.model()->flags(view.model()->index(last, 0)) & Qt::ItemIsEnabled));
        clickRow(view.list(), last);
        QTRY_COMPARE(view.model()->rowCount(), 11);
        QCOMPARE(view.model()->index(10, 0).data().toString(), QString("Load more (2 left)"));
        QVERIFY(state->selectedThreadIds().isEmpty());
        // Pressing the row keeps what is selected.
        clickRow(view.list(), 1);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T2"});

        view.list()->setFocus();
        view.list()->setCurrentIndex(view.model()->index(10, 0));
        QTest::keyClick(view.list(), Qt::Key_Return);
        QTRY_COMPARE(view.model()->rowCount(), 12);
        QCOMPARE(state->selectedThreadIds(), QSet<QString>{"T2"});
        QCOMPARE(rowTexts(*view.model()).last(), QString("T12"));
    }

    void dateHeaders_data()
    {
        QTest::addColumn<bool>("groupByDate");
        QTest::addColumn<QStringList>("rows");
        QTest::newRow("grouped") << true << QStringList{"[Today]", "T1",      "T2", "[Yesterday]",
                                                        "T3",      "[Older]", "T4"};
        QTest::newRow("flat") << false << QStringList{"T1", "T2", "T3", "T4"};
    }

    void dateHeaders()
    {
        QFETCH(bool, groupByDate);
        QFETCH(QStringList, rows);
        const QDateTime noon(now.date(), QTime(12, 0));
        f->server.add(FakeMailServer::thread("T1", "Anna", "a", noon.addSecs(-60)));
        f->server.add(FakeMailServer::thread("T2", "Anna", "b", noon.addSecs(-3600)));
        f->server.add(FakeMailServer::thread("T3", "Anna", "c", noon.addDays(-1)));
        f->server.add(FakeMailServer::thread("T4", "Anna", "d", noon.addDays(-40)));
        auto state = connectedState();
        AppConfig config = state->config();
        config.groupByDate = groupByDate;
        state->setConfig(config);
        ThreadListModel model(state.get());
        model.setClock([noon] { return noon; });
        QAbstractItemModelTester tester(&model,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        state->start([](QUuid) {});
        QTRY_COMPARE(rowTexts(model), rows);
        for (int row = 0; row < model.rowCount(); ++row) {
            const bool header = rows.at(row).startsWith('[');
            QCOMPARE(bool(model.flags(model.index(row, 0)) & Qt::ItemIsSelectable), !header);
        }
        // Switching the setting regroups the same rows without a reset.
        QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
        config.groupByDate = !groupByDate;
        state->setConfig(config);
        QCOMPARE(model.rowCount(), groupByDate ? 4 : 7);
        QCOMPARE(resets.size(), 0);
        // A day later, this morning's mail shows its day instead of its time.
        const auto dateOfFirst = [&model] {
            return model.index(model.rowOf("T1"), 0).data(ThreadListModel::DateTextRole).toString();
        };
        const QString time = dateOfFirst();
        model.setClock([noon] { return noon.addDays(1); });
        QVERIFY(dateOfFirst() != time);
        QCOMPARE(dateOfFirst(), ThreadListModel::dateText(noon.addSecs(-60), noon.addDays(1),
                                                          QLocale(), QTimeZone::systemTimeZone()));
    }

    void dateText_data()
    {
        QTest::addColumn<QString>("locale");
        QTest::addColumn<int>("daysAgo");
        QTest::addColumn<QString>("text");
        QTest::newRow("today, British") << "en_GB" << 0 << "10:42";
        QTest::newRow("yesterday, British") << "en_GB" << 1 << "22 Nov";
        QTest::newRow("yesterday, American") << "en_US" << 1 << "Nov 22";
        QTest::newRow("last year, German") << "de_DE" << 365 << "23 Nov.";
    }

    void dateText()
    {
        QFETCH(QString, locale);
        QFETCH(int, daysAgo);
        QFETCH(QString, text);
        const QTimeZone zone("Europe/Berlin");
        const QDateTime current(QDate(2026, 11, 23), QTime(18, 0), zone);
        const QDateTime date(QDate(2026, 11, 23).addDays(-daysAgo), QTime(10, 42), zone);
        QCOMPARE(ThreadListModel::dateText(date, current, QLocale(locale), zone), text);
    }

    void emptyStatesAndSearch()
    {
        f->server.add(FakeMailServer::thread("T1", "Anna", "Lunch on Friday", now));
        auto state = connectedState();
        ThreadListView view(state.get());
        view.resize(356, 500);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
        // Before the connection is up, no empty state: nothing is known yet.
        QVERIFY(!view.showsEmptyState());
        state->start([](QUuid) {});
        QTRY_COMPARE(view.model()->rowCount(), 1);
        QVERIFY(!view.showsEmptyState());

        MailSearchField* field = view.searchField();
        QVERIFY(field->toolTip().startsWith("Search operators:\n"));
        view.list()->setFocus();
        QCOMPARE(field->placeholderText(), QString("Press / to search"));
        field->setFocus();
        QCOMPARE(field->placeholderText(), QString("Search Inbox"));
        QToolButton* clear = nullptr;
        for (QToolButton* button : field->findChildren<QToolButton*>())
            if (button->defaultAction() == field->clearAction())
                clear = button;
        QVERIFY(clear);
        QVERIFY(!field->clearAction()->isVisible());

        // Typing alone asks the server nothing.
        f->network.clearRequests();
        QTest::keyClicks(field, "dinner");
        QCOMPARE(state->searchText(), QString("dinner"));
        QVERIFY(f->network.batches().isEmpty());
        QTest::keyClick(field, Qt::Key_Return);
        QTRY_VERIFY(view.showsEmptyState());
        QCOMPARE(view.emptyState()->title(), QString("No matches"));
        QCOMPARE(f->network.batches().size(), 1);
        QVERIFY(field->clearAction()->isVisible());

        QTest::mouseClick(clear, Qt::LeftButton);
        QCOMPARE(field->text(), QString());
        QCOMPARE(state->searchText(), QString());
        QTRY_COMPARE(view.model()->rowCount(), 1);
        QVERIFY(!view.showsEmptyState());

        // The plain mailbox without mail says so in its own words.
        f->server.emails.clear();
        state->refresh();
        QTRY_VERIFY(view.showsEmptyState());
        QCOMPARE(view.emptyState()->title(), QString("No conversations"));
    }

private:
    std::unique_ptr<AppState> connectedState(int pageSize = 50);
    std::unique_ptr<StateFixture> f;
};

std::unique_ptr<AppState> TestThreadList::connectedState(int pageSize)
{
    auto state = f->make(pageSize);
    AppConfig config = state->config();
    config.markReadOnOpen = false;
    state->setConfig(config);
    return state;
}

QTEST_MAIN(TestThreadList)
#include "tst_threadlistview.moc"
