#include "FakeMailServer.h"

#include <QJsonDocument>
#include <QSet>
#include <QTimeZone>

#include <algorithm>

namespace {

const QDateTime epoch = QDateTime(QDate(2026, 3, 2), QTime(12, 0), QTimeZone::utc());

// The mailbox and the words of a filter, however it is nested.
void readFilter(const QJsonObject& filter, QString& mailbox, QStringList& words,
                QString& notKeyword, QDateTime& after)
{
    if (filter.contains(QStringLiteral("after")))
        after =
            QDateTime::fromString(filter.value(QStringLiteral("after")).toString(), Qt::ISODate);
    if (filter.contains(QStringLiteral("notKeyword")))
        notKeyword = filter.value(QStringLiteral("notKeyword")).toString();
    if (filter.contains(QStringLiteral("inMailbox")))
        mailbox = filter.value(QStringLiteral("inMailbox")).toString();
    if (filter.contains(QStringLiteral("text")))
        words.append(filter.value(QStringLiteral("text")).toString());
    for (const QJsonValue& condition : filter.value(QStringLiteral("conditions")).toArray())
        readFilter(condition.toObject(), mailbox, words, notKeyword, after);
}

QJsonObject mailboxRecord(const char* id, const char* name, const char* role, int order)
{
    return QJsonObject{{"id", id},           {"name", name},      {"role", role},
                       {"sortOrder", order}, {"totalEmails", 0},  {"unreadEmails", 0},
                       {"totalThreads", 0},  {"unreadThreads", 0}};
}

} // namespace

QJsonObject FakeMailServer::mailbox(const QString& id, const QString& name, const QString& role,
                                    int sortOrder, int total)
{
    QJsonObject record = mailboxRecord("", "", "", sortOrder);
    record.insert("totalEmails", total);
    record.insert("totalThreads", total);
    record.insert("id", id);
    record.insert("name", name);
    if (role.isEmpty())
        record.insert("role", QJsonValue::Null);
    else
        record.insert("role", role);
    return record;
}

FakeMailServer::FakeMailServer(FakeNetwork& network) : m_network(network)
{
    mailboxes = QJsonArray{mailboxRecord("in", "Inbox", "inbox", 1),
                           mailboxRecord("arch", "Archive", "archive", 2),
                           mailboxRecord("sent", "Sent", "sent", 3)};
    serve();
}

void FakeMailServer::serve()
{
    FakeNetwork& network = m_network;
    network.respondTo("Mailbox/get", [this](const QJsonObject&) {
        return QJsonObject{{"list", mailboxes}};
    });
    network.respondTo("Identity/get", [this](const QJsonObject&) {
        return QJsonObject{{"list", identities}};
    });
    network.respondTo("EmailSubmission/set",
                      [this](const QJsonObject& a) { return setSubmissions(a); });
    network.respondTo("EmailSubmission/query", [this](const QJsonObject& a) {
        const QJsonArray wanted = a.value("filter").toObject().value("emailIds").toArray();
        m_submissionQueryIds.clear();
        for (const QJsonObject& submission : std::as_const(submissions))
            if (submission.value("undoStatus") == "pending" &&
                wanted.contains(submission.value("emailId")))
                m_submissionQueryIds.append(submission.value("id").toString());
        return QJsonObject{{"ids", QJsonArray::fromStringList(m_submissionQueryIds)}};
    });
    network.respondTo("EmailSubmission/get", [this](const QJsonObject&) {
        QJsonArray list;
        for (const QJsonObject& submission : std::as_const(submissions))
            if (m_submissionQueryIds.contains(submission.value("id").toString())) {
                // A held send goes at the time its envelope asked for, as on a real server.
                const QString until =
                    submission["envelope"]["mailFrom"]["parameters"]["HOLDUNTIL"].toString();
                list.append(
                    QJsonObject{{"id", submission.value("id")},
                                {"emailId", submission.value("emailId")},
                                {"sendAt", until.isEmpty() ? epoch.toString(Qt::ISODate) : until}});
            }
        return QJsonObject{{"list", list}};
    });
    network.respondTo("Email/query", [this](const QJsonObject& a) { return query(a); });
    network.respondTo("Email/get", [this](const QJsonObject& a) { return getEmails(a); });
    network.respondTo("Thread/get", [this](const QJsonObject& a) { return getThreads(a); });
    network.respondTo("Email/set", [this](const QJsonObject& a) { return setEmails(a); });
}

QJsonObject FakeMailServer::message(const QString& id, const QString& threadId,
                                    const QString& fromName, const QString& subject,
                                    const QDateTime& receivedAt, bool seen, const QString& mailbox)
{
    const QString address = fromName.section(u' ', 0, 0).toLower() + "@example.com";
    QJsonObject keywords;
    if (seen)
        keywords.insert("$seen", true);
    QJsonObject email{
        {"id", id},
        {"threadId", threadId},
        {"blobId", "blob-" + id},
        {"mailboxIds", QJsonObject{{mailbox, true}}},
        {"keywords", keywords},
        {"from", QJsonArray{QJsonObject{{"name", fromName}, {"email", address}}}},
        {"to", QJsonArray{QJsonObject{{"name", "Me"}, {"email", "user@example.com"}}}},
        {"subject", subject},
        {"receivedAt", receivedAt.toUTC().toString(Qt::ISODate)},
        {"preview", "Preview of " + subject},
        {"hasAttachment", false},
        {"messageId", QJsonArray{id + "@example.com"}},
        {"size", 2048},
        {"attachments", QJsonArray()}};
    setBody(email, "<p>Body of " + id + "</p>", QStringLiteral("text/html"));
    return email;
}

QList<QJsonObject> FakeMailServer::thread(const QString& threadId, const QString& fromName,
                                          const QString& subject, const QDateTime& last, int count,
                                          bool seen, const QString& mailbox)
{
    QList<QJsonObject> emails;
    for (int i = 0; i < count; ++i)
        emails << message(QStringLiteral("%1-%2").arg(threadId).arg(i + 1), threadId, fromName,
                          subject, last.addSecs(60 * (i + 1 - count)), seen, mailbox);
    return emails;
}

QJsonObject FakeMailServer::email(const QString& id, const QString& threadId,
                                  const QString& mailbox, int minutesAgo, bool seen)
{
    QJsonObject email = message(id, threadId, "Sender " + id, "Subject " + threadId,
                                epoch.addSecs(-60 * minutesAgo), seen, mailbox);
    email.insert("from",
                 QJsonArray{QJsonObject{{"name", "Sender " + id}, {"email", id + "@example.com"}}});
    return email;
}

void FakeMailServer::setBody(QJsonObject& email, const QString& body, const QString& type)
{
    email.insert("bodyValues", QJsonObject{{"1", QJsonObject{{"value", body}}}});
    const QJsonArray parts{QJsonObject{{"partId", "1"}, {"type", type}}};
    email.insert("htmlBody", parts);
    email.insert("textBody", parts);
}

void FakeMailServer::addThreads(int count, const QString& mailbox)
{
    for (int n = 1; n <= count; ++n)
        add(email(QStringLiteral("e%1").arg(n), QStringLiteral("t%1").arg(n), mailbox, n));
}

void FakeMailServer::removeThread(const QString& threadId)
{
    emails.removeIf([&threadId](const QJsonObject& email) {
        return email.value("threadId").toString() == threadId;
    });
}

QSet<QString> FakeMailServer::threadsIn(const QString& mailbox) const
{
    QSet<QString> threads;
    for (const QJsonObject& email : emails)
        if (email.value("mailboxIds").toObject().contains(mailbox))
            threads.insert(email.value("threadId").toString());
    return threads;
}

QJsonObject* FakeMailServer::find(const QString& id)
{
    for (QJsonObject& candidate : emails)
        if (candidate.value("id").toString() == id)
            return &candidate;
    return nullptr;
}

QList<RecordedRequest> FakeMailServer::batchesWith(const QString& firstMethod) const
{
    QList<RecordedRequest> result;
    for (const RecordedRequest& batch : m_network.batches())
        if (batch.methodNames().value(0) == firstMethod)
            result.append(batch);
    return result;
}

QJsonObject FakeMailServer::query(const QJsonObject& arguments)
{
    QString mailbox;
    QStringList words;
    QString notKeyword;
    QDateTime after;
    readFilter(arguments.value("filter").toObject(), mailbox, words, notKeyword, after);
    const bool collapse = arguments.value("collapseThreads").toBool();
    QList<QJsonObject> sorted = emails;
    std::stable_sort(sorted.begin(), sorted.end(), [](const QJsonObject& a, const QJsonObject& b) {
        return a.value("receivedAt").toString() > b.value("receivedAt").toString();
    });
    QStringList anchors;
    QSet<QString> threads;
    for (const QJsonObject& candidate : sorted) {
        if (!mailbox.isEmpty() && !candidate.value("mailboxIds").toObject().contains(mailbox))
            continue;
        const QString subject = candidate.value("subject").toString();
        if (!std::all_of(words.cbegin(), words.cend(), [&subject](const QString& word) {
                return subject.contains(word, Qt::CaseInsensitive);
            }))
            continue;
        if (!notKeyword.isEmpty() && candidate.value("keywords").toObject().contains(notKeyword))
            continue;
        if (after.isValid() &&
            QDateTime::fromString(candidate.value("receivedAt").toString(), Qt::ISODate) < after)
            continue;
        const QString thread = candidate.value("threadId").toString();
        if (collapse && threads.contains(thread))
            continue;
        threads.insert(thread);
        anchors.append(candidate.value("id").toString());
    }
    const qsizetype position = arguments.value("position").toInteger();
    const qsizetype limit = arguments.value("limit").toInteger(anchors.size());
    m_queryIds = anchors.mid(position, limit);
    return QJsonObject{{"ids", QJsonArray::fromStringList(m_queryIds)},
                       {"total", anchors.size()},
                       {"position", position}};
}

QJsonObject FakeMailServer::getEmails(const QJsonObject& arguments)
{
    QStringList ids;
    const QString resultOf = arguments.value("#ids").toObject().value("resultOf").toString();
    if (resultOf == "query")
        ids = m_queryIds;
    else if (!resultOf.isEmpty())
        ids = m_threadEmailIds;
    else
        for (const QJsonValue& id : arguments.value("ids").toArray())
            ids.append(id.toString());
    QJsonArray list;
    QStringList threadIds;
    for (const QString& id : ids)
        if (const QJsonObject* found = find(id)) {
            list.append(*found);
            threadIds.append(found->value("threadId").toString());
        }
    if (resultOf == "query")
        m_anchorThreadIds = threadIds;
    return QJsonObject{{"list", list}};
}

QJsonObject FakeMailServer::getThreads(const QJsonObject& arguments)
{
    QStringList ids;
    if (arguments.contains("#ids"))
        ids = m_anchorThreadIds;
    else
        for (const QJsonValue& id : arguments.value("ids").toArray())
            ids.append(id.toString());
    // Thread order is oldest first. Only the asked threads' messages are sorted: benchmarks
    // answer a thread of a large account inside the time they measure.
    const QSet<QString> asked(ids.cbegin(), ids.cend());
    QList<QJsonObject> sorted;
    for (const QJsonObject& email : std::as_const(emails))
        if (asked.contains(email.value("threadId").toString()))
            sorted.append(email);
    std::stable_sort(sorted.begin(), sorted.end(), [](const QJsonObject& a, const QJsonObject& b) {
        return a.value("receivedAt").toString() < b.value("receivedAt").toString();
    });
    QJsonArray list;
    m_threadEmailIds.clear();
    for (const QString& thread : ids) {
        QStringList members;
        for (const QJsonObject& candidate : sorted)
            if (candidate.value("threadId").toString() == thread)
                members.append(candidate.value("id").toString());
        if (members.isEmpty())
            continue;
        m_threadEmailIds += members;
        list.append(QJsonObject{{"id", thread}, {"emailIds", QJsonArray::fromStringList(members)}});
    }
    return QJsonObject{{"list", list}};
}

QJsonObject FakeMailServer::identity(const QString& id, const QString& email,
                                     const QString& textSignature)
{
    QJsonObject record{{"id", id}, {"name", ""}, {"email", email}};
    if (!textSignature.isEmpty())
        record.insert("textSignature", textSignature);
    return record;
}

void FakeMailServer::patch(QJsonObject& target, const QJsonObject& changes)
{
    for (auto change = changes.constBegin(); change != changes.constEnd(); ++change) {
        const QStringList path = change.key().split('/');
        if (path.size() != 2)
            continue;
        QJsonObject field = target.value(path.at(0)).toObject();
        if (change.value().isNull())
            field.remove(path.at(1));
        else
            field.insert(path.at(1), change.value());
        target.insert(path.at(0), field);
    }
}

QJsonObject FakeMailServer::setSubmissions(const QJsonObject& arguments)
{
    QJsonObject answer;
    const QJsonObject create = arguments.value("create").toObject();
    QJsonObject created;
    for (auto entry = create.constBegin(); entry != create.constEnd(); ++entry) {
        if (!refusingSubmission.isEmpty()) {
            answer.insert(
                "notCreated",
                QJsonObject{{entry.key(), QJsonObject{{"type", "forbiddenToSend"},
                                                      {"description", refusingSubmission}}}});
            continue;
        }
        QJsonObject submission = entry.value().toObject();
        const QString id = QStringLiteral("sub%1").arg(submissions.size() + 1);
        submission.insert("id", id);
        const bool held = submission.contains("envelope");
        submission.insert("undoStatus", held ? "pending" : "final");
        submissions.append(submission);
        created.insert(entry.key(), QJsonObject{{"id", id}});
        const QJsonObject onSuccess =
            arguments.value("onSuccessUpdateEmail").toObject().value("#" + entry.key()).toObject();
        if (QJsonObject* email = find(submission.value("emailId").toString()))
            patch(*email, onSuccess);
    }
    answer.insert("created", created);
    const QJsonObject update = arguments.value("update").toObject();
    QJsonObject updated;
    for (auto entry = update.constBegin(); entry != update.constEnd(); ++entry) {
        if (!refusingCancel.isEmpty()) {
            answer.insert("notUpdated",
                          QJsonObject{{entry.key(), QJsonObject{{"type", "cannotUnsend"},
                                                                {"description", refusingCancel}}}});
            continue;
        }
        for (QJsonObject& submission : submissions)
            if (submission.value("id") == entry.key())
                submission.insert("undoStatus", entry.value().toObject().value("undoStatus"));
        updated.insert(entry.key(), QJsonValue::Null);
    }
    answer.insert("updated", updated);
    return answer;
}

QJsonObject FakeMailServer::setEmails(const QJsonObject& arguments)
{
    QJsonObject updated;
    QJsonObject notUpdated;
    QJsonObject extra;
    const QJsonObject create = arguments.value("create").toObject();
    QJsonObject created;
    for (auto entry = create.constBegin(); entry != create.constEnd(); ++entry) {
        if (!refusingCreate.isEmpty()) {
            extra.insert("notCreated",
                         QJsonObject{{entry.key(), QJsonObject{{"type", "invalidProperties"},
                                                               {"description", refusingCreate}}}});
            continue;
        }
        QJsonObject email = entry.value().toObject();
        const QString id = QStringLiteral("d%1").arg(++m_created);
        email.insert("id", id);
        email.insert("threadId", "t-" + id);
        email.insert("blobId", "blob-" + id);
        email.insert("receivedAt", epoch.toString(Qt::ISODate));
        emails.prepend(email);
        created.insert(entry.key(), QJsonObject{{"id", id}, {"threadId", "t-" + id}});
    }
    if (!create.isEmpty())
        extra.insert("created", created);
    QJsonArray destroyed;
    for (const QJsonValue& id : arguments.value("destroy").toArray()) {
        emails.removeIf([&](const QJsonObject& e) { return e.value("id") == id; });
        destroyed.append(id);
    }
    if (arguments.contains("destroy"))
        extra.insert("destroyed", destroyed);
    const QJsonObject patches = arguments.value("update").toObject();
    for (auto patch = patches.constBegin(); patch != patches.constEnd(); ++patch) {
        QJsonObject* target = find(patch.key());
        if (!target)
            continue;
        if (refusing.contains(patch.key())) {
            notUpdated.insert(patch.key(), QJsonObject{{"type", "forbidden"},
                                                       {"description", "refused by the server"}});
            continue;
        }
        const QJsonObject changes = patch.value().toObject();
        for (auto change = changes.constBegin(); change != changes.constEnd(); ++change) {
            const QStringList path = change.key().split('/');
            if (path.size() != 2)
                continue;
            QJsonObject field = target->value(path.at(0)).toObject();
            if (change.value().isNull())
                field.remove(path.at(1));
            else
                field.insert(path.at(1), change.value());
            target->insert(path.at(0), field);
        }
        updated.insert(patch.key(), QJsonValue::Null);
    }
    QJsonObject answer = extra;
    answer.insert("updated", updated);
    if (!notUpdated.isEmpty())
        answer.insert("notUpdated", notUpdated);
    return answer;
}
