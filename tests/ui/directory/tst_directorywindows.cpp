#include "AppTestEnvironment.h"
#include "FakeDirectoryServices.h"
#include "FakeNetwork.h"
#include "UiTest.h"
#include "app/demo/DemoData.h"
#include "app/state/AppState.h"
#include "jmap/Errors.h"
#include "ui/desktop/Icons.h"
#include "ui/directory/ContactEditor.h"
#include "ui/directory/ContactTableModel.h"
#include "ui/directory/ContactsWindow.h"
#include "ui/directory/DirectoryEmptyState.h"
#include "ui/directory/DirectoryTable.h"
#include "ui/directory/ListFieldEditor.h"
#include "ui/directory/MaskedEmailEditor.h"
#include "ui/directory/MaskedEmailTableModel.h"
#include "ui/directory/MaskedEmailWindow.h"
#include "ui/main/ErrorBar.h"

#include <QAbstractItemModelTester>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using UiTest::screenshot;

namespace {

enum class Access
{
    // No token: not connected, not demo.
    none,
    // Connected, the stores on fake services.
    fake,
    // Demo mode, the stores without a service.
    demo,
};

QList<Contact> people()
{
    QList<Contact> result = DemoData::contacts();
    result.append(Contact("c6", "Farah", "Haddad", {}, {}, {}, {"+1 555 0199"}, {}));
    Contact::sortByDisplayName(result);
    return result;
}

QStringList column(const QAbstractItemModel* model, int column)
{
    QStringList result;
    for (int row = 0; row < model->rowCount(); ++row)
        result.append(model->index(row, column).data().toString());
    return result;
}

// "-" stands for a divider, "!" before a title for a disabled item.
QStringList menuItems(QMenu* menu)
{
    QStringList result;
    for (QAction* action : menu->actions())
        result.append(action->isSeparator() ? QString("-")
                                            : (action->isEnabled() ? "" : "!") + action->text());
    return result;
}

QAction* item(QMenu* menu, const QString& text)
{
    for (QAction* action : menu->actions())
        if (action->text() == text)
            return action;
    return nullptr;
}

template <typename T> T* waitForDialog(QWidget* parent)
{
    T* found = nullptr;
    [&] { QTRY_VERIFY((found = parent->findChild<T*>()) && found->isVisible()); }();
    return found;
}

} // namespace

class TestDirectoryWindows : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { Icons::useFallbackTheme(); }

    void init()
    {
        network = std::make_unique<FakeNetwork>();
        network->respondTo("Mailbox/get", QJsonObject{{"list", QJsonArray()}});
        network->respondTo("Identity/get", QJsonObject{{"list", QJsonArray()}});
        keychain = MemorySecretStore();
        contacts = std::make_shared<FakeContactService>();
        contacts->contacts = people();
        masked = std::make_shared<FakeMaskedEmailService>();
        masked->records = DemoData::maskedEmails(QDateTime::currentDateTime());
        testers.clear();
        QApplication::clipboard()->clear();
    }

    void contactSearchNeedsEveryWord_data()
    {
        QTest::addColumn<QString>("search");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("words in any order") << "berg anna" << QStringList{"Anna Berg"};
        QTest::newRow("across name and organization, any case")
            << "  ANNA   holm " << QStringList{"Anna Berg"};
        QTest::newRow("words of two people") << "anna okafor" << QStringList{};
        QTest::newRow("phone numbers")
            << "555 01"
            << QStringList{"Anna Berg", "Chiara Rossi", "Emil Sandqvist", "Farah Haddad"};
        QTest::newRow("a second address")
            << "example.net" << QStringList{"Ben Okafor", "Emil Sandqvist"};
    }

    void contactSearchNeedsEveryWord()
    {
        QFETCH(QString, search);
        QFETCH(QStringList, names);
        auto state = makeState(Access::fake);
        auto window = open<ContactsWindow>(state.get());
        QVERIFY(window);
        QTRY_COMPARE(window->model()->rowCount(), 6);
        QTest::keyClicks(window->searchField(), search);
        QCOMPARE(column(window->model(), ContactTableModel::NameColumn), names);
    }

    void maskedFilterSearchAndSwitch()
    {
        masked->records[0].description = "Garden <b>supplies</b>";
        auto state = makeState(Access::fake);
        auto window = open<MaskedEmailWindow>(state.get());
        QVERIFY(window);
        const auto* model = window->model();
        // Active first, newest first: the pending address of ten minutes ago leads.
        QTRY_COMPARE(column(model, MaskedEmailTableModel::AddressColumn),
                     (QStringList{"swift.heron5540@example.com", "quiet.river4821@example.com",
                                  "amber.fox1177@example.com"}));
        QCOMPARE(column(model, MaskedEmailTableModel::LastMailColumn).first(), QString("Pending"));
        QCOMPARE(column(model, MaskedEmailTableModel::WebsiteColumn).at(1),
                 QString("shop.example"));
        // The full site in the tool tip, and server text in tool tips never read as markup.
        const auto tip = [model](int column) {
            return model->index(1, column).data(Qt::ToolTipRole).toString();
        };
        QVERIFY(tip(MaskedEmailTableModel::WebsiteColumn).contains("https://shop.example"));
        QVERIFY(tip(MaskedEmailTableModel::DescriptionColumn).contains("&lt;b&gt;supplies"));
        QComboBox* picker = window->filterPicker();
        picker->setCurrentIndex(1);
        QCOMPARE(column(model, MaskedEmailTableModel::AddressColumn),
                 QStringList{"tall.cedar0932@example.com"});
        picker->setCurrentIndex(2);
        QCOMPARE(model->rowCount(), 4);
        QTest::keyClicks(window->searchField(), "GARDEN shop");
        QCOMPARE(column(model, MaskedEmailTableModel::AddressColumn),
                 QStringList{"quiet.river4821@example.com"});

        // With "Active" shown, switching an address off by keyboard takes it out of the table.
        window->searchField()->clear();
        picker->setCurrentIndex(0);
        DirectoryTable* table = window->table();
        table->setFocus();
        table->setCurrentIndex(model->index(1, MaskedEmailTableModel::EnabledColumn));
        QCOMPARE(model->index(1, 0).data(Qt::ToolTipRole),
                 QVariant("Receiving mail. Uncheck to send its mail to the trash."));
        QTest::keyClick(table, Qt::Key_Space);
        QCOMPARE(masked->stateChanges.size(), 1);
        QCOMPARE(masked->stateChanges.first().first, MaskedEmail::State::disabled);
        QCOMPARE(masked->stateChanges.first().second, QStringList{"m1"});
        QTRY_COMPARE(model->rowCount(), 2);
        QVERIFY(model->rowOf("m1") < 0);
        // A click in the middle of the narrow column hits the box: a pending address is decided.
        const QRect check =
            table->visualRect(model->index(0, MaskedEmailTableModel::EnabledColumn));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, check.center());
        QCOMPARE(masked->stateChanges.size(), 2);
        QCOMPARE(masked->stateChanges.last().second, QStringList{"m4"});
        QTRY_COMPARE(model->rowCount(), 1);
    }

    void emptyStatesInOrder_data()
    {
        QTest::addColumn<bool>("isContacts");
        QTest::addColumn<QString>("notConnected");
        QTest::addColumn<QString>("noItems");
        QTest::addColumn<QString>("newTitle");
        QTest::newRow("contacts") << true
                                  << "Add a Fastmail API token with access to contacts in Settings."
                                  << "No Contacts"
                                  << "New Contact";
        QTest::newRow("masked email")
            << false << "Add a Fastmail API token with access to Masked Email in Settings."
            << "No Masked Emails"
            << "New Masked Email";
    }

    void emptyStatesInOrder()
    {
        QFETCH(bool, isContacts);
        QFETCH(QString, notConnected);
        QFETCH(QString, noItems);
        QFETCH(QString, newTitle);
        const auto openWindow = [&](AppState* state) { return openDirectory(isContacts, state); };

        // Without a token: not connected, nothing to press but the way to Settings.
        auto state = makeState(Access::none);
        auto window = openWindow(state.get());
        QVERIFY(window);
        DirectoryEmptyState* empty = window->emptyState();
        QVERIFY(empty->isVisible());
        QCOMPARE(empty->title(), QString("Not Connected"));
        QCOMPARE(empty->text(), notConnected);
        QVERIFY(!window->newAction()->isEnabled());
        QVERIFY(!window->refreshAction()->isEnabled());
        QSignalSpy settings(window.get(), &DirectoryWindow::openSettingsRequested);
        QTest::mouseClick(empty->actionButton(), Qt::LeftButton);
        QCOMPARE(settings.size(), 1);
        screenshot(window.get(), QString("empty-not-connected-") + QTest::currentDataTag());

        // Connected to an empty directory.
        contacts->contacts.clear();
        masked->records.clear();
        window.reset();
        state = makeState(Access::fake);
        window = openWindow(state.get());
        QVERIFY(window);
        empty = window->emptyState();
        QTRY_COMPARE(empty->title(), noItems);
        screenshot(window.get(), QString("empty-no-items-") + QTest::currentDataTag());
        QVERIFY(window->newAction()->isEnabled());
        QCOMPARE(empty->actionButton()->text(), newTitle);
        QTest::mouseClick(empty->actionButton(), Qt::LeftButton);
        QDialog* editor = waitForDialog<QDialog>(window.get());
        QCOMPARE(editor->windowTitle(), newTitle);
        QCOMPARE(editor->windowModality(), Qt::WindowModal);
        editor->reject();

        // A search that keeps nothing of a full directory.
        contacts->contacts = people();
        masked->records = DemoData::maskedEmails(QDateTime::currentDateTime());
        window->refreshAction()->trigger();
        QTRY_VERIFY(window->table()->isVisible());
        QTest::keyClicks(window->searchField(), "zzz");
        QVERIFY(empty->isVisible());
        QCOMPARE(empty->title(), QString("No Results for “zzz”"));
        QVERIFY(!empty->actionButton()->isVisible());
        window->searchField()->clear();
        QVERIFY(window->table()->isVisible());

        // Demo mode without a service is never "Not Connected", and its buttons work.
        window.reset();
        state = makeState(Access::demo);
        state->contacts()->setItems({});
        state->maskedEmails()->setItems({});
        window = openWindow(state.get());
        QVERIFY(window);
        QCOMPARE(window->emptyState()->title(), noItems);
        QVERIFY(window->newAction()->isEnabled());
        QVERIFY(window->refreshAction()->isEnabled());
    }

    void deleteAsksFirst_data()
    {
        QTest::addColumn<bool>("isContacts");
        QTest::addColumn<QStringList>("ids");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("message");
        const QString contactMessage =
            "It is removed from your Fastmail address book on all your devices.";
        const QString maskedMessage = "Mail sent to it is rejected from now on. Disable it instead "
                                      "to keep receiving mail in the trash.";
        QTest::newRow("three contacts")
            << true << QStringList{"c1", "c3", "c5"} << "Delete 3 contacts?" << contactMessage;
        QTest::newRow("one masked email")
            << false << QStringList{"m2"} << "Delete this masked email?" << maskedMessage;
        QTest::newRow("two masked emails")
            << false << QStringList{"m1", "m2"} << "Delete 2 masked emails?" << maskedMessage;
    }

    void deleteAsksFirst()
    {
        QFETCH(bool, isContacts);
        QFETCH(QStringList, ids);
        QFETCH(QString, title);
        QFETCH(QString, message);
        auto state = makeState(Access::fake);
        auto window = openDirectory(isContacts, state.get());
        QVERIFY(window);
        DirectoryTable* table = window->table();
        QTRY_VERIFY(table->model()->rowCount() > 2);
        const int before = table->model()->rowCount();
        const QSet<QString> chosen(ids.begin(), ids.end());
        table->selectIds(chosen);
        table->setFocus();

        // Return on the question keeps everything: the destructive button is never the default.
        QTest::keyClick(table, Qt::Key_Delete);
        QMessageBox* box = window->confirmation();
        QVERIFY(box);
        QTRY_VERIFY(box->isVisible());
        QCOMPARE(box->text(), title);
        QCOMPARE(box->informativeText(), message);
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        auto* destroy = box->findChild<QPushButton*>("deleteButton");
        QCOMPARE(destroy->text(), QString("Delete"));
        QVERIFY(box->defaultButton() != destroy);
        QTest::keyClick(box, Qt::Key_Return);
        QTRY_VERIFY(!window->confirmation());
        QVERIFY(contacts->deleted.isEmpty() && masked->stateChanges.isEmpty());

        QTest::keyClick(table, Qt::Key_Backspace);
        QTRY_VERIFY(window->confirmation() && window->confirmation()->isVisible());
        QTest::mouseClick(window->confirmation()->findChild<QPushButton*>("deleteButton"),
                          Qt::LeftButton);
        ids.sort();
        if (isContacts) {
            QCOMPARE(contacts->deleted, QList<QStringList>{ids});
        } else {
            QCOMPARE(masked->stateChanges.size(), 1);
            QCOMPARE(masked->stateChanges.first().first, MaskedEmail::State::deleted);
            QCOMPARE(masked->stateChanges.first().second, ids);
        }
        QTRY_COMPARE(table->model()->rowCount(), before - int(ids.size()));
        QVERIFY(table->selectedIds().isEmpty());
    }

    void contextMenus_data()
    {
        QTest::addColumn<bool>("isContacts");
        QTest::addColumn<QStringList>("ids");
        QTest::addColumn<QStringList>("items");
        QTest::newRow("a contact with address and phone")
            << true << QStringList{"c1"}
            << QStringList{
                   "New Message", "Copy Email Address", "Copy Phone Number", "-", "Edit…", "-",
                   "Delete…"};
        QTest::newRow("a contact without address")
            << true << QStringList{"c6"}
            << QStringList{"!New Message", "Copy Phone Number", "-", "Edit…", "-", "Delete…"};
        QTest::newRow("several contacts")
            << true << QStringList{"c1", "c6"} << QStringList{"New Message", "-", "Delete…"};
        QTest::newRow("an enabled address")
            << false << QStringList{"m1"}
            << QStringList{"Copy Address", "Edit…", "-", "Disable", "-", "Delete…"};
        QTest::newRow("a disabled address")
            << false << QStringList{"m3"}
            << QStringList{"Copy Address", "Edit…", "-", "Enable", "-", "Delete…"};
        QTest::newRow("a mixed set")
            << false << QStringList{"m3", "m4"} << QStringList{"Enable", "Disable", "-", "Delete…"};
        QTest::newRow("beside the rows") << true << QStringList{} << QStringList{};
    }

    void contextMenus()
    {
        QFETCH(bool, isContacts);
        QFETCH(QStringList, ids);
        QFETCH(QStringList, items);
        auto state = makeState(Access::fake);
        auto window = openDirectory(isContacts, state.get());
        QVERIFY(window);
        if (!isContacts)
            static_cast<MaskedEmailWindow*>(window.get())->filterPicker()->setCurrentIndex(2);
        QTRY_VERIFY(window->table()->model()->rowCount() > 0);
        const std::unique_ptr<QMenu> menu(
            window->contextMenu(QSet<QString>(ids.begin(), ids.end())));
        QCOMPARE(menu ? menuItems(menu.get()) : QStringList(), items);
    }

    void menuCommandsAndDrags()
    {
        auto state = makeState(Access::fake);
        auto people = open<ContactsWindow>(state.get());
        QVERIFY(people);
        ContactTableModel* model = people->model();
        QTRY_COMPARE(model->rowCount(), 6);

        // The pointer on a selected row takes the whole selection; on another row, that row.
        DirectoryTable* table = people->table();
        table->selectIds({"c1", "c4"});
        const auto centre = [&](const QString& id) {
            return table->visualRect(model->index(model->rowOf(id), 0)).center();
        };
        QCOMPARE(table->idsAt(centre("c4")), (QSet<QString>{"c1", "c4"}));
        QCOMPARE(table->idsAt(centre("c2")), QSet<QString>{"c2"});
        QCOMPARE(table->idsAt(QPoint(5, table->viewport()->height() - 2)), QSet<QString>{});

        std::unique_ptr<QMenu> menu(people->contextMenu({"c1"}));
        item(menu.get(), "Copy Phone Number")->trigger();
        QCOMPARE(QApplication::clipboard()->text(), QString("+1 555 0100"));
        item(menu.get(), "Copy Email Address")->trigger();
        QCOMPARE(QApplication::clipboard()->text(), QString("anna@example.com"));

        // New Message and drags address the people with an address, in table order, by name
        // unless the name is the address.
        Contact bare("c7", {}, {}, {}, {}, {"zed@example.com"}, {}, {});
        contacts->contacts.append(bare);
        people->refreshAction()->trigger();
        QTRY_COMPARE(model->rowCount(), 7);
        const QSet<QString> chosen{"c7", "c6", "c4", "c1"};
        menu.reset(people->contextMenu(chosen));
        item(menu.get(), "New Message")->trigger();
        QCOMPARE(state->drafts().size(), 1);
        const QString to = "Anna Berg <anna@example.com>, Dev Team <dev-team@example.com>, "
                           "zed@example.com";
        QCOMPARE(state->drafts().first()->to(), to);
        QModelIndexList rows;
        for (const QString& id : chosen)
            rows.append(model->index(model->rowOf(id), ContactTableModel::EmailColumn));
        std::unique_ptr<QMimeData> drag(model->mimeData(rows));
        QCOMPARE(drag->text(), to);
        table->selectIds(chosen);
        QTest::keySequence(table, QKeySequence::Copy);
        QCOMPARE(QApplication::clipboard()->text(), to);

        // Masked addresses: enabling a mixed set enables all; drags carry the addresses.
        auto addresses = open<MaskedEmailWindow>(state.get());
        QVERIFY(addresses);
        addresses->filterPicker()->setCurrentIndex(2);
        QTRY_COMPARE(addresses->model()->rowCount(), 4);
        menu.reset(addresses->contextMenu({"m3", "m4"}));
        item(menu.get(), "Enable")->trigger();
        QCOMPARE(masked->stateChanges.last().first, MaskedEmail::State::enabled);
        QCOMPARE(masked->stateChanges.last().second, (QStringList{"m3", "m4"}));
        menu.reset(addresses->contextMenu({"m2"}));
        item(menu.get(), "Copy Address")->trigger();
        QCOMPARE(QApplication::clipboard()->text(), QString("amber.fox1177@example.com"));
        const MaskedEmailTableModel* maskedModel = addresses->model();
        drag.reset(maskedModel->mimeData({maskedModel->index(maskedModel->rowOf("m2"), 1),
                                          maskedModel->index(maskedModel->rowOf("m1"), 2)}));
        QCOMPARE(drag->text(), QString("quiet.river4821@example.com\namber.fox1177@example.com"));
        menu.reset(); // before the window that owns it
    }

    void listFieldKeepsOneRow()
    {
        ListFieldEditor field("Email", "name@example.com");
        field.show();
        // One empty row: nothing to remove.
        QCOMPARE(field.rowCount(), 1);
        QVERIFY(!field.removeButton(0)->isEnabled());
        QCOMPARE(field.removeButton(0)->accessibleName(), QString("Remove Email"));
        QCOMPARE(field.addButton(0)->accessibleName(), QString("Add Email"));
        QTest::keyClicks(field.field(0), "a@example.com");
        QVERIFY(field.removeButton(0)->isEnabled());

        // Removing the only row leaves one empty row, whose button is then disabled.
        QTest::mouseClick(field.removeButton(0), Qt::LeftButton);
        QTRY_COMPARE(field.values(), QStringList{""});
        QVERIFY(!field.removeButton(0)->isEnabled());

        // Add on the first of three rows puts the new row second, with the cursor in it.
        field.setValues({"a@example.com", "b@example.com", "c@example.com"});
        QTest::mouseClick(field.addButton(0), Qt::LeftButton);
        QCOMPARE(field.values(),
                 (QStringList{"a@example.com", "", "b@example.com", "c@example.com"}));
        QTRY_VERIFY(field.field(1)->hasFocus());
        QCOMPARE(field.field(1)->accessibleName(), QString("Email 2"));
        QTest::mouseClick(field.removeButton(3), Qt::LeftButton);
        QCOMPARE(field.values(), (QStringList{"a@example.com", "", "b@example.com"}));
    }

    void contactEditedFromKeyboard()
    {
        auto state = makeState(Access::fake);
        auto window = open<ContactsWindow>(state.get());
        QVERIFY(window);
        QTRY_COMPARE(window->model()->rowCount(), 6);
        DirectoryTable* table = window->table();
        table->selectIds({"c2"});
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Return);
        auto* editor = waitForDialog<ContactEditor>(window.get());
        QCOMPARE(editor->windowTitle(), QString("Edit Contact"));
        QCOMPARE(editor->saveButton()->text(), QString("Save"));
        QCOMPARE(editor->emailsEditor()->values(),
                 (QStringList{"ben.okafor@example.org", "ben@example.net"}));

        // A form that is empty cannot be saved: a phone number alone is no contact.
        for (QLineEdit* line :
             {editor->givenNameField(), editor->surnameField(), editor->organizationField()})
            line->clear();
        QTest::keyClicks(editor->givenNameField(), "x");
        QTest::keyClick(editor->givenNameField(), Qt::Key_Backspace);
        QTest::mouseClick(editor->emailsEditor()->removeButton(0), Qt::LeftButton);
        QTest::mouseClick(editor->emailsEditor()->removeButton(0), Qt::LeftButton);
        QVERIFY(!editor->saveButton()->isEnabled());

        // A failed save keeps the sheet and what was typed; the error stands in the window.
        QTest::keyClicks(editor->givenNameField(), "Benedict");
        QVERIFY(editor->saveButton()->isEnabled());
        contacts->failure = std::make_exception_ptr(JMAPError::malformed("updated contact"));
        QTest::keyClick(editor->givenNameField(), Qt::Key_Return);
        QTRY_VERIFY(!window->errorBar()->isHidden());
        QVERIFY(window->errorBar()->message().contains("updated contact"));
        QVERIFY(editor->isVisible());
        QCOMPARE(editor->givenNameField()->text(), QString("Benedict"));

        contacts->failure = nullptr;
        QTest::keyClick(editor->givenNameField(), Qt::Key_Return);
        QTRY_VERIFY(!window->findChild<ContactEditor*>());
        QVERIFY(window->errorBar()->isHidden());
        // The row changed in place and is still the one selected.
        QCOMPARE(table->selectedIds(), QSet<QString>{"c2"});
        QCOMPARE(window->model()->contactAt(window->model()->rowOf("c2")).displayName(),
                 QString("From server"));
    }

    void websiteRule_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<QString>("note");
        const QString ask = "Enter a website such as shop.example.com.";
        const QString existingNote =
            "Website is the site you use the address on. It does not change the address itself.";
        QTest::newRow("a new address for a site")
            << ""
            << ""
            << "shop.example.com" << true << "The new address is copied to the clipboard.";
        QTest::newRow("a stored site shows without scheme") << "https://news.example"
                                                            << "news.example"
                                                            << "" << true << existingNote;
        QTest::newRow("an old entry that is no site can stay") << "My bank"
                                                               << "My bank"
                                                               << "" << true << existingNote;
        QTest::newRow("but cannot be typed anew") << "My bank"
                                                  << "My bank"
                                                  << "My bank 2" << false << ask;
    }

    void websiteRule()
    {
        QFETCH(QString, stored);
        QFETCH(QString, shown);
        QFETCH(QString, typed);
        QFETCH(bool, valid);
        QFETCH(QString, note);
        auto state = makeState(Access::fake);
        QWidget parent;
        std::optional<MaskedEmail> existing;
        if (!stored.isEmpty()) {
            existing = DemoData::maskedEmails(QDateTime::currentDateTime()).first();
            existing->forDomain = stored;
        }
        MaskedEmailEditor editor(state->maskedEmails(), existing, &parent);
        QCOMPARE(editor.websiteField()->text(), shown);
        QCOMPARE(editor.initialSite(), shown);
        QCOMPARE(editor.addressField() != nullptr, existing.has_value());
        QCOMPARE(editor.prefixField() == nullptr, existing.has_value());
        if (!typed.isEmpty()) {
            editor.websiteField()->clear();
            QTest::keyClicks(editor.websiteField(), typed);
        }
        QCOMPARE(editor.isSiteValid(), valid);
        QCOMPARE(editor.saveButton()->isEnabled(), valid);
        QCOMPARE(editor.noteLabel()->text(), note);
    }

    void demoModeWorksWithoutService()
    {
        auto state = makeState(Access::demo);
        auto people = open<ContactsWindow>(state.get());
        QVERIFY(people);
        people->resize(900, 560);
        QCOMPARE(people->model()->rowCount(), 5);
        QVERIFY(people->newAction()->isEnabled());
        people->table()->selectIds({"c3"});
        screenshot(people.get(), "contacts-window");

        people->newAction()->trigger();
        auto* editor = waitForDialog<ContactEditor>(people.get());
        QCOMPARE(editor->saveButton()->text(), QString("Create"));
        QVERIFY(!editor->saveButton()->isEnabled());
        QTest::keyClicks(editor->givenNameField(), "Dana");
        QTest::keyClicks(editor->surnameField(), "Iversen");
        QTest::keyClicks(editor->emailsEditor()->field(0), "dana@example.org");
        QTest::mouseClick(editor->emailsEditor()->addButton(0), Qt::LeftButton);
        QTest::keyClicks(editor->emailsEditor()->field(1), "dana@example.net");
        QTest::keyClicks(editor->phonesEditor()->field(0), "+1 555 0123");
        screenshot(editor, "contact-editor");
        QTest::mouseClick(editor->saveButton(), Qt::LeftButton);
        QTRY_VERIFY(!people->findChild<ContactEditor*>());
        QCOMPARE(people->model()->rowCount(), 6);
        QCOMPARE(people->model()->contactAt(3).displayName(), QString("Dana Iversen"));

        auto addresses = open<MaskedEmailWindow>(state.get());
        QVERIFY(addresses);
        QVERIFY(addresses->newAction()->isEnabled());
        addresses->filterPicker()->setCurrentIndex(2);
        addresses->table()->selectIds({"m1"});
        screenshot(addresses.get(), "masked-email-window");
        addresses->newAction()->trigger();
        auto* maskedEditor = waitForDialog<MaskedEmailEditor>(addresses.get());
        QTest::keyClicks(maskedEditor->prefixField(), "Garden");
        QTest::keyClicks(maskedEditor->websiteField(), "https://Seeds.Example.com/spring?ref=x");
        QTest::keyClicks(maskedEditor->descriptionField(), "Seed catalogue");
        screenshot(maskedEditor, "masked-email-editor");
        QTest::keyClick(maskedEditor->websiteField(), Qt::Key_Return);
        QTRY_VERIFY(!addresses->findChild<MaskedEmailEditor*>());
        const MaskedEmail made = state->maskedEmails()->items().first();
        QCOMPARE(made.forDomain, QString("https://seeds.example.com"));
        QVERIFY(made.email.startsWith("garden."));
        QCOMPARE(QApplication::clipboard()->text(), made.email);
        QCOMPARE(addresses->model()->rowOf(made.id), 0);
        QCOMPARE(
            addresses->model()->index(0, MaskedEmailTableModel::WebsiteColumn).data().toString(),
            QString("seeds.example.com"));
    }

    void everyControlHasAName()
    {
        auto state = makeState(Access::demo);
        auto people = open<ContactsWindow>(state.get());
        auto addresses = open<MaskedEmailWindow>(state.get());
        QVERIFY(people && addresses);
        people->table()->selectIds({"c2"});
        people->edit({"c2"});
        addresses->create();
        QList<QWidget*> windows{people.get(), addresses.get(),
                                waitForDialog<ContactEditor>(people.get()),
                                waitForDialog<MaskedEmailEditor>(addresses.get())};
        int checked = 0;
        for (QWidget* window : windows)
            for (QWidget* control : window->findChildren<QWidget*>()) {
                if (!control->isVisibleTo(window) || control->focusPolicy() == Qt::NoFocus ||
                    qobject_cast<QAbstractScrollArea*>(control->parentWidget()))
                    continue;
                QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
                QVERIFY2(accessible && !accessible->text(QAccessible::Name).isEmpty(),
                         qPrintable(
                             QString("%1 in %2")
                                 .arg(control->metaObject()->className(), window->windowTitle())));
                ++checked;
            }
        // The tables, search fields, picker, editor fields and every button.
        QVERIFY2(checked >= 20, qPrintable(QString::number(checked)));
    }

private:
    std::unique_ptr<AppState> makeState(Access access);
    template <typename W> std::unique_ptr<W> open(AppState* state);
    std::unique_ptr<DirectoryWindow> openDirectory(bool isContacts, AppState* state);

    QTemporaryDir home;
    std::unique_ptr<FakeNetwork> network;
    MemorySecretStore keychain;
    std::shared_ptr<FakeContactService> contacts;
    std::shared_ptr<FakeMaskedEmailService> masked;
    std::vector<std::unique_ptr<QAbstractItemModelTester>> testers;
};

std::unique_ptr<AppState> TestDirectoryWindows::makeState(Access access)
{
    AppEnvironment environment =
        testEnvironment(network.get(),
                        home.filePath(QString::fromLatin1(QTest::currentTestFunction()) +
                                      QTest::currentDataTag() + ".json"),
                        keychain);
    environment.demo = access == Access::demo;
    if (access == Access::fake)
        keychain.data = QByteArray("fmu1-token");
    auto state = makeTestState(std::move(environment), FakeNetwork::sessionUrl().toString());
    state->start([](QUuid) {});
    if (access == Access::fake) {
        [&] { QTRY_VERIFY(state->hasContacts() && state->hasMaskedEmail()); }();
        state->contacts()->setService(contacts);
        state->maskedEmails()->setService(masked);
    }
    return state;
}

template <typename W> std::unique_ptr<W> TestDirectoryWindows::open(AppState* state)
{
    auto window = std::make_unique<W>(state);
    testers.push_back(std::make_unique<QAbstractItemModelTester>(
        window->model(), QAbstractItemModelTester::FailureReportingMode::QtTest));
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()))
        return nullptr;
    return window;
}

std::unique_ptr<DirectoryWindow> TestDirectoryWindows::openDirectory(bool isContacts,
                                                                     AppState* state)
{
    if (isContacts)
        return open<ContactsWindow>(state);
    return open<MaskedEmailWindow>(state);
}

QTEST_MAIN(TestDirectoryWindows)
#include "tst_directorywindows.moc"
