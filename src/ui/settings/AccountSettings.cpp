#include "AccountSettings.h"

#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QCoroTask>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>

namespace {

QCoro::Task<> connectAndReport(QPointer<AppState> state, QPointer<AccountSettings> view,
                               std::function<void()> done)
{
    if (state)
        co_await state->connect();
    if (view)
        done();
}

} // namespace

AccountSettings::AccountSettings(AppState* state, QWidget* parent) : QWidget(parent), m_state(state)
{
    auto* form = new QFormLayout(this);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    auto* help = new QLabel(
        tr("Create a token in Fastmail under Settings → Privacy & Security → Manage API tokens, "
           "with access to Email, Email submission, Masked Email and Contacts. It is stored in "
           "your login keychain."),
        this);
    help->setWordWrap(true);
    help->setForegroundRole(QPalette::PlaceholderText);
    form->addRow(help);

    m_token = new QLineEdit(this);
    m_token->setObjectName(QStringLiteral("tokenField"));
    m_token->setEchoMode(QLineEdit::Password);
    m_token->setAccessibleName(tr("API token"));
    form->addRow(tr("API token"), m_token);

    m_sessionUrl = new QLineEdit(state->config().sessionUrl, this);
    m_sessionUrl->setObjectName(QStringLiteral("sessionUrlField"));
    m_sessionUrl->setAccessibleName(tr("JMAP session URL"));
    form->addRow(tr("JMAP session URL"), m_sessionUrl);
    // Every change counts, typed or not: pasted, undone, or set by dictation or a braille
    // display through the accessibility interface.
    QObject::connect(m_sessionUrl, &QLineEdit::textChanged, this, &AccountSettings::takeSessionUrl);

    auto* statusRow = new QWidget(this);
    auto* statusLayout = new QHBoxLayout(statusRow);
    statusLayout->setContentsMargins(0, 0, 0, 0);
    m_progress = new QProgressBar(statusRow);
    m_progress->setRange(0, 0);
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(120);
    m_progress->setAccessibleName(tr("Connecting"));
    m_statusIcon = new QLabel(statusRow);
    m_statusIcon->setObjectName(QStringLiteral("connectionStatusIcon"));
    m_status = new QLabel(statusRow);
    m_status->setObjectName(QStringLiteral("connectionStatus"));
    m_status->setWordWrap(true);
    m_status->setTextFormat(Qt::PlainText);
    m_status->setTextInteractionFlags(Qt::TextSelectableByMouse);
    statusLayout->addWidget(m_progress);
    statusLayout->addWidget(m_statusIcon);
    statusLayout->addWidget(m_status, 1);
    form->addRow(statusRow);

    auto* buttons = new QHBoxLayout();
    m_remove = new QPushButton(tr("Remove Token"), this);
    m_remove->setObjectName(QStringLiteral("removeTokenButton"));
    m_remove->setStyleSheet(QStringLiteral("color: #c62828;"));
    // Return never removes the token, not even with the focus on this button.
    m_remove->setAutoDefault(false);
    m_remove->setDefault(false);
    m_save = new QPushButton(tr("Save && Connect"), this);
    m_save->setObjectName(QStringLiteral("saveConnectButton"));
    m_save->setDefault(true);
    m_save->setAutoDefault(true);
    buttons->addWidget(m_remove);
    buttons->addStretch(1);
    buttons->addWidget(m_save);
    form->addRow(buttons);

    // Return in a field reaches the window's default button, this one; the fields do not
    // answer it themselves, or one press would connect twice.
    QObject::connect(m_save, &QPushButton::clicked, this, &AccountSettings::saveAndConnect);
    QObject::connect(m_remove, &QPushButton::clicked, this, &AccountSettings::removeToken);

    for (auto signal : {&AppState::hasTokenChanged, &AppState::isConnectedChanged,
                        &AppState::errorMessageChanged, &AppState::accountNameChanged})
        QObject::connect(state, signal, this, &AccountSettings::refresh);
    QObject::connect(state, &AppState::configChanged, this, [this] {
        if (m_sessionUrl->text() != m_state->config().sessionUrl)
            m_sessionUrl->setText(m_state->config().sessionUrl);
    });
    refresh();
}

void AccountSettings::saveAndConnect()
{
    const QString typed = m_token->text();
    if (!typed.isEmpty()) {
        if (!m_state->saveToken(typed.trimmed())) {
            m_state->setErrorMessage(tr("Could not store the token in the keychain."));
            return;
        }
    }
    // The secret leaves the field at once.
    m_token->clear();
    takeSessionUrl(m_sessionUrl->text());
    m_state->saveConfig();
    runConnect();
}

void AccountSettings::removeToken()
{
    m_state->saveToken(QString());
    runConnect();
}

void AccountSettings::focusTokenField()
{
    m_token->setFocus(Qt::OtherFocusReason);
}

void AccountSettings::takeSessionUrl(const QString& text)
{
    if (m_state->config().sessionUrl == text)
        return;
    AppConfig config = m_state->config();
    config.sessionUrl = text;
    m_state->setConfig(config);
}

void AccountSettings::runConnect()
{
    // A yes or no, not a count: the first connection to end clears it, even while a second
    // press still has one running.
    m_connecting = true;
    refresh();
    connectAndReport(m_state, this, [this] {
        m_connecting = false;
        refresh();
    });
}

void AccountSettings::refresh()
{
    m_token->setPlaceholderText(m_state->hasToken() ? tr("Saved in Keychain")
                                                    : QStringLiteral("fmu1-…"));
    m_remove->setVisible(m_state->hasToken());

    QString icon;
    QString text;
    QString color;
    if (isConnecting()) {
        text.clear();
    } else if (m_state->isConnected()) {
        icon = QStringLiteral("checkmark.circle.fill");
        text = tr("Connected as %1").arg(m_state->accountName().value_or(tr("unknown")));
    } else if (m_state->errorMessage()) {
        icon = QStringLiteral("exclamationmark.triangle");
        text = *m_state->errorMessage();
        color = QStringLiteral("#c62828");
    } else {
        text = tr("Not connected");
    }
    m_progress->setVisible(isConnecting());
    m_statusIcon->setVisible(!icon.isEmpty());
    if (!icon.isEmpty())
        m_statusIcon->setPixmap(Icons::icon(icon).pixmap(16, 16));
    m_statusIcon->setAccessibleName(m_state->isConnected() ? tr("Connected") : tr("Error"));
    m_status->setVisible(!isConnecting());
    m_status->setText(text);
    m_status->setStyleSheet(color.isEmpty() ? QString() : QStringLiteral("color: %1;").arg(color));
}
