#pragma once

#include "Updater.h"

#include <QMessageBox>
#include <QObject>
#include <QPointer>

class QWidget;

// Tells the user what a check of the updater found, over the given window.
class UpdateAlert : public QObject
{
    Q_OBJECT
public:
    UpdateAlert(Updater* updater, QWidget* window);

    // The alert on show, if any.
    QMessageBox* box() const { return m_box; }

private:
    void show(const Updater::Check& result, bool userAsked);

    Updater* m_updater;
    QWidget* m_window;
    QPointer<QMessageBox> m_box;
};
