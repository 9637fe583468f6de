#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

// One method call or one method response of a JMAP batch: [name, arguments, callId] on the wire.
struct Invocation
{
    QString name;
    QJsonObject arguments;
    QString callId;

    bool operator==(const Invocation&) const = default;
};

// The arguments of the response with this call id. Throws JMAPError::malformed when there is
// none, and JMAPError::method when the server answered that call with an "error".
QJsonObject arguments(const QList<Invocation>& responses, const QString& callId);

// A JMAP result reference, written under "#<argument>" by the caller.
QJsonObject resultReference(const QString& resultOf, const QString& name, const QString& path);
