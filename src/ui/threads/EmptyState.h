#pragma once

#include <QWidget>

class QLabel;

// A quiet centred symbol and title where a column has nothing to show.
class EmptyState : public QWidget
{
    Q_OBJECT
public:
    explicit EmptyState(QWidget* parent = nullptr);
    void show(const QIcon& icon, const QString& title);
    QString title() const;

private:
    QLabel* m_icon;
    QLabel* m_title;
};
