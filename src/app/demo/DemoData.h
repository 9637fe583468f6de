#pragma once

#include "directory/Contact.h"
#include "directory/MaskedEmail.h"
#include "jmap/Identity.h"
#include "jmap/Mailbox.h"
#include "mail/Email.h"
#include "mail/EmailAddress.h"
#include "mail/MailThread.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>

#include <optional>

// Made-up data for running the interface without an account. Addresses are at reserved
// example domains only; dates are relative to `now` so that the data always looks recent.
namespace DemoData {

// Whether the process runs in demo mode: the environment has VELDRIN_DEMO, whatever its value.
bool isDemo();

QString accountName();
// The account's sending address, with a signature.
QList<Identity> identities();
QList<Mailbox> mailboxes();
QList<Contact> contacts();
QList<MaskedEmail> maskedEmails(const QDateTime& now);
// The people who write in the demo mail, for address suggestions.
QList<EmailAddress> senders();
// The threads of all demo mailboxes, newest first, with full messages (bodies, attachments, an
// inline image), dated relative to `now`.
QList<MailThread> threads(const QDateTime& now);
// The bytes of a demo attachment or inline image; absent for other blob ids.
std::optional<QByteArray> blob(const QString& blobId);
// The raw text of a demo message: sender, subject, a content type and the plain text.
QString source(const Email& email);

} // namespace DemoData
