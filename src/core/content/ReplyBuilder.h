#pragma once

#include "DraftSeed.h"
#include "mail/Email.h"

#include <QLocale>
#include <QSet>
#include <QString>
#include <QTimeZone>

// Recipients, subject, quoted body and threading headers of a reply, a reply to all or a
// forward. Never fails: a message missing any field still gives a seed.
namespace ReplyBuilder {

// `ownAddresses` are the user's identity addresses, lower-cased. Dates in the attribution and
// the forward block are written in `locale` and `timeZone`.
DraftSeed seed(ReplyKind kind, const Email& email, const QSet<QString>& ownAddresses,
               const QLocale& locale = QLocale(),
               const QTimeZone& timeZone = QTimeZone::systemTimeZone());

} // namespace ReplyBuilder
