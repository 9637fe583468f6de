#pragma once

#include "content/DateGroup.h"
#include "mail/MailThread.h"

#include "ui/models/KeyedModel.h"
#include <QDateTime>
#include <QHash>
#include <QPointer>

#include <functional>

class AppState;

// The rows of the thread list: the threads of AppState, date headers between them when the
// settings group by date, and a last row that loads the next page. Rows are keyed by id and
// updated in place, so selection and scroll position survive every refresh.
class ThreadListModel : public KeyedListModel
{
    Q_OBJECT
public:
    enum class Kind
    {
        Header,
        Thread,
        LoadMore,
    };
    Q_ENUM(Kind)

    enum Role
    {
        IdRole = Qt::UserRole + 1,
        KindRole,
        ParticipantsRole,
        SubjectRole,
        PreviewRole,
        DateTextRole,
        UnreadRole,
        FlaggedRole,
        AttachmentRole,
        MessageCountRole,
        SenderNameRole,
        SenderEmailRole,
    };

    explicit ThreadListModel(AppState* state, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;
    // A drag of rows carries their thread ids as text, one a line, in list order; the list
    // drags the selection, so a selected row takes the others with it.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

    // The row of a thread id, or -1.
    int rowOf(const QString& threadId) const;
    // The thread of a row, or null for header and "Load more" rows.
    const MailThread* threadAt(int row) const;

    // The present moment for dates and date sections; tests fix it.
    void setClock(std::function<QDateTime()> clock);

    // The list date: the short time for mail of today, else day and abbreviated month.
    static QString dateText(const QDateTime& date, const QDateTime& now, const QLocale& locale,
                            const QTimeZone& timeZone);

private:
    struct Item
    {
        Kind kind = Kind::Thread;
        QString id;
        // The header's group, or the thread; unused for the other kind.
        DateGroup group = DateGroup::Today;
        MailThread thread;
        // "Load more (<n> left)" and whether it can be pressed now.
        qint64 remaining = 0;
        bool enabled = true;
        // What a thread row shows for its date; it depends on the clock too.
        QString dateText;

        bool operator==(const Item&) const = default;
    };

    void rebuild();
    void update(const QList<Item>& items);
    QString accessibleText(const Item& item) const;

    QPointer<AppState> m_state;
    std::function<QDateTime()> m_clock;
    QList<Item> m_items;
    // Date texts by the moment they show, valid for one day, zone and locale: converting a
    // date to local time reads the zone's rules every time, and every change of the list
    // (an archived row, a refresh) rebuilds all rows.
    QHash<qint64, QString> m_dateTexts;
    QDate m_dateTextsDay;
    QByteArray m_dateTextsZone;
    QString m_dateTextsLocale;
};
