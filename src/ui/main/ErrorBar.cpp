#include "ErrorBar.h"

#include "app/state/AppState.h"
#include "ui/desktop/Icons.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace {

// A screen reader meets the bar as an alert, named by its message.
QAccessibleInterface* alertFactory(const QString& className, QObject* object)
{
    if (className == QLatin1String("ErrorBar") && object->isWidgetType())
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::AlertMessage);
    return nullptr;
}

} // namespace

ErrorBar::ErrorBar(AppState* state, QWidget* parent)
    : ErrorBar([state] { return state->errorMessage().value_or(QString()); },
               [state] { state->setErrorMessage(std::nullopt); }, parent)
{
    QObject::connect(state, &AppState::errorMessageChanged, this, &ErrorBar::refresh);
}

ErrorBar::ErrorBar(std::function<QString()> read, std::function<void()> clear, QWidget* parent)
    : QWidget(parent), m_read(std::move(read)), m_clear(std::move(clear))
{
    static const bool factoryInstalled = [] {
        QAccessible::installFactory(alertFactory);
        return true;
    }();
    Q_UNUSED(factoryInstalled);
    setObjectName(QStringLiteral("errorBar"));
    setAttribute(Qt::WA_StyledBackground, true);
    setStyleSheet(QStringLiteral("#errorBar { background: palette(alternate-base); "
                                 "border-bottom: 1px solid palette(mid); }"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(12, 6, 8, 6);
    auto* icon = new QLabel(this);
    icon->setAccessibleName(tr("Warning"));
    icon->setPixmap(Icons::icon(QStringLiteral("exclamationmark.triangle.fill")).pixmap(16, 16));
    m_message = new QLabel(this);
    m_message->setObjectName(QStringLiteral("errorMessage"));
    m_message->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_message->setWordWrap(true);
    m_message->setTextFormat(Qt::PlainText);
    auto* dismissButton = new QPushButton(tr("Dismiss"), this);
    dismissButton->setObjectName(QStringLiteral("dismissButton"));
    dismissButton->setFlat(true);
    // Return in a window's fields never dismisses its error.
    dismissButton->setAutoDefault(false);
    layout->addWidget(icon);
    layout->addWidget(m_message, 1);
    layout->addWidget(dismissButton);
    QObject::connect(dismissButton, &QPushButton::clicked, this, &ErrorBar::dismiss);
    refresh();
}

QString ErrorBar::message() const
{
    return m_message->text();
}

void ErrorBar::dismiss()
{
    m_clear();
}

void ErrorBar::refresh()
{
    const QString text = m_read();
    const bool changed = text != m_message->text();
    m_message->setText(text);
    setAccessibleName(text);
    setVisible(!text.isEmpty());
    // Showing the bar is not enough for every screen reader: say that an alert came up.
    if (!text.isEmpty() && changed) {
        QAccessibleEvent event(this, QAccessible::Alert);
        QAccessible::updateAccessibility(&event);
    }
}
