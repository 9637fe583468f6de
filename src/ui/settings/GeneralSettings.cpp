#include "GeneralSettings.h"

#include "DefaultMailAppSection.h"
#include "SettingsForm.h"
#include "Stepper.h"
#include "app/state/AppState.h"
#include "ui/desktop/Updater.h"

#include <QCheckBox>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

GeneralSettings::GeneralSettings(AppState* state, Updater* updater, QWidget* parent)
    : QWidget(parent), m_state(state)
{
    QVBoxLayout* column = SettingsForm::scrollingColumn(this);

    column->addWidget(SettingsForm::header(tr("Reading"), this));
    addToggle(column, tr("Mark conversations as read when opened"), &AppConfig::markReadOnOpen,
              QStringLiteral("markReadOnOpen"));
    addToggle(column, tr("Always load remote images"), &AppConfig::loadRemoteImages,
              QStringLiteral("loadRemoteImages"));
    addToggle(column, tr("Group messages by date"), &AppConfig::groupByDate,
              QStringLiteral("groupByDate"));
    addToggle(column, tr("Show avatars"), &AppConfig::showAvatars, QStringLiteral("showAvatars"));
    addToggle(column, tr("Show unread count on the Dock icon"), &AppConfig::showDockBadge,
              QStringLiteral("showDockBadge"));
    addToggle(column, tr("Notify about new mail in the inbox"), &AppConfig::notifyNewMail,
              QStringLiteral("notifyNewMail"));
    addStepper(
        column,
        new Stepper(
            10, 200, 10, [](int n) { return tr("Conversations per page: %1").arg(n); }, this),
        &AppConfig::pageSize, QStringLiteral("pageSize"), tr("Conversations per page"));
    addStepper(column,
               new Stepper(
                   15, 3600, 15, [](int n) { return tr("Refresh every %1 seconds").arg(n); }, this),
               &AppConfig::refreshIntervalSeconds, QStringLiteral("refreshIntervalSeconds"),
               tr("Refresh interval"));

    SettingsForm::addSectionGap(column);
    column->addWidget(SettingsForm::header(tr("Composing"), this));
    addToggle(column, tr("Use Markdown for new messages"), &AppConfig::markdownByDefault,
              QStringLiteral("markdownByDefault"));
    addToggle(column, tr("Treat single newlines as line breaks"), &AppConfig::markdownHardBreaks,
              QStringLiteral("markdownHardBreaks"));
    addStepper(column,
               new Stepper(
                   0, 60, 5,
                   [](int n) {
                       return n == 0 ? tr("Undo Send: off") : tr("Undo Send: %1 seconds").arg(n);
                   },
                   this),
               &AppConfig::undoSendSeconds, QStringLiteral("undoSendSeconds"), tr("Undo Send"));

    SettingsForm::addSectionGap(column);
    m_defaultMailApp = new DefaultMailAppSection(this);
    column->addWidget(m_defaultMailApp);

    if (updater) {
        SettingsForm::addSectionGap(column);
        column->addWidget(SettingsForm::header(tr("Updates"), this));
        m_automaticUpdates = new QCheckBox(tr("Check for updates automatically"), this);
        m_automaticUpdates->setObjectName(QStringLiteral("checksAutomatically"));
        m_automaticUpdates->setChecked(updater->checksAutomatically());
        QObject::connect(m_automaticUpdates, &QCheckBox::toggled, updater,
                         &Updater::setChecksAutomatically);
        QObject::connect(
            updater, &Updater::checksAutomaticallyChanged, m_automaticUpdates,
            [this, updater] { m_automaticUpdates->setChecked(updater->checksAutomatically()); });
        column->addWidget(m_automaticUpdates);
    }

    SettingsForm::addSectionGap(column);
    column->addWidget(SettingsForm::header(tr("Config file"), this));
    auto* fileRow = new QHBoxLayout();
    auto* fileLabel = new QLabel(tr("Location:"), this);
    const QString path = QDir::toNativeSeparators(state->configStore().path());
    // A long path loses its middle; the whole of it is in the accessible name.
    m_configFile = SettingsForm::linkButton(QString(), this);
    m_configFile->setText(m_configFile->fontMetrics().elidedText(path, Qt::ElideMiddle, 360));
    m_configFile->setObjectName(QStringLiteral("configFileButton"));
    m_configFile->setToolTip(tr("Show in File Manager"));
    m_configFile->setAccessibleName(tr("Config file %1").arg(path));
    fileLabel->setBuddy(m_configFile);
    fileRow->addWidget(fileLabel);
    fileRow->addWidget(m_configFile);
    fileRow->addStretch(1);
    column->addLayout(fileRow);
    column->addWidget(
        SettingsForm::footnote(tr("Edits to the file are picked up on the next launch."), this));
    column->addStretch(1);
    QObject::connect(m_configFile, &QToolButton::clicked, this,
                     [this] { m_state->revealConfigFile(); });

    // Other windows change some of these too (the View menu's toggles).
    QObject::connect(state, &AppState::configChanged, this, &GeneralSettings::showConfig);
    showConfig();
}

void GeneralSettings::addToggle(QVBoxLayout* column, const QString& text, bool AppConfig::*key,
                                const QString& name)
{
    auto* box = new QCheckBox(text, this);
    box->setObjectName(name);
    column->addWidget(box);
    m_toggles.append({box, key});
    QObject::connect(box, &QCheckBox::toggled, this, [this, key](bool on) {
        AppConfig config = m_state->config();
        if (config.*key == on)
            return;
        config.*key = on;
        m_state->setConfig(config);
        m_state->saveConfig();
    });
}

void GeneralSettings::addStepper(QVBoxLayout* column, Stepper* stepper, qint64 AppConfig::*key,
                                 const QString& name, const QString& accessibleName)
{
    stepper->setObjectName(name);
    stepper->setAccessibleName(accessibleName);
    stepper->setMinimumWidth(260);
    stepper->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    column->addWidget(stepper, 0, Qt::AlignLeft);
    m_steppers.append({stepper, key});
    // Each step writes the file once.
    QObject::connect(stepper, &Stepper::stepped, this, [this, key](int value) {
        AppConfig config = m_state->config();
        config.*key = value;
        m_state->setConfig(config);
        m_state->saveConfig();
    });
}

void GeneralSettings::showConfig()
{
    const AppConfig& config = m_state->config();
    for (const Toggle& toggle : m_toggles) {
        const QSignalBlocker blocker(toggle.box);
        toggle.box->setChecked(config.*toggle.key);
    }
    for (const Step& step : m_steppers)
        if (step.stepper->value() != config.*step.key)
            step.stepper->display(config.*step.key);
}
