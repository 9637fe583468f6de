#pragma once

#include "keys/MailAction.h"

#include <QHash>
#include <QWidget>

#include <optional>

class AppState;
class QLabel;
class QLineEdit;
class QPushButton;
struct AppConfig;

// The Keybindings tab: the key of every action as text, with a note on how it will be read.
// Each edit writes the settings file at once; the menus and the shortcuts overlay follow.
class KeybindingSettings : public QWidget
{
    Q_OBJECT
public:
    explicit KeybindingSettings(AppState* state, QWidget* parent = nullptr);

    QLineEdit* field(MailAction action) const { return m_fields.value(action); }
    QLabel* note(MailAction action) const { return m_notes.value(action); }
    QPushButton* resetButton() const { return m_reset; }

    // Another action of the same scope with the same key; the first one in the list wins.
    static std::optional<MailAction> conflict(const AppConfig& config, MailAction action);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void write(MailAction action, const QString& text);
    void showConfig();

    AppState* m_state;
    QHash<int, QLineEdit*> m_fields;
    QHash<int, QLabel*> m_notes;
    QPushButton* m_reset;
};
