#include "Submission.h"

#include "jmap/JMAPDecoding.h"
#include "jmap/Json.h"

#include <QJsonArray>

std::pair<QString, QString> Release::parameter() const
{
    if (kind == Kind::after)
        return {QStringLiteral("HOLDFOR"), QString::number(seconds)};
    return {QStringLiteral("HOLDUNTIL"), JMAPDecoding::formatDate(date)};
}

qint64 Release::delay(const QDateTime& from) const
{
    if (kind == Kind::after)
        return seconds;
    const qint64 milliseconds = from.msecsTo(date);
    // Integer ceiling of milliseconds / 1000, also for moments already past.
    const qint64 whole = milliseconds / 1000;
    return whole + (milliseconds % 1000 > 0 ? 1 : 0);
}

QJsonObject Envelope::toJson() const
{
    const auto [name, value] = release.parameter();
    QJsonArray recipients;
    for (const QString& address : to)
        recipients.append(QJsonObject{{QStringLiteral("email"), address},
                                      {QStringLiteral("parameters"), QJsonValue::Null}});
    return QJsonObject{{QStringLiteral("mailFrom"),
                        QJsonObject{{QStringLiteral("email"), from},
                                    {QStringLiteral("parameters"), QJsonObject{{name, value}}}}},
                       {QStringLiteral("rcptTo"), recipients}};
}

PendingSubmission PendingSubmission::fromJson(const QJsonObject& object)
{
    PendingSubmission submission;
    submission.id = Json::requiredString(object, QStringLiteral("id"));
    submission.emailId = Json::requiredString(object, QStringLiteral("emailId"));
    submission.sendAt = Json::requiredDate(object, QStringLiteral("sendAt"));
    return submission;
}
