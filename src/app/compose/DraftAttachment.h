#pragma once

#include <QString>
#include <QUrl>
#include <QUuid>

#include <optional>

// A file on its way into a message: a local file not yet uploaded, or bytes already on the
// server (a forward, a reopened draft, or an earlier save).
struct DraftAttachment
{
    QUuid id;
    QString name;
    QString type;
    std::optional<qint64> size;
    // The local source, for a file not yet uploaded.
    std::optional<QUrl> fileUrl;
    // Set once the bytes are on the server.
    std::optional<QString> blobId;

    bool operator==(const DraftAttachment&) const = default;
};
