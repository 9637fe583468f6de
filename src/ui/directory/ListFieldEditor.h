#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

class QLineEdit;
class QToolButton;
class QVBoxLayout;

// A list of text rows, such as a contact's addresses, each with a button that removes it and
// one that adds an empty row below it. The list always has a row: removing the last one leaves
// one empty row, whose remove button is then disabled.
class ListFieldEditor : public QWidget
{
    Q_OBJECT
public:
    // `label` names the field in the buttons ("Remove Email", "Add Email").
    ListFieldEditor(const QString& label, const QString& prompt, QWidget* parent = nullptr);

    const QStringList& values() const { return m_values; }
    void setValues(const QStringList& values);

    int rowCount() const { return int(m_values.size()); }
    QLineEdit* field(int row) const;
    QToolButton* removeButton(int row) const;
    QToolButton* addButton(int row) const;

    void removeRow(int row);
    // Inserts an empty row directly after `row` and puts the cursor in it.
    void addRow(int row);

Q_SIGNALS:
    void changed();

private:
    struct Row
    {
        QWidget* widget;
        QLineEdit* field;
        QToolButton* remove;
        QToolButton* add;
    };
    void rebuild(int focusRow);
    void updateButtons();

    QString m_label;
    QString m_prompt;
    QStringList m_values;
    QList<Row> m_rows;
    QVBoxLayout* m_layout;
};
