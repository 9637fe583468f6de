#include "Invocation.h"

#include "Errors.h"

QJsonObject arguments(const QList<Invocation>& responses, const QString& callId)
{
    for (const Invocation& response : responses) {
        if (response.callId != callId)
            continue;
        if (response.name == u"error") {
            const QJsonValue type = response.arguments.value(QStringLiteral("type"));
            const QJsonValue description = response.arguments.value(QStringLiteral("description"));
            throw JMAPError::method(type.isString() ? type.toString() : QStringLiteral("unknown"),
                                    description.isString() ? description.toString() : QString());
        }
        return response.arguments;
    }
    throw JMAPError::malformed(QStringLiteral("no response for call %1").arg(callId));
}

QJsonObject resultReference(const QString& resultOf, const QString& name, const QString& path)
{
    return QJsonObject{{QStringLiteral("resultOf"), resultOf},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("path"), path}};
}
