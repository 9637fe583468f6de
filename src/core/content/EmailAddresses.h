#pragma once

#include "mail/EmailAddress.h"

#include <QList>
#include <QString>

// Reading and writing the free text of a recipient field, and the display forms of an address.
namespace EmailAddresses {

// Every address in the text, in order, duplicates kept. Entries are separated by commas,
// semicolons or line feeds outside quotes and angle brackets; what does not parse is dropped.
QList<EmailAddress> parseList(const QString& text);

// The entry the user is still typing: the last one, trimmed.
QString unfinishedEntry(const QString& text);

// The text with its last entry replaced by `address`, ready for the next one (ends in ", ").
QString completing(const QString& text, const EmailAddress& address);

// The form that parseList() reads back: names with a comma, semicolon or angle are quoted.
QString listEntry(const EmailAddress& address);
// "Name <email>", or the email; for display only.
QString formatted(const EmailAddress& address);
// The name, or the email when there is none.
QString displayName(const EmailAddress& address);
// One or two upper-case letters for an avatar, or "?".
QString initials(const EmailAddress& address);
// A hue in [0, 1) from the lower-cased email, the same on every machine.
double avatarHue(const EmailAddress& address);

} // namespace EmailAddresses
