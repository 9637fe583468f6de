#include "ThreadListModel.h"

#include "app/state/AppState.h"
#include "content/DateFormat.h"

#include <QLocale>
#include <QMimeData>
#include <QSet>
#include <QTimeZone>
#include <QTimer>
#include <algorithm>

ThreadListModel::ThreadListModel(AppState* state, QObject* parent)
    : KeyedListModel(parent), m_state(state), m_clock([] { return QDateTime::currentDateTime(); })
{
    for (auto signal : {&AppState::threadsChanged, &AppState::totalThreadsChanged,
                        &AppState::isLoadingListChanged, &AppState::configChanged})
        QObject::connect(state, signal, this, &ThreadListModel::rebuild);
    // Dates and sections move on with the clock: after midnight "10:42" becomes a day and
    // "Today" becomes "Yesterday" without any mail arriving.
    auto* tick = new QTimer(this);
    tick->setInterval(std::chrono::minutes(1));
    QObject::connect(tick, &QTimer::timeout, this, &ThreadListModel::rebuild);
    tick->start();
    rebuild();
}

void ThreadListModel::setClock(std::function<QDateTime()> clock)
{
    m_clock = std::move(clock);
    rebuild();
}

QString ThreadListModel::dateText(const QDateTime& date, const QDateTime& now,
                                  const QLocale& locale, const QTimeZone& timeZone)
{
    if (!date.isValid())
        return QString();
    const QDate day = date.toTimeZone(timeZone).date();
    if (day == now.toTimeZone(timeZone).date())
        return DateFormat::shortTime(date, locale, timeZone);
    // Day and abbreviated month in the locale's order of the two.
    const QString shortDate = locale.dateFormat(QLocale::ShortFormat);
    const bool monthFirst = shortDate.indexOf(u'M') < shortDate.indexOf(u'd');
    return locale.toString(day, monthFirst ? QStringLiteral("MMM d") : QStringLiteral("d MMM"));
}

void ThreadListModel::rebuild()
{
    if (!m_state)
        return;
    const QDateTime now = m_clock();
    const QTimeZone zone = QTimeZone::systemTimeZone();
    const QLocale locale;
    const QList<MailThread>& threads = m_state->threads();
    const QDate today = now.toTimeZone(zone).date();
    if (today != m_dateTextsDay || zone.id() != m_dateTextsZone ||
        locale.name() != m_dateTextsLocale) {
        m_dateTexts.clear();
        m_dateTextsDay = today;
        m_dateTextsZone = zone.id();
        m_dateTextsLocale = locale.name();
    }

    QList<Item> items;
    items.reserve(threads.size() + 5);
    auto addThread = [&](const MailThread& thread) {
        Item item;
        item.kind = Kind::Thread;
        item.id = thread.id;
        item.thread = thread;
        const QDateTime& received = thread.anchor().receivedAt;
        const qint64 key = received.isValid() ? received.toMSecsSinceEpoch() : -1;
        auto cached = m_dateTexts.constFind(key);
        if (cached == m_dateTexts.cend())
            cached = m_dateTexts.insert(key, dateText(received, now, locale, zone));
        item.dateText = *cached;
        items.append(item);
    };
    if (m_state->config().groupByDate) {
        for (const DateGroups::Section& section : DateGroups::sections(threads, now, zone)) {
            Item header;
            header.kind = Kind::Header;
            header.group = section.group;
            header.id = QStringLiteral("header-%1").arg(int(section.group));
            items.append(header);
            for (const MailThread& thread : section.threads)
                addThread(thread);
        }
    } else {
        for (const MailThread& thread : threads)
            addThread(thread);
    }
    if (threads.size() < m_state->totalThreads()) {
        Item more;
        more.kind = Kind::LoadMore;
        more.id = QStringLiteral("load-more");
        more.remaining = m_state->totalThreads() - threads.size();
        more.enabled = !m_state->isLoadingList();
        items.append(more);
    }
    update(items);
}

void ThreadListModel::update(const QList<Item>& items)
{
    updateRows(m_items, items, [](const Item& item) { return item.id; });
}

int ThreadListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_items.size());
}

int ThreadListModel::rowOf(const QString& threadId) const
{
    for (int row = 0; row < m_items.size(); ++row)
        if (m_items.at(row).kind == Kind::Thread && m_items.at(row).id == threadId)
            return row;
    return -1;
}

const MailThread* ThreadListModel::threadAt(int row) const
{
    if (row < 0 || row >= m_items.size() || m_items.at(row).kind != Kind::Thread)
        return nullptr;
    return &m_items.at(row).thread;
}

Qt::ItemFlags ThreadListModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || index.row() >= m_items.size())
        return Qt::NoItemFlags;
    const Item& item = m_items.at(index.row());
    switch (item.kind) {
    case Kind::Thread:
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
               Qt::ItemNeverHasChildren;
    case Kind::Header:
        return Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    case Kind::LoadMore:
        return (item.enabled ? Qt::ItemIsEnabled : Qt::NoItemFlags) | Qt::ItemNeverHasChildren;
    }
    return Qt::NoItemFlags;
}

QString ThreadListModel::accessibleText(const Item& item) const
{
    const MailThread& thread = item.thread;
    QStringList parts;
    if (thread.isUnread())
        parts << tr("Unread");
    if (thread.isFlagged())
        parts << tr("Flagged");
    parts << thread.participants();
    if (thread.messageCount() > 1)
        parts << tr("%n messages", nullptr, int(thread.messageCount()));
    if (thread.hasAttachment())
        parts << tr("Has attachment");
    parts << thread.subject() << item.dateText;
    const QString preview = thread.anchor().preview.value_or(QString()).simplified();
    if (!preview.isEmpty())
        parts << preview;
    return parts.join(QStringLiteral(", "));
}

QVariant ThreadListModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_items.size())
        return {};
    const Item& item = m_items.at(index.row());
    if (role == IdRole)
        return item.id;
    if (role == KindRole)
        return QVariant::fromValue(item.kind);
    if (item.kind == Kind::Header) {
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return DateGroups::title(item.group);
        return {};
    }
    if (item.kind == Kind::LoadMore) {
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return tr("Load more (%1 left)").arg(item.remaining);
        return {};
    }
    const MailThread& thread = item.thread;
    const Email& anchor = thread.anchor();
    switch (role) {
    case Qt::DisplayRole:
    case SubjectRole:
        return thread.subject();
    case Qt::AccessibleTextRole:
        return accessibleText(item);
    case ParticipantsRole:
        return thread.participants();
    case PreviewRole:
        return anchor.preview.value_or(QString()).simplified();
    case DateTextRole:
        return item.dateText;
    case UnreadRole:
        return thread.isUnread();
    case FlaggedRole:
        return thread.isFlagged();
    case AttachmentRole:
        return thread.hasAttachment();
    case MessageCountRole:
        return qint64(thread.messageCount());
    case SenderNameRole:
        return anchor.from && !anchor.from->isEmpty()
                   ? anchor.from->first().name.value_or(QString())
                   : QString();
    case SenderEmailRole:
        return anchor.from && !anchor.from->isEmpty() ? anchor.from->first().email : QVariant();
    default:
        return {};
    }
}

QHash<int, QByteArray> ThreadListModel::roleNames() const
{
    auto names = QAbstractListModel::roleNames();
    names.insert(IdRole, "threadId");
    names.insert(KindRole, "kind");
    names.insert(ParticipantsRole, "participants");
    names.insert(SubjectRole, "subject");
    names.insert(PreviewRole, "preview");
    names.insert(DateTextRole, "dateText");
    names.insert(UnreadRole, "unread");
    names.insert(FlaggedRole, "flagged");
    names.insert(AttachmentRole, "hasAttachment");
    names.insert(MessageCountRole, "messageCount");
    names.insert(SenderNameRole, "senderName");
    names.insert(SenderEmailRole, "senderEmail");
    return names;
}

QStringList ThreadListModel::mimeTypes() const
{
    return {QStringLiteral("text/plain")};
}

QMimeData* ThreadListModel::mimeData(const QModelIndexList& indexes) const
{
    QList<int> rows;
    for (const QModelIndex& index : indexes)
        if (threadAt(index.row()) && !rows.contains(index.row()))
            rows << index.row();
    if (rows.isEmpty())
        return nullptr;
    std::sort(rows.begin(), rows.end());
    QStringList ids;
    for (int row : std::as_const(rows))
        ids << m_items.at(row).id;
    auto* data = new QMimeData;
    data->setText(ids.join(u'\n'));
    return data;
}
