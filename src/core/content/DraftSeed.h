#pragma once

#include "mail/EmailAddress.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

enum class ReplyKind
{
    Reply,
    ReplyAll,
    Forward,
};

// The starting content of a reply or forward, before compose adds the signature and turns the
// addresses into field text.
struct DraftSeed
{
    QList<EmailAddress> to;
    QList<EmailAddress> cc;
    QString subject;
    // Leading empty lines, attribution and quote.
    QString body;
    std::optional<QStringList> inReplyTo;
    std::optional<QStringList> references;
    // The email answered, to be marked as answered once sent.
    std::optional<QString> answeredEmailId;

    bool operator==(const DraftSeed&) const = default;
};
