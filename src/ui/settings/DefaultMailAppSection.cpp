#include "DefaultMailAppSection.h"

#include "SettingsForm.h"
#include "ui/desktop/DefaultMailApp.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

DefaultMailAppSection::DefaultMailAppSection(QWidget* parent)
    : QWidget(parent), m_service(new DefaultMailApp(this))
{
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addWidget(SettingsForm::header(tr("Default email app"), this));

    auto* row = new QHBoxLayout();
    m_value = new QLabel(this);
    m_value->setObjectName(QStringLiteral("defaultAppName"));
    m_value->setTextFormat(Qt::PlainText);
    m_makeDefault = SettingsForm::button(tr("Make Veldrin the Default"), this);
    m_makeDefault->setObjectName(QStringLiteral("makeDefaultButton"));
    row->addWidget(m_value, 1);
    row->addWidget(m_makeDefault);
    column->addLayout(row);

    m_caption = new QLabel(tr("The desktop did not change the default email app."), this);
    m_caption->setObjectName(QStringLiteral("defaultAppFailure"));
    m_caption->setWordWrap(true);
    m_caption->setStyleSheet(QStringLiteral("color: %1;").arg(SettingsForm::errorColor));
    column->addWidget(m_caption);

    QObject::connect(m_makeDefault, &QPushButton::clicked, m_service,
                     [this] { m_service->makeDefault(); });
    QObject::connect(m_service, &DefaultMailApp::changed, this, &DefaultMailAppSection::showState);
    showState();
}

void DefaultMailAppSection::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!m_service->isChanging())
        m_service->readDefault();
}

void DefaultMailAppSection::showState()
{
    const bool isVeldrin = m_service->isVeldrin();
    if (isVeldrin)
        m_value->setText(QStringLiteral("Veldrin"));
    else if (m_service->defaultApp())
        m_value->setText(m_service->displayName());
    else
        m_value->setText(tr("None"));
    // Read out with what it is about, since the title stands apart.
    m_value->setAccessibleName(tr("Default email app: %1").arg(m_value->text()));
    m_value->setForegroundRole(isVeldrin ? QPalette::WindowText : QPalette::PlaceholderText);
    m_makeDefault->setVisible(!isVeldrin);
    m_makeDefault->setEnabled(!m_service->isChanging());
    m_caption->setVisible(m_service->failed());
}
