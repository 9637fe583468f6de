#pragma once

#include "OutgoingMessage.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// An invitation answer as a whole MIME message, for servers that will not put a METHOD on a
// part they build themselves: a text part and a "text/calendar; method=..." part side by side.
namespace CalendarMail {

// The message of `message` (which must carry a calendar), dated `date`, with this Message-ID
// (without angle brackets). Every header value is kept to one line, whatever the text holds.
QByteArray mime(const OutgoingMessage& message, const QDateTime& date, const QString& messageId);

} // namespace CalendarMail
