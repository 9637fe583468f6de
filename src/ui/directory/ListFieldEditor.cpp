#include "ListFieldEditor.h"

#include "ui/desktop/Icons.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

ListFieldEditor::ListFieldEditor(const QString& label, const QString& prompt, QWidget* parent)
    : QWidget(parent), m_label(label), m_prompt(prompt), m_values{QString()}
{
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(4);
    rebuild(-1);
}

void ListFieldEditor::setValues(const QStringList& values)
{
    m_values = values.isEmpty() ? QStringList{QString()} : values;
    rebuild(-1);
}

QLineEdit* ListFieldEditor::field(int row) const
{
    return m_rows.value(row).field;
}

QToolButton* ListFieldEditor::removeButton(int row) const
{
    return m_rows.value(row).remove;
}

QToolButton* ListFieldEditor::addButton(int row) const
{
    return m_rows.value(row).add;
}

void ListFieldEditor::removeRow(int row)
{
    if (row < 0 || row >= m_values.size())
        return;
    m_values.removeAt(row);
    if (m_values.isEmpty())
        m_values.append(QString());
    rebuild(std::min(row, int(m_values.size()) - 1));
    Q_EMIT changed();
}

void ListFieldEditor::addRow(int row)
{
    if (row < 0 || row >= m_values.size())
        return;
    m_values.insert(row + 1, QString());
    rebuild(row + 1);
    Q_EMIT changed();
}

void ListFieldEditor::rebuild(int focusRow)
{
    // Later: the button that asked for this may be one of them, still inside its signal.
    for (const Row& row : std::as_const(m_rows)) {
        row.widget->hide();
        m_layout->removeWidget(row.widget);
        row.widget->deleteLater();
    }
    m_rows.clear();
    for (int index = 0; index < m_values.size(); ++index) {
        auto* widget = new QWidget(this);
        auto* layout = new QHBoxLayout(widget);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(2);
        auto* field = new QLineEdit(m_values.at(index), widget);
        field->setPlaceholderText(m_prompt);
        field->setAccessibleName(m_values.size() > 1 ? tr("%1 %2").arg(m_label).arg(index + 1)
                                                     : m_label);
        auto* remove = new QToolButton(widget);
        remove->setIcon(Icons::icon(QStringLiteral("minus.circle")));
        remove->setToolTip(tr("Remove %1").arg(m_label));
        remove->setAccessibleName(remove->toolTip());
        remove->setAutoRaise(true);
        auto* add = new QToolButton(widget);
        add->setIcon(Icons::icon(QStringLiteral("plus.circle")));
        add->setToolTip(tr("Add %1").arg(m_label));
        add->setAccessibleName(add->toolTip());
        add->setAutoRaise(true);
        layout->addWidget(field, 1);
        layout->addWidget(remove);
        layout->addWidget(add);
        m_layout->addWidget(widget);
        widget->show();
        connect(field, &QLineEdit::textEdited, this, [this, field](const QString& text) {
            for (int at = 0; at < m_rows.size(); ++at)
                if (m_rows.at(at).field == field)
                    m_values[at] = text;
            updateButtons();
            Q_EMIT changed();
        });
        connect(remove, &QToolButton::clicked, this, [this, remove] {
            for (int at = 0; at < m_rows.size(); ++at)
                if (m_rows.at(at).remove == remove)
                    return removeRow(at);
        });
        connect(add, &QToolButton::clicked, this, [this, add] {
            for (int at = 0; at < m_rows.size(); ++at)
                if (m_rows.at(at).add == add)
                    return addRow(at);
        });
        m_rows.append(Row{widget, field, remove, add});
    }
    // Tab runs through each row's field and buttons in reading order.
    QWidget* previous = nullptr;
    for (const Row& row : std::as_const(m_rows))
        for (QWidget* widget : {static_cast<QWidget*>(row.field), static_cast<QWidget*>(row.remove),
                                static_cast<QWidget*>(row.add)}) {
            if (previous)
                setTabOrder(previous, widget);
            previous = widget;
        }
    updateButtons();
    if (focusRow >= 0 && focusRow < m_rows.size())
        m_rows.at(focusRow).field->setFocus(Qt::OtherFocusReason);
}

void ListFieldEditor::updateButtons()
{
    const bool onlyEmpty = m_values.size() == 1 && m_values.first().isEmpty();
    for (const Row& row : std::as_const(m_rows))
        row.remove->setEnabled(!onlyEmpty);
}
