#include "MaskedEmailTableModel.h"

#include "app/stores/MaskedEmailStore.h"
#include "content/DateFormat.h"
#include "directory/Contact.h"

#include <QLocale>
#include <QMimeData>
#include <QTextDocument>
#include <QTimeZone>
#include <QUrl>

#include <algorithm>

namespace {

QString date(const std::optional<QDateTime>& value)
{
    return value ? DateFormat::abbreviatedDate(*value, QLocale(), QTimeZone::systemTimeZone())
                 : QString();
}

} // namespace

MaskedEmailTableModel::MaskedEmailTableModel(MaskedEmailStore* store, QObject* parent)
    : KeyedTableModel(parent), m_store(store)
{
    connect(store, &MaskedEmailStore::itemsChanged, this, &MaskedEmailTableModel::refresh);
    m_rows = shown();
}

int MaskedEmailTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int MaskedEmailTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant MaskedEmailTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const MaskedEmail& record = m_rows.at(index.row());
    if (role == IdRole)
        return record.id;
    if (role == Qt::ToolTipRole && index.column() != EnabledColumn) {
        // Server text: a tool tip would read markup in it, so it goes in escaped.
        const QString text =
            index.column() == WebsiteColumn ? record.forDomain : data(index).toString();
        return text.isEmpty() ? QVariant() : QVariant(Qt::convertFromPlainText(text));
    }
    switch (index.column()) {
    case EnabledColumn:
        if (role == Qt::CheckStateRole)
            return record.isActive() ? Qt::Checked : Qt::Unchecked;
        if (role == Qt::ToolTipRole)
            return record.isActive() ? tr("Receiving mail. Uncheck to send its mail to the trash.")
                                     : tr("Mail goes to the trash");
        if (role == Qt::AccessibleTextRole)
            return tr("Enabled");
        return {};
    case AddressColumn:
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return record.email;
        return {};
    case WebsiteColumn:
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return website(record.forDomain);
        return {};
    case DescriptionColumn:
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return record.description;
        return {};
    case LastMailColumn:
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return lastMail(record);
        return {};
    case CreatedColumn:
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return date(record.createdAt);
        return {};
    default:
        return {};
    }
}

bool MaskedEmailTableModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) ||
        index.column() != EnabledColumn || role != Qt::CheckStateRole || !m_store)
        return false;
    // The row changes when the store has the new state; a pending address is decided here.
    const bool on = value.value<Qt::CheckState>() == Qt::Checked;
    m_store->setState(on ? MaskedEmail::State::enabled : MaskedEmail::State::disabled,
                      {m_rows.at(index.row()).id});
    return true;
}

QVariant MaskedEmailTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (section == EnabledColumn && (role == Qt::ToolTipRole || role == Qt::AccessibleTextRole))
        return tr("Enabled");
    if (role != Qt::DisplayRole)
        return {};
    switch (section) {
    case AddressColumn:
        return tr("Address");
    case WebsiteColumn:
        return tr("Website");
    case DescriptionColumn:
        return tr("Description");
    case LastMailColumn:
        return tr("Last Mail");
    case CreatedColumn:
        return tr("Created");
    default:
        return {};
    }
}

Qt::ItemFlags MaskedEmailTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (index.column() == EnabledColumn)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}

void MaskedEmailTableModel::sort(int column, Qt::SortOrder order)
{
    if (column < 0 || column >= ColumnCount || (column == m_sortColumn && order == m_sortOrder))
        return;
    m_sortColumn = column;
    m_sortOrder = order;
    refresh();
}

QStringList MaskedEmailTableModel::mimeTypes() const
{
    return {QStringLiteral("text/plain")};
}

QMimeData* MaskedEmailTableModel::mimeData(const QModelIndexList& indexes) const
{
    QSet<QString> ids;
    for (const QModelIndex& index : indexes)
        if (index.isValid())
            ids.insert(m_rows.at(index.row()).id);
    QStringList addresses;
    for (const MaskedEmail& record : records(ids))
        addresses.append(record.email);
    if (addresses.isEmpty())
        return nullptr;
    auto* mime = new QMimeData;
    mime->setText(addresses.join(u'\n'));
    return mime;
}

QString MaskedEmailTableModel::filterLabel(MaskedEmailFilter filter)
{
    switch (filter) {
    case MaskedEmailFilter::active:
        return tr("Active");
    case MaskedEmailFilter::disabled:
        return tr("Disabled");
    case MaskedEmailFilter::all:
        return tr("All");
    }
    return {};
}

bool MaskedEmailTableModel::keeps(MaskedEmailFilter filter, MaskedEmail::State state)
{
    switch (filter) {
    case MaskedEmailFilter::active:
        return state == MaskedEmail::State::pending || state == MaskedEmail::State::enabled;
    case MaskedEmailFilter::disabled:
        return state == MaskedEmail::State::disabled;
    case MaskedEmailFilter::all:
        return true;
    }
    return true;
}

void MaskedEmailTableModel::setFilter(MaskedEmailFilter filter)
{
    if (filter == m_filter)
        return;
    m_filter = filter;
    refresh();
}

void MaskedEmailTableModel::setSearch(const QString& search)
{
    if (search == m_search)
        return;
    m_search = search;
    refresh();
}

bool MaskedEmailTableModel::matches(const MaskedEmail& record, const QStringList& words)
{
    const QString text =
        (record.email + u' ' + record.forDomain + u' ' + record.description).toLower();
    return std::all_of(words.cbegin(), words.cend(),
                       [&text](const QString& word) { return text.contains(word); });
}

QString MaskedEmailTableModel::website(const QString& forDomain)
{
    const QUrl url(forDomain, QUrl::StrictMode);
    if (url.isValid() && !url.scheme().isEmpty() && !url.host().isEmpty())
        return url.host();
    return forDomain;
}

QString MaskedEmailTableModel::lastMail(const MaskedEmail& record)
{
    if (record.lastMessageAt)
        return date(record.lastMessageAt);
    return record.state == MaskedEmail::State::pending ? tr("Pending") : tr("Never");
}

int MaskedEmailTableModel::rowOf(const QString& id) const
{
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows.at(row).id == id)
            return row;
    return -1;
}

QList<MaskedEmail> MaskedEmailTableModel::records(const QSet<QString>& ids) const
{
    QList<MaskedEmail> result;
    for (const MaskedEmail& record : m_rows)
        if (ids.contains(record.id))
            result.append(record);
    return result;
}

QList<MaskedEmail> MaskedEmailTableModel::shown() const
{
    if (!m_store)
        return {};
    const QStringList words = m_search.toLower().split(u' ', Qt::SkipEmptyParts);
    QList<MaskedEmail> result;
    for (const MaskedEmail& record : m_store->items())
        if (keeps(m_filter, record.state) && matches(record, words))
            result.append(record);
    const QCollator collator = Contact::collator();
    const auto compare = [this, &collator](const MaskedEmail& a, const MaskedEmail& b) -> int {
        switch (m_sortColumn) {
        case EnabledColumn:
            return int(a.stateSort()) - int(b.stateSort());
        case AddressColumn:
            return collator.compare(a.email, b.email);
        case WebsiteColumn:
            return collator.compare(website(a.forDomain), website(b.forDomain));
        case DescriptionColumn:
            return collator.compare(a.description, b.description);
        case LastMailColumn:
            return a.lastMessageSort() < b.lastMessageSort()   ? -1
                   : b.lastMessageSort() < a.lastMessageSort() ? 1
                                                               : 0;
        default:
            return a.createdSort() < b.createdSort()   ? -1
                   : b.createdSort() < a.createdSort() ? 1
                                                       : 0;
        }
    };
    const bool ascending = m_sortOrder == Qt::AscendingOrder;
    std::stable_sort(result.begin(), result.end(), [&](const MaskedEmail& a, const MaskedEmail& b) {
        const int order = compare(a, b);
        return ascending ? order < 0 : order > 0;
    });
    return result;
}

void MaskedEmailTableModel::refresh()
{
    updateRows(m_rows, shown(), [](const MaskedEmail& record) { return record.id; });
}
