#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// One notice for the desktop's notification centre.
struct NotificationRequest
{
    struct Action
    {
        QString identifier;
        QString title;
        bool operator==(const Action&) const = default;
    };

    // Names the notice, so that it can be withdrawn later.
    QString identifier;
    QString title;
    QString subtitle;
    QString body;
    // Notices of one conversation belong together, where the desktop can group them.
    QString threadIdentifier;
    // Buttons, in order; the desktop may not show them.
    QList<Action> actions;
    // Comes back with the user's response.
    QVariantMap userInfo;

    bool operator==(const NotificationRequest&) const = default;
};

// The desktop's notification centre as the new-mail notifier uses it: the session bus's
// notification service in the program, a recorder in tests.
class NotificationCenter : public QObject
{
    Q_OBJECT
public:
    // The response of a click on the notice itself rather than one of its buttons.
    static inline const QString defaultAction = QStringLiteral("default");

    using QObject::QObject;

    // Shows the notice now.
    virtual void post(const NotificationRequest& request) = 0;
    // Takes the notices with these identifiers away, as far as they are still on show.
    virtual void withdraw(const QStringList& identifiers) = 0;

Q_SIGNALS:
    // The user clicked a notice (defaultAction) or one of its buttons.
    void responded(const QString& action, const QVariantMap& userInfo);
};
