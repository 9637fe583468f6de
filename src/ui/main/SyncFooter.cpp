#include "SyncFooter.h"

#include "app/state/AppState.h"
#include "ui/threads/ViewColors.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

SyncFooter::SyncFooter(AppState* state, QWidget* parent) : QWidget(parent), m_state(state)
{
    setObjectName(QStringLiteral("syncFooter"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    m_label = new QLabel(this);
    m_label->setObjectName(QStringLiteral("syncStatus"));
    QPalette palette = m_label->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    m_label->setPalette(palette);
    QFont font = m_label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    m_label->setFont(font);
    m_bar = new QProgressBar(this);
    m_bar->setObjectName(QStringLiteral("syncActivity"));
    m_bar->setRange(0, 0);
    m_bar->setTextVisible(false);
    m_bar->setFixedHeight(3);
    layout->addWidget(m_label);
    layout->addWidget(m_bar);
    // A status comes and goes with nearly every request: the footer keeps its room for it, so
    // that showing it repaints the footer alone instead of laying out the sidebar again.
    for (QWidget* part : {static_cast<QWidget*>(m_label), static_cast<QWidget*>(m_bar)}) {
        QSizePolicy policy = part->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        part->setSizePolicy(policy);
    }
    QObject::connect(state, &AppState::activityChanged, this, &SyncFooter::showState);
    showState();
}

QString SyncFooter::status() const
{
    if (m_state->activePushes() > 0)
        return tr("Sending changes…");
    if (m_state->activeFetches() > 0)
        return tr("Fetching mail…");
    return QString();
}

void SyncFooter::showState()
{
    const QString text = status();
    if (text == m_label->text() && m_label->isHidden() == text.isEmpty())
        return;
    m_label->setText(text);
    m_bar->setAccessibleName(text);
    m_label->setVisible(!text.isEmpty());
    m_bar->setVisible(!text.isEmpty());
}
