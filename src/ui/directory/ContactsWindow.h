#pragma once

#include "DirectoryWindow.h"

class ContactStore;
class ContactTableModel;

// The address book: a table of the account's contacts with search, editing, deletion, new
// messages to the chosen people and copying of their addresses and numbers.
class ContactsWindow : public DirectoryWindow
{
    Q_OBJECT
public:
    explicit ContactsWindow(AppState* state, QWidget* parent = nullptr);

    ContactTableModel* model() const { return m_model; }
    QMenu* contextMenu(const QSet<QString>& ids) override;
    void edit(const QSet<QString>& ids) override;
    void create() override;
    // Opens a compose window to the contacts with an address, in table order.
    void newMessage(const QSet<QString>& ids);

protected:
    bool canAct() const override;
    void load() override;
    void showEmptyState(DirectoryEmptyState* empty) override;
    QString deleteTitle(qsizetype count) const override;
    QString deleteMessage() const override;
    void remove(const QSet<QString>& ids) override;
    QString copyText(const QSet<QString>& ids) const override;

private:
    ContactStore* m_store;
    ContactTableModel* m_model;
};
