#pragma once

#include "NotificationCenter.h"
#include "mail/MailService.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QSet>

#include <functional>
#include <memory>

class AppState;

// Works out which inbox mail is new and tells the user through the notification centre. The
// server knows nothing of "new": it is what this has not seen since the connection began, so
// mail that was unread before is never announced, neither at start nor after a reconnect.
class MailNotifier : public QObject
{
    Q_OBJECT
public:
    static inline const QString archiveAction = QStringLiteral("archive");
    static inline const QString markReadAction = QStringLiteral("markRead");

    // Without a centre there is nobody to tell, and checks do nothing. `isApplicationActive`
    // says whether a Veldrin window has the focus; absent counts as not.
    MailNotifier(std::shared_ptr<NotificationCenter> center,
                 std::function<bool()> isApplicationActive, QObject* parent = nullptr);

    bool hasCenter() const { return m_center != nullptr; }
    // Answers the notices' buttons and clicks on behalf of `state`.
    void start(AppState* state);
    // A new connection: the query looks back ten minutes, and its first answer is taken as
    // known without a word.
    void reset();
    // Asks for the inbox's unread mail and posts what is new, oldest first, unless the
    // application is active or `isEnabled` is off. Never throws; a failure changes nothing.
    QCoro::Task<> check(std::shared_ptr<MailService> service, QString inbox, bool isEnabled);
    // Takes the notices of these messages away (the user has read them).
    void withdraw(const QStringList& emailIds);

private:
    void post(const Email& email);
    void respond(const QString& action, const QVariantMap& userInfo);

    std::shared_ptr<NotificationCenter> m_center;
    std::function<bool()> m_isApplicationActive;
    QPointer<AppState> m_state;
    QDateTime m_since;
    QSet<QString> m_known;
    bool m_isPrimed = false;
    // Moves at each reset, so that a check that started before it is dropped when it returns.
    quint64 m_generation = 0;
};
