#pragma once

#include "FakeNetwork.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <functional>

// A mail account on the fake network for interface tests: one inbox of threads, each a list of
// Email records in thread order, newest thread first. Tests change `threads` between refreshes;
// the handlers answer the page, thread and keyword calls from it.
class FakeMailServer
{
public:
    explicit FakeMailServer(FakeNetwork* network) : m_network(network) { install(); }

    // Threads newest first; a thread's last email is its anchor.
    QList<QList<QJsonObject>> threads;

    static QJsonObject email(const QString& id, const QString& threadId, const QString& fromName,
                             const QString& subject, const QDateTime& receivedAt, bool seen = true)
    {
        const QString address = fromName.section(u' ', 0, 0).toLower() + "@example.com";
        QJsonObject keywords;
        if (seen)
            keywords.insert("$seen", true);
        return QJsonObject{
            {"id", id},
            {"threadId", threadId},
            {"blobId", "blob-" + id},
            {"mailboxIds", QJsonObject{{"inbox", true}}},
            {"keywords", keywords},
            {"from", QJsonArray{QJsonObject{{"name", fromName}, {"email", address}}}},
            {"to", QJsonArray{QJsonObject{{"name", "Me"}, {"email", "user@example.com"}}}},
            {"subject", subject},
            {"receivedAt", receivedAt.toUTC().toString(Qt::ISODate)},
            {"preview", "Preview of " + subject},
            {"hasAttachment", false},
            {"messageId", QJsonArray{id + "@example.com"}},
            {"size", 2048},
            {"bodyValues", QJsonObject{{"1", QJsonObject{{"value", "<p>Body of " + id + "</p>"}}}}},
            {"htmlBody", QJsonArray{QJsonObject{{"partId", "1"}, {"type", "text/html"}}}},
            {"textBody", QJsonArray{}},
            {"attachments", QJsonArray{}}};
    }

    // A thread of `count` messages from one sender, a minute apart, ending at `last`.
    static QList<QJsonObject> thread(const QString& threadId, const QString& fromName,
                                     const QString& subject, const QDateTime& last, int count = 1,
                                     bool seen = true)
    {
        QList<QJsonObject> emails;
        for (int i = 0; i < count; ++i)
            emails << email(QStringLiteral("%1-%2").arg(threadId).arg(i + 1), threadId, fromName,
                            subject, last.addSecs(60 * (i + 1 - count)), seen);
        return emails;
    }

private:
    enum class Next
    {
        Page,
        Threads,
        Nothing,
    };

    static QString searchWord(const QJsonValue& filter)
    {
        const QJsonObject object = filter.toObject();
        if (object.contains("text"))
            return object.value("text").toString();
        for (const QJsonValue& condition : object.value("conditions").toArray())
            if (const QString word = searchWord(condition); !word.isEmpty())
                return word;
        return QString();
    }

    const QList<QJsonObject>* find(const QString& threadId) const
    {
        for (const auto& emails : threads)
            if (!emails.isEmpty() && emails.first().value("threadId").toString() == threadId)
                return &emails;
        return nullptr;
    }

    void install()
    {
        m_network->respondTo("Mailbox/get",
                             QJsonObject{{"list", QJsonArray{QJsonObject{{"id", "inbox"},
                                                                         {"name", "Inbox"},
                                                                         {"role", "inbox"},
                                                                         {"sortOrder", 1},
                                                                         {"totalEmails", 10},
                                                                         {"unreadEmails", 1},
                                                                         {"totalThreads", 10},
                                                                         {"unreadThreads", 1}}}}});
        m_network->respondTo("Identity/get", QJsonObject{{"list", QJsonArray()}});
        m_network->respondTo("Email/query", [this](const QJsonObject& arguments) {
            const QJsonObject filter = arguments.value("filter").toObject();
            if (filter.contains("notKeyword")) {
                m_next = Next::Nothing;
                return QJsonObject{{"ids", QJsonArray()}, {"total", 0}};
            }
            const QString word = searchWord(filter);
            QList<QString> matching;
            for (const auto& emails : threads) {
                const QString subject = emails.last().value("subject").toString();
                if (word.isEmpty() || subject.contains(word, Qt::CaseInsensitive))
                    matching << emails.first().value("threadId").toString();
            }
            const int position = arguments.value("position").toInt();
            const int limit = arguments.value("limit").toInt(50);
            m_page = matching.mid(position, limit);
            m_next = Next::Page;
            QJsonArray ids;
            for (const QString& id : std::as_const(m_page))
                ids.append(find(id)->last().value("id"));
            return QJsonObject{
                {"ids", ids}, {"total", int(matching.size())}, {"position", position}};
        });
        m_network->respondTo("Thread/get", [this](const QJsonObject& arguments) {
            if (arguments.contains("ids")) {
                m_requested.clear();
                for (const QJsonValue& id : arguments.value("ids").toArray())
                    m_requested << id.toString();
                m_next = Next::Threads;
            } else {
                m_requested = m_page;
            }
            QJsonArray list;
            for (const QString& id : std::as_const(m_requested))
                if (const auto* emails = find(id)) {
                    QJsonArray emailIds;
                    for (const QJsonObject& email : *emails)
                        emailIds.append(email.value("id"));
                    list.append(QJsonObject{{"id", id}, {"emailIds", emailIds}});
                }
            return QJsonObject{{"list", list}};
        });
        m_network->respondTo("Email/get", [this](const QJsonObject& arguments) {
            QJsonArray list;
            if (m_next == Next::Nothing)
                return QJsonObject{{"list", list}};
            if (arguments.value("properties") == QJsonArray{"threadId"}) {
                for (const QString& id : std::as_const(m_page))
                    list.append(
                        QJsonObject{{"id", find(id)->last().value("id")}, {"threadId", id}});
                return QJsonObject{{"list", list}};
            }
            for (const QString& id : std::as_const(m_requested))
                if (const auto* emails = find(id))
                    for (const QJsonObject& email : *emails)
                        list.append(email);
            return QJsonObject{{"list", list}};
        });
        m_network->respondTo("Email/set", [](const QJsonObject& arguments) {
            QJsonObject updated;
            for (const QString& id : arguments.value("update").toObject().keys())
                updated.insert(id, QJsonValue());
            return QJsonObject{{"updated", updated}};
        });
    }

    FakeNetwork* m_network;
    QList<QString> m_page;
    QList<QString> m_requested;
    Next m_next = Next::Page;
};
