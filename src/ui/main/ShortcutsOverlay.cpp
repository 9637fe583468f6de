#include "ShortcutsOverlay.h"

#include "MainMenus.h"
#include "app/state/AppState.h"
#include "mail/SearchQuery.h"
#include "ui/threads/ViewColors.h"

#include <QAccessible>
#include <QEvent>
#include <QFontDatabase>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QVBoxLayout>

namespace {

QLabel* label(const QString& text, QWidget* parent, qreal scale = 1.0, int weight = -1)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    QFont font = label->font();
    if (scale != 1.0)
        font.setPointSizeF(font.pointSizeF() * scale);
    if (weight > 0)
        font.setWeight(QFont::Weight(weight));
    label->setFont(font);
    return label;
}

QLabel* secondary(const QString& text, QWidget* parent)
{
    QLabel* result = label(text, parent);
    QPalette palette = result->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    result->setPalette(palette);
    return result;
}

QLabel* keyLabel(const QString& text, QWidget* parent)
{
    QLabel* result = label(text, parent);
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    mono.setPointSizeF(result->font().pointSizeF() * 0.95);
    result->setFont(mono);
    result->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return result;
}

// One column: a title, then its groups of "<title>  <key>" rows with some air between groups.
QWidget* column(AppState* state, const QString& title, const QList<QList<MailAction>>& groups,
                QWidget* parent)
{
    auto* box = new QWidget(parent);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(label(title, box, 1.1, QFont::DemiBold));
    for (const QList<MailAction>& group : groups) {
        auto* grid = new QGridLayout();
        grid->setHorizontalSpacing(24);
        grid->setVerticalSpacing(3);
        int row = 0;
        for (MailAction action : group) {
            grid->addWidget(label(action.title(), box), row, 0);
            grid->addWidget(keyLabel(state->config().binding(action)->display(), box), row, 1);
            ++row;
        }
        grid->setColumnStretch(0, 1);
        layout->addLayout(grid);
    }
    return box;
}

} // namespace

ShortcutsOverlay::ShortcutsOverlay(AppState* state, QWidget* parent)
    : QWidget(parent), m_state(state)
{
    setObjectName(QStringLiteral("shortcutsOverlay"));
    setAccessibleName(tr("Keyboard Shortcuts"));
    setAttribute(Qt::WA_NoSystemBackground);
    auto* panel = new QFrame(this);
    panel->setFrameShape(QFrame::StyledPanel);
    m_panel = panel;
    m_panel->setObjectName(QStringLiteral("shortcutsPanel"));
    m_panel->setAutoFillBackground(true);
    m_panel->setBackgroundRole(QPalette::Window);
    auto* panelLayout = new QVBoxLayout(m_panel);
    panelLayout->setContentsMargins(28, 22, 28, 22);
    parent->installEventFilter(this);
    QObject::connect(state, &AppState::showsShortcutsChanged, this, &ShortcutsOverlay::showState);
    QObject::connect(state, &AppState::configChanged, this, [this] {
        if (isVisible())
            rebuild();
    });
    hide();
    showState();
}

QString ShortcutsOverlay::howTo(AppState* state)
{
    const auto binding = state->config().binding(MailAction::Search);
    const QString start = binding ? tr("Press %1 or click the search field").arg(binding->display())
                                  : tr("Click the search field");
    return start + tr(", type and press Return. Searches the current folder; terms combine, so "
                      "every one must match. Esc goes back to the list.");
}

QList<QList<MailAction>> ShortcutsOverlay::mailGroups(AppState* state)
{
    QList<QList<MailAction>> groups = MainMenus::groups();
    groups << QList<MailAction>{MailAction::Compose, MailAction::ShowShortcuts};
    QList<QList<MailAction>> bound;
    for (const QList<MailAction>& group : std::as_const(groups)) {
        QList<MailAction> kept;
        for (MailAction action : group)
            if (state->config().binding(action))
                kept << action;
        if (!kept.isEmpty())
            bound << kept;
    }
    return bound;
}

QList<MailAction> ShortcutsOverlay::composeGroup(AppState* state)
{
    QList<MailAction> actions;
    for (MailAction action : MailAction::allCases())
        if (action.scope() == MailAction::Scope::Compose && state->config().binding(action))
            actions << action;
    return actions;
}

void ShortcutsOverlay::showState()
{
    if (!m_state->showsShortcuts()) {
        hide();
        return;
    }
    setGeometry(parentWidget()->rect());
    rebuild();
    show();
    raise();
    if (QAccessible::isActive()) {
        QAccessibleEvent event(this, QAccessible::DialogStart);
        QAccessible::updateAccessibility(&event);
    }
}

void ShortcutsOverlay::rebuild()
{
    delete m_content;
    m_content = new QWidget(m_panel);
    m_panel->layout()->addWidget(m_content);
    auto* layout = new QVBoxLayout(m_content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(16);
    QLabel* heading = label(tr("Keyboard Shortcuts"), m_content, 1.5, QFont::Bold);
    heading->setObjectName(QStringLiteral("shortcutsHeading"));
    layout->addWidget(heading);

    auto* columns = new QHBoxLayout();
    columns->setSpacing(48);
    columns->addWidget(column(m_state, tr("Mail"), mailGroups(m_state), m_content), 0,
                       Qt::AlignTop);

    // Compose, and the search guide below it.
    auto* right = new QWidget(m_content);
    auto* rightLayout = new QVBoxLayout(right);
    rightLayout->setContentsMargins(0, 0, 0, 0);
    rightLayout->setSpacing(16);
    const QList<MailAction> compose = composeGroup(m_state);
    rightLayout->addWidget(column(
        m_state, tr("Compose"),
        compose.isEmpty() ? QList<QList<MailAction>>() : QList<QList<MailAction>>{compose}, right));
    auto* guide = new QWidget(right);
    guide->setObjectName(QStringLiteral("searchGuide"));
    auto* guideLayout = new QVBoxLayout(guide);
    guideLayout->setContentsMargins(0, 0, 0, 0);
    guideLayout->setSpacing(8);
    guideLayout->addWidget(label(tr("Search"), guide, 1.1, QFont::DemiBold));
    QLabel* how = secondary(howTo(m_state), guide);
    how->setWordWrap(true);
    how->setMaximumWidth(380);
    guideLayout->addWidget(how);
    auto* grid = new QGridLayout();
    grid->setHorizontalSpacing(18);
    grid->setVerticalSpacing(3);
    for (int row = 0; row < SearchQuery::guide.size(); ++row) {
        QLabel* example = keyLabel(SearchQuery::guide.at(row).example, guide);
        example->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        grid->addWidget(example, row, 0);
        grid->addWidget(label(SearchQuery::guide.at(row).meaning, guide), row, 1);
    }
    grid->setColumnStretch(1, 1);
    guideLayout->addLayout(grid);
    guideLayout->addWidget(
        secondary(tr("Example: from:anna has:attachment after:2026-09-01"), guide));
    rightLayout->addWidget(guide);
    rightLayout->addStretch(1);
    columns->addWidget(right, 0, Qt::AlignTop);
    layout->addLayout(columns);

    QLabel* footer = secondary(tr("Change them in Settings. Press any key to close."), m_content);
    footer->setAlignment(Qt::AlignCenter);
    layout->addWidget(footer);
    m_panel->adjustSize();
    m_panel->move((width() - m_panel->width()) / 2, qMax(0, (height() - m_panel->height()) / 2));
}

void ShortcutsOverlay::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 130));
}

void ShortcutsOverlay::mousePressEvent(QMouseEvent* event)
{
    event->accept();
    m_state->setShowsShortcuts(false);
}

bool ShortcutsOverlay::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) {
        setGeometry(parentWidget()->rect());
        m_panel->move((width() - m_panel->width()) / 2,
                      qMax(0, (height() - m_panel->height()) / 2));
    }
    return QWidget::eventFilter(watched, event);
}
