#pragma once

#include "mail/Email.h"

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

// Fetches the bytes of one inline part (a cid: image); may throw.
using InlinePartLoader = std::function<QCoro::Task<QByteArray>(BodyPart)>;

// One document shown by one mail web view, as the shared profile sees it: the token its URLs
// carry, the message's inline parts and how to fetch them, and whether its policy lets remote
// content in. A large document also keeps its bytes here, since it is served through our scheme.
struct MailDocument
{
    QString token;
    QByteArray html;
    QList<BodyPart> inlineParts;
    InlinePartLoader loader;
    bool remoteContentAllowed = false;
};

namespace MailDocuments {

// Whether the document's own Content-Security-Policy admits http or https sources. A document
// without a policy counts as not allowing remote content.
bool remoteContentAllowed(const QString& html);

// The inline part with this content id; angle brackets around either side do not matter.
std::optional<BodyPart> inlinePart(const QList<BodyPart>& parts, const QString& contentId);

} // namespace MailDocuments
