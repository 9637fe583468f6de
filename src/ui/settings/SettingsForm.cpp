#include "SettingsForm.h"

#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

namespace SettingsForm {

QVBoxLayout* scrollingColumn(QWidget* page)
{
    auto* outer = new QVBoxLayout(page);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* content = new QWidget(scroll);
    content->setBackgroundRole(QPalette::Window);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(10, 10, 10, 10);
    column->setSpacing(6);
    scroll->setWidget(content);
    outer->addWidget(scroll);
    return column;
}

QLabel* header(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    return label;
}

QLabel* footnote(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setWordWrap(true);
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QToolButton* linkButton(const QString& text, QWidget* parent)
{
    auto* result = new QToolButton(parent);
    result->setText(text);
    result->setToolButtonStyle(Qt::ToolButtonTextOnly);
    result->setAutoRaise(true);
    result->setFocusPolicy(Qt::StrongFocus);
    result->setCursor(Qt::PointingHandCursor);
    QPalette palette = result->palette();
    palette.setColor(QPalette::ButtonText, palette.color(QPalette::Link));
    result->setPalette(palette);
    result->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    return result;
}

QPushButton* button(const QString& text, QWidget* parent)
{
    auto* result = new QPushButton(text, parent);
    result->setAutoDefault(false);
    result->setDefault(false);
    return result;
}

void addSectionGap(QBoxLayout* layout)
{
    layout->addSpacing(14);
}

} // namespace SettingsForm
