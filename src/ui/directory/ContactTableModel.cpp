#include "ContactTableModel.h"

#include "app/stores/ContactStore.h"
#include "content/EmailAddresses.h"

#include <QMimeData>
#include <QTextDocument>

#include <algorithm>

ContactTableModel::ContactTableModel(ContactStore* store, QObject* parent)
    : KeyedTableModel(parent), m_store(store)
{
    connect(store, &ContactStore::itemsChanged, this, &ContactTableModel::refresh);
    m_rows = shown();
}

int ContactTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ContactTableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant ContactTableModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Contact& contact = m_rows.at(index.row());
    if (role == IdRole)
        return contact.id;
    QString text;
    switch (index.column()) {
    case NameColumn:
        text = contact.displayName();
        break;
    case EmailColumn:
        text = contact.primaryEmail().value_or(QString());
        break;
    case PhoneColumn:
        text = contact.phones.isEmpty() ? QString() : contact.phones.first().value;
        break;
    case OrganizationColumn:
        text = contact.organization;
        break;
    default:
        return {};
    }
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
        return text;
    if (role != Qt::ToolTipRole)
        return {};
    // Every address and number, not only the first.
    const auto& entries = index.column() == EmailColumn   ? contact.emails
                          : index.column() == PhoneColumn ? contact.phones
                                                          : QList<Contact::Entry>();
    if (!entries.isEmpty()) {
        QStringList values;
        for (const Contact::Entry& entry : entries)
            values.append(entry.value);
        text = values.join(u'\n');
    }
    // Server text: a tool tip would read markup in it, so it goes in escaped.
    return text.isEmpty() ? QVariant() : QVariant(Qt::convertFromPlainText(text));
}

QVariant ContactTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case NameColumn:
        return tr("Name");
    case EmailColumn:
        return tr("Email");
    case PhoneColumn:
        return tr("Phone");
    case OrganizationColumn:
        return tr("Organization");
    default:
        return {};
    }
}

Qt::ItemFlags ContactTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid())
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
}

bool ContactTableModel::isSortable(int column)
{
    return column == NameColumn || column == OrganizationColumn;
}

void ContactTableModel::sort(int column, Qt::SortOrder order)
{
    if (!isSortable(column) || (column == m_sortColumn && order == m_sortOrder))
        return;
    m_sortColumn = column;
    m_sortOrder = order;
    refresh();
}

QStringList ContactTableModel::mimeTypes() const
{
    return {QStringLiteral("text/plain")};
}

QMimeData* ContactTableModel::mimeData(const QModelIndexList& indexes) const
{
    QSet<QString> ids;
    for (const QModelIndex& index : indexes)
        if (index.isValid())
            ids.insert(m_rows.at(index.row()).id);
    QStringList entries;
    for (const EmailAddress& address : recipients(contacts(ids)))
        entries.append(EmailAddresses::listEntry(address));
    if (entries.isEmpty())
        return nullptr;
    auto* mime = new QMimeData;
    mime->setText(entries.join(QStringLiteral(", ")));
    return mime;
}

void ContactTableModel::setSearch(const QString& search)
{
    if (search == m_search)
        return;
    m_search = search;
    refresh();
}

bool ContactTableModel::matches(const Contact& contact, const QStringList& words)
{
    QStringList parts{contact.displayName()};
    for (const Contact::Entry& entry : contact.emails)
        parts.append(entry.value);
    for (const Contact::Entry& entry : contact.phones)
        parts.append(entry.value);
    parts.append(contact.organization);
    const QString text = parts.join(u' ').toLower();
    return std::all_of(words.cbegin(), words.cend(),
                       [&text](const QString& word) { return text.contains(word); });
}

int ContactTableModel::rowOf(const QString& id) const
{
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows.at(row).id == id)
            return row;
    return -1;
}

QList<Contact> ContactTableModel::contacts(const QSet<QString>& ids) const
{
    QList<Contact> result;
    for (const Contact& contact : m_rows)
        if (ids.contains(contact.id))
            result.append(contact);
    return result;
}

QList<EmailAddress> ContactTableModel::recipients(const QList<Contact>& contacts)
{
    QList<EmailAddress> result;
    for (const Contact& contact : contacts) {
        const auto email = contact.primaryEmail();
        if (!email)
            continue;
        const QString name = contact.displayName();
        result.append(EmailAddress{name == *email ? std::nullopt : std::optional(name), *email});
    }
    return result;
}

QList<Contact> ContactTableModel::shown() const
{
    if (!m_store)
        return {};
    const QStringList words = m_search.toLower().split(u' ', Qt::SkipEmptyParts);
    QList<Contact> result;
    for (const Contact& contact : m_store->items())
        if (matches(contact, words))
            result.append(contact);
    // The store keeps display-name order; a stable sort keeps it among equal organizations.
    const QCollator collator = Contact::collator();
    const bool byName = m_sortColumn == NameColumn;
    const bool ascending = m_sortOrder == Qt::AscendingOrder;
    std::stable_sort(result.begin(), result.end(), [&](const Contact& a, const Contact& b) {
        const QString left = byName ? a.displayName() : a.organization;
        const QString right = byName ? b.displayName() : b.organization;
        const int order = collator.compare(left, right);
        return ascending ? order < 0 : order > 0;
    });
    return result;
}

void ContactTableModel::refresh()
{
    updateRows(m_rows, shown(), [](const Contact& contact) { return contact.id; });
}
