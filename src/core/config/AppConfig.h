#pragma once

#include "keys/KeyBinding.h"
#include "keys/MailAction.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

// Every user preference, mirrored one to one in the settings file. The field names are the
// file's keys. The API token is deliberately not here: it lives in the keychain.
struct AppConfig
{
    // The service's public JMAP session endpoint.
    QString sessionUrl = QStringLiteral("https://api.fastmail.com/jmap/session");
    // The integers are read as they stand, in 64 bits, so that one absurd value does not cost
    // the user every other setting; each is clamped where it is used.
    qint64 pageSize = 50;
    // Floored where the refresh loop uses it, not here, so the file keeps what the user wrote.
    qint64 refreshIntervalSeconds = 60;
    bool loadRemoteImages = false;
    bool markReadOnOpen = true;
    bool markdownByDefault = true;
    bool markdownHardBreaks = true;
    bool groupByDate = false;
    bool showAvatars = true;
    bool showDockBadge = true;
    bool notifyNewMail = true;
    // 0 switches undo send off.
    qint64 undoSendSeconds = 10;
    QStringList hideWhenEmpty;
    // Only set when the user picked a spam mailbox other than the server's junk mailbox.
    std::optional<QString> spamMailboxId;
    QStringList showTotalCount;
    QStringList collapsedMailboxes;
    QStringList mailboxOrder;
    // Action raw value to binding text; "" leaves an action unbound. Entries naming no action
    // are kept, so a newer version's bindings survive a round trip through an older one.
    QMap<QString, QString> keybindings = defaultKeybindings();

    bool operator==(const AppConfig&) const = default;

    // Each action's raw value to its default binding text.
    static const QMap<QString, QString>& defaultKeybindings();

    // The action's binding; absent when it is unbound or its text does not parse.
    std::optional<KeyBinding> binding(MailAction action) const;

    // Lenient per key, strict per value: a missing or null key keeps its default, a value of
    // the wrong type throws DecodeError. Stored keybindings are laid over the defaults.
    static AppConfig fromJson(const QJsonObject& object);
    // Every key; spamMailboxId only when present.
    QJsonObject toJson() const;
};
