#pragma once

#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

// Everything of a draft that would go to the server, to tell whether it changed. The preview
// and the suggestion popup are not part of it; the order of attachments is.
struct DraftContent
{
    std::optional<QString> identityId;
    QString to;
    QString cc;
    QString bcc;
    QString subject;
    QString body;
    bool isMarkdown = false;
    QList<QUuid> attachmentIds;

    bool operator==(const DraftContent&) const = default;
};
