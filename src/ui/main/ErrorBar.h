#pragma once

#include <QWidget>

class AppState;
class QLabel;

// The bar along the top of the main window while AppState has an error message.
class ErrorBar : public QWidget
{
    Q_OBJECT
public:
    explicit ErrorBar(AppState* state, QWidget* parent = nullptr);
    QString message() const;
    // Clears the message; the bar hides with it.
    void dismiss();

private:
    void refresh();
    AppState* m_state;
    QLabel* m_message;
};
