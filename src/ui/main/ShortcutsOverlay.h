#pragma once

#include "keys/MailAction.h"

#include <QWidget>

class AppState;
class QGridLayout;
class QLabel;
class QVBoxLayout;

// The keyboard shortcuts over a dimmed main window, with the guide to the search language. A
// click closes it; any key does too, through the key dispatch.
class ShortcutsOverlay : public QWidget
{
    Q_OBJECT
public:
    explicit ShortcutsOverlay(AppState* state, QWidget* parent);

    // "Press <display> or click the search field, type and press Return. …"
    static QString howTo(AppState* state);
    // The two columns' actions, in groups; actions without a binding are left out.
    static QList<QList<MailAction>> mailGroups(AppState* state);
    static QList<MailAction> composeGroup(AppState* state);

    QWidget* panel() const { return m_panel; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showState();
    void rebuild();

    AppState* m_state;
    QWidget* m_panel;
    QWidget* m_content = nullptr;
};
