#pragma once

#include "directory/MaskedEmail.h"
#include "ui/models/KeyedModel.h"

#include <QPointer>
#include <QStringList>

class MaskedEmailStore;

// Which states the Masked Email table shows, in the order of its picker.
enum class MaskedEmailFilter
{
    active,
    disabled,
    all,
};

// The rows of the Masked Email table: the store's addresses that pass the filter and match
// every word of the search, in the order the user chose. Rows follow the store in place. The
// first column's check box turns an address on or off through the store.
class MaskedEmailTableModel : public KeyedTableModel
{
    Q_OBJECT
public:
    enum Column
    {
        EnabledColumn,
        AddressColumn,
        WebsiteColumn,
        DescriptionColumn,
        LastMailColumn,
        CreatedColumn,
        ColumnCount,
    };
    enum Role
    {
        IdRole = Qt::UserRole + 1,
    };

    explicit MaskedEmailTableModel(MaskedEmailStore* store, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    int sortColumn() const { return m_sortColumn; }
    Qt::SortOrder sortOrder() const { return m_sortOrder; }

    // A drag carries the addresses, one a line.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }

    static QString filterLabel(MaskedEmailFilter filter);
    static bool keeps(MaskedEmailFilter filter, MaskedEmail::State state);
    MaskedEmailFilter filter() const { return m_filter; }
    void setFilter(MaskedEmailFilter filter);
    const QString& search() const { return m_search; }
    void setSearch(const QString& search);
    // Every word, lower-cased, occurs in "<email> <forDomain> <description>".
    static bool matches(const MaskedEmail& record, const QStringList& words);

    // The host of a site stored as a link, else the text as stored.
    static QString website(const QString& forDomain);
    // "Pending" or "Never" without a last mail, else its abbreviated date.
    static QString lastMail(const MaskedEmail& record);

    const MaskedEmail& recordAt(int row) const { return m_rows.at(row); }
    int rowOf(const QString& id) const;
    // The records of the ids, in table order.
    QList<MaskedEmail> records(const QSet<QString>& ids) const;

private:
    QList<MaskedEmail> shown() const;
    void refresh();

    QPointer<MaskedEmailStore> m_store;
    QList<MaskedEmail> m_rows;
    MaskedEmailFilter m_filter = MaskedEmailFilter::active;
    QString m_search;
    int m_sortColumn = CreatedColumn;
    Qt::SortOrder m_sortOrder = Qt::DescendingOrder;
};
