#include "KeybindingSettings.h"

#include "SettingsForm.h"
#include "app/state/AppState.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

KeybindingSettings::KeybindingSettings(AppState* state, QWidget* parent)
    : QWidget(parent), m_state(state)
{
    QVBoxLayout* column = SettingsForm::scrollingColumn(this);

    auto* header = new QHBoxLayout();
    header->addWidget(SettingsForm::header(tr("Keybindings"), this));
    header->addStretch(1);
    m_reset = SettingsForm::button(tr("Reset to Defaults"), this);
    m_reset->setObjectName(QStringLiteral("resetKeybindingsButton"));
    header->addWidget(m_reset);
    column->addLayout(header);
    QObject::connect(m_reset, &QPushButton::clicked, this, [this] {
        AppConfig config = m_state->config();
        config.keybindings = AppConfig::defaultKeybindings();
        m_state->setConfig(config);
        m_state->saveConfig();
    });

    auto* grid = new QGridLayout();
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (MailAction action : MailAction::allCases()) {
        // A label with a buddy reads "&" as a mnemonic: "Send & Archive" must keep it.
        auto* title = new QLabel(QString(action.title()).replace(u'&', QStringLiteral("&&")), this);
        title->setTextFormat(Qt::PlainText);
        auto* note = new QLabel(this);
        note->setObjectName(QStringLiteral("note:") + action.rawValue());
        note->setTextFormat(Qt::PlainText);
        note->setWordWrap(true);
        auto* field = new QLineEdit(this);
        field->setObjectName(QStringLiteral("key:") + action.rawValue());
        field->setAccessibleName(tr("Key for %1").arg(action.title()));
        field->setPlaceholderText(tr("No key"));
        field->setFixedWidth(120);
        field->installEventFilter(this);
        title->setBuddy(field);
        grid->addWidget(title, row, 0);
        grid->addWidget(note, row, 1);
        grid->addWidget(field, row, 2);
        m_fields.insert(action, field);
        m_notes.insert(action, note);
        // Each edit counts, typed, pasted or set by assistive technology.
        QObject::connect(field, &QLineEdit::textChanged, this,
                         [this, action](const QString& text) { write(action, text); });
        ++row;
    }
    column->addLayout(grid);
    column->addWidget(SettingsForm::footnote(
        tr("Write a key such as e, !, / or escape, optionally with modifiers: cmd+shift+m, "
           "ctrl+enter. Keys without cmd or ctrl are ignored while typing. Leave a field empty "
           "to disable it."),
        this));
    column->addStretch(1);

    QObject::connect(state, &AppState::configChanged, this, &KeybindingSettings::showConfig);
    showConfig();
}

std::optional<MailAction> KeybindingSettings::conflict(const AppConfig& config, MailAction action)
{
    const auto binding = config.binding(action);
    if (!binding)
        return std::nullopt;
    for (MailAction other : MailAction::allCases())
        if (other != action && other.scope() == action.scope() && config.binding(other) == binding)
            return other;
    return std::nullopt;
}

bool KeybindingSettings::eventFilter(QObject* watched, QEvent* event)
{
    // Return in a key field ends the edit, which is already saved; it is not passed on to
    // any button of the window.
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter)
            return true;
    }
    return QWidget::eventFilter(watched, event);
}

void KeybindingSettings::write(MailAction action, const QString& text)
{
    AppConfig config = m_state->config();
    if (config.keybindings.value(action.rawValue()) == text &&
        config.keybindings.contains(action.rawValue()))
        return;
    // Stored as written; it is read when a key is pressed, which the note beside shows.
    config.keybindings.insert(action.rawValue(), text);
    m_state->setConfig(config);
    m_state->saveConfig();
}

void KeybindingSettings::showConfig()
{
    const AppConfig& config = m_state->config();
    for (MailAction action : MailAction::allCases()) {
        QLineEdit* field = m_fields.value(action);
        const QString text = config.keybindings.value(action.rawValue());
        if (field->text() != text) {
            const QSignalBlocker blocker(field);
            field->setText(text);
        }
        const auto binding = config.binding(action);
        QLabel* note = m_notes.value(action);
        QString color;
        if (!text.isEmpty() && !binding) {
            note->setText(tr("not a valid key"));
            color = QString::fromLatin1(SettingsForm::errorColor);
        } else if (const auto other = conflict(config, action)) {
            note->setText(tr("also %1").arg(other->title()));
            color = QString::fromLatin1(SettingsForm::warningColor);
        } else {
            note->setText(binding ? binding->display() : QString());
        }
        field->setAccessibleDescription(note->text());
        // A warning in its own colour; the plain reading of the key in the secondary one.
        note->setStyleSheet(color.isEmpty() ? QString() : QStringLiteral("color: %1;").arg(color));
        note->setForegroundRole(color.isEmpty() ? QPalette::PlaceholderText : QPalette::WindowText);
    }
}
