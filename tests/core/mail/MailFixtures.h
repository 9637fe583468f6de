#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

// Small builders for the JSON that the fake server answers with.
namespace MailFixtures {

inline QJsonValue parse(const char* text)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(text), &error);
    if (error.error != QJsonParseError::NoError)
        qFatal("bad JSON in test: %s", text);
    return document.isArray() ? QJsonValue(document.array()) : QJsonValue(document.object());
}

inline QJsonObject object(const char* text)
{
    return parse(text).toObject();
}

inline QJsonArray array(const char* text)
{
    return parse(text).toArray();
}

// A summary email as the server sends it for a list row.
inline QJsonObject summaryEmail(const QString& id, const QString& threadId,
                                const QString& fromEmail = QStringLiteral("anna@example.com"),
                                bool seen = true)
{
    return QJsonObject{
        {"id", id},
        {"threadId", threadId},
        {"blobId", "B" + id},
        {"mailboxIds", QJsonObject{{"inbox", true}}},
        {"keywords", seen ? QJsonObject{{"$seen", true}} : QJsonObject{}},
        {"from", QJsonArray{QJsonObject{{"name", "Anna"}, {"email", fromEmail}}}},
        {"to", QJsonArray{QJsonObject{{"name", QJsonValue::Null}, {"email", "me@example.com"}}}},
        {"subject", "Subject of " + id},
        {"receivedAt", "2026-11-20T08:15:30Z"},
        {"preview", "Preview of " + id},
        {"hasAttachment", false},
        {"messageId", QJsonArray{id + "@example.com"}}};
}

inline QJsonObject list(const QJsonArray& records)
{
    return QJsonObject{{"accountId", "u1"}, {"list", records}, {"notFound", QJsonArray{}}};
}

} // namespace MailFixtures
