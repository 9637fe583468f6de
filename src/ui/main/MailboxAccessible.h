#pragma once

#include <QAccessibleActionInterface>
#include <QAccessibleWidget>
#include <QHash>
#include <QPointer>

class MailboxListView;

// What assistive technology meets in the sidebar: a tree named "Mailboxes" whose items are the
// mailboxes, each one inside the item of its parent folder, so that its level is its depth in
// the tree. An item says its unread count, whether it can open and whether it is open, and
// offers the action "Expand <name>" or "Collapse <name>".
namespace MailboxAccessible {

// Lets Qt build the tree for every mailbox list; safe to call often.
void install();
// The interface of a row of the list, or null when there is no such row.
QAccessibleInterface* row(MailboxListView* view, int row);

class Tree : public QAccessibleWidget
{
public:
    explicit Tree(MailboxListView* view);
    ~Tree() override;

    QAccessible::Role role() const override { return QAccessible::Tree; }
    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QAccessibleInterface* focusChild() const override;

    // The item of a model row, made on first use and kept while the list lives.
    QAccessibleInterface* item(int row) const;
    MailboxListView* view() const;

private:
    mutable QHash<QString, QAccessible::Id> m_items;
};

class Item : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    Item(MailboxListView* view, const QString& mailboxId);

    bool isValid() const override;
    QObject* object() const override { return nullptr; }
    QWindow* window() const override;
    QAccessibleInterface* parent() const override;
    QAccessibleInterface* child(int index) const override;
    int childCount() const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QString text(QAccessible::Text t) const override;
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override;
    QAccessible::Role role() const override { return QAccessible::TreeItem; }
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    QStringList actionNames() const override;
    QString localizedActionName(const QString& name) const override;
    QString localizedActionDescription(const QString& name) const override;
    void doAction(const QString& name) override;
    QStringList keyBindingsForAction(const QString& name) const override;

    // The model row of the mailbox now, or -1 once it left the list.
    int row() const;

private:
    QAccessibleInterface* tree() const;
    QPointer<MailboxListView> m_view;
    QString m_mailboxId;
};

} // namespace MailboxAccessible
