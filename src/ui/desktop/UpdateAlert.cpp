#include "UpdateAlert.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QPushButton>

UpdateAlert::UpdateAlert(Updater* updater, QWidget* window)
    : QObject(window), m_updater(updater), m_window(window)
{
    QObject::connect(updater, &Updater::checked, this, &UpdateAlert::show);
}

void UpdateAlert::show(const Updater::Check& result, bool userAsked)
{
    using Outcome = Updater::Check::Outcome;
    // A timed check only speaks up about a release the user has not skipped.
    if (!userAsked && (result.outcome != Outcome::Newer ||
                       result.release->version == m_updater->skippedVersion()))
        return;
    if (m_box)
        m_box->close();
    auto* box = new QMessageBox(m_window);
    m_box = box;
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowTitle(tr("Software Update"));
    box->setWindowModality(Qt::WindowModal);
    switch (result.outcome) {
    case Outcome::Newer: {
        const Appcast::Release release = *result.release;
        box->setIcon(QMessageBox::Information);
        box->setText(tr("A new version of Veldrin is available."));
        box->setInformativeText(
            tr("Veldrin %1 is now available; you have %2. Your package manager installs it; "
               "its page tells what is new.")
                .arg(release.displayVersion, m_updater->version()));
        QPushButton* open = box->addButton(tr("Open Release Page"), QMessageBox::AcceptRole);
        QPushButton* skip = box->addButton(tr("Skip This Version"), QMessageBox::ActionRole);
        QPushButton* later = box->addButton(tr("Remind Me Later"), QMessageBox::RejectRole);
        box->setDefaultButton(open);
        box->setEscapeButton(later);
        QObject::connect(box, &QMessageBox::buttonClicked, this,
                         [this, open, skip, release](QAbstractButton* button) {
                             if (button == open)
                                 QDesktopServices::openUrl(release.page);
                             else if (button == skip)
                                 m_updater->skipVersion(release.version);
                         });
        break;
    }
    case Outcome::UpToDate:
        box->setIcon(QMessageBox::Information);
        box->setText(tr("You’re up to date."));
        box->setInformativeText(
            tr("Veldrin %1 is the newest version available.").arg(m_updater->version()));
        box->setStandardButtons(QMessageBox::Ok);
        break;
    case Outcome::Failed:
        box->setIcon(QMessageBox::Warning);
        box->setText(tr("Veldrin could not check for updates."));
        box->setInformativeText(result.error);
        box->setStandardButtons(QMessageBox::Ok);
        break;
    }
    box->open();
}
