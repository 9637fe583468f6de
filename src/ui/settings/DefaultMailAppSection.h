#pragma once

#include <QWidget>

class DefaultMailApp;
class QLabel;
class QPushButton;

// "Default email app": which application opens mailto: links, and the button that asks the
// desktop to make it Veldrin. Asks the desktop again each time it comes on screen.
class DefaultMailAppSection : public QWidget
{
    Q_OBJECT
public:
    explicit DefaultMailAppSection(QWidget* parent = nullptr);

    DefaultMailApp* service() const { return m_service; }
    QLabel* value() const { return m_value; }
    QPushButton* makeDefaultButton() const { return m_makeDefault; }
    QLabel* caption() const { return m_caption; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showState();

    DefaultMailApp* m_service;
    QLabel* m_value;
    QPushButton* m_makeDefault;
    QLabel* m_caption;
};
