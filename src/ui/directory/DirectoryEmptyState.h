#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

// What a directory window shows in place of its table when no row is on show: a symbol, a
// title, a line of text and at most one action.
class DirectoryEmptyState : public QWidget
{
    Q_OBJECT
public:
    explicit DirectoryEmptyState(QWidget* parent = nullptr);

    // An empty `action` shows no button; `asLink` draws it as a flat link.
    void show(const QString& symbol, const QString& title, const QString& text,
              const QString& action = {}, bool asLink = false);
    // Nothing at all, while a first load runs.
    void clear();
    QString title() const;
    QString text() const;
    QPushButton* actionButton() const { return m_action; }

Q_SIGNALS:
    void actionTriggered();

private:
    QLabel* m_icon;
    QLabel* m_title;
    QLabel* m_text;
    QPushButton* m_action;
};
