#pragma once

#include "directory/Contact.h"
#include "directory/MaskedEmail.h"
#include "jmap/Mailbox.h"
#include "mail/EmailAddress.h"

#include <QDateTime>
#include <QList>

// Made-up data for running the interface without an account. Addresses are at reserved
// example domains only; dates are relative to `now` so that the data always looks recent.
namespace DemoData {

// Whether the process runs in demo mode: the environment has VELDRIN_DEMO, whatever its value.
bool isDemo();

QString accountName();
QList<Mailbox> mailboxes();
QList<Contact> contacts();
QList<MaskedEmail> maskedEmails(const QDateTime& now);
// The people who write in the demo mail, for address suggestions.
QList<EmailAddress> senders();

} // namespace DemoData
