#include "MessageContextMenu.h"

#include "app/state/AppState.h"
#include "ui/main/MainMenus.h"

MessageContextMenu::MessageContextMenu(AppState* state, const std::optional<Email>& email,
                                       std::function<void(MailAction)> perform, QWidget* parent)
    : QMenu(parent)
{
    setObjectName(QStringLiteral("messageContextMenu"));
    for (int group = 0; group < 3; ++group) {
        for (MailAction mailAction : MainMenus::groups().at(group)) {
            QAction* item = addAction(MainMenus::itemText(state, mailAction));
            item->setObjectName(mailAction.rawValue());
            item->setEnabled(group > 0 || email.has_value());
            QObject::connect(item, &QAction::triggered, this,
                             [perform, mailAction] { perform(mailAction); });
        }
        addSeparator();
    }
    if (email) {
        QAction* raw = addAction(tr("Show Raw Message"));
        raw->setObjectName(QStringLiteral("showRawMessage"));
        QObject::connect(raw, &QAction::triggered, state,
                         [state, message = *email] { state->showRawMessage(message); });
    }
}

QAction* MessageContextMenu::action(MailAction mailAction) const
{
    return findChild<QAction*>(mailAction.rawValue(), Qt::FindDirectChildrenOnly);
}
