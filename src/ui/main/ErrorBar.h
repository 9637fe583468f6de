#pragma once

#include <QWidget>

#include <functional>

class AppState;
class QLabel;

// The bar along the top of a window while its source has an error message: AppState's for the
// main window, a directory store's for the Contacts and Masked Email windows.
class ErrorBar : public QWidget
{
    Q_OBJECT
public:
    explicit ErrorBar(AppState* state, QWidget* parent = nullptr);
    // `read` gives the message, empty when there is none; `clear` takes it away. The owner calls
    // refresh() whenever the message changes.
    ErrorBar(std::function<QString()> read, std::function<void()> clear, QWidget* parent = nullptr);
    QString message() const;
    // Clears the message; the bar hides with it.
    void dismiss();
    void refresh();

private:
    std::function<QString()> m_read;
    std::function<void()> m_clear;
    QLabel* m_message;
};
