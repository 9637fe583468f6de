#pragma once

#include "keys/MailAction.h"
#include "mail/Email.h"

#include <QMenu>

#include <functional>
#include <optional>

class AppState;

// The menu of a thread row or a message header: answer, file away and mark, each item with
// its key, and the raw source when one message is at hand. Answering needs that one message;
// the other groups act on everything that was hit.
class MessageContextMenu : public QMenu
{
    Q_OBJECT
public:
    MessageContextMenu(AppState* state, const std::optional<Email>& email,
                       std::function<void(MailAction)> perform, QWidget* parent = nullptr);

    QAction* action(MailAction action) const;
};
