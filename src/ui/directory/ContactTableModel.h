#pragma once

#include "directory/Contact.h"
#include "mail/EmailAddress.h"
#include "ui/models/KeyedModel.h"

#include <QPointer>
#include <QStringList>

class ContactStore;

// The rows of the contacts table: the store's contacts that match every word of the search,
// in the order the user chose by clicking a column header. Rows follow the store in place.
class ContactTableModel : public KeyedTableModel
{
    Q_OBJECT
public:
    enum Column
    {
        NameColumn,
        EmailColumn,
        PhoneColumn,
        OrganizationColumn,
        ColumnCount,
    };
    enum Role
    {
        IdRole = Qt::UserRole + 1,
    };

    explicit ContactTableModel(ContactStore* store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // Only names and organizations sort; other columns leave the order as it is.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    static bool isSortable(int column);
    int sortColumn() const { return m_sortColumn; }
    Qt::SortOrder sortOrder() const { return m_sortOrder; }

    // A drag carries one recipient entry per contact with an address, ready for a To field.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }

    const QString& search() const { return m_search; }
    void setSearch(const QString& search);
    // Every word of the search, lower-cased, occurs somewhere in the contact's name, addresses,
    // phone numbers or organization.
    static bool matches(const Contact& contact, const QStringList& words);

    const Contact& contactAt(int row) const { return m_rows.at(row); }
    int rowOf(const QString& id) const;
    // The contacts of the ids, in table order.
    QList<Contact> contacts(const QSet<QString>& ids) const;
    // The recipients of "New Message" and of a drag: contacts with an address, the name left
    // out where it is the address itself.
    static QList<EmailAddress> recipients(const QList<Contact>& contacts);

private:
    QList<Contact> shown() const;
    void refresh();

    QPointer<ContactStore> m_store;
    QList<Contact> m_rows;
    QString m_search;
    int m_sortColumn = NameColumn;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
