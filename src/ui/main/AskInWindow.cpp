#include "AskInWindow.h"

#include <QMessageBox>
#include <QPushButton>

QMessageBox* askInWindow(QWidget* window, const Question& question, std::function<void()> confirmed)
{
    auto* box = new QMessageBox(window);
    box->setObjectName(QStringLiteral("question"));
    box->setIcon(QMessageBox::Question);
    box->setText(question.message);
    box->setInformativeText(question.informativeText);
    QPushButton* confirm = box->addButton(question.confirmTitle, QMessageBox::AcceptRole);
    QPushButton* cancel = box->addButton(QObject::tr("Cancel"), QMessageBox::RejectRole);
    box->setDefaultButton(confirm);
    box->setEscapeButton(cancel);
    box->setWindowModality(Qt::WindowModal);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(box, &QMessageBox::buttonClicked, box,
                     [confirm, confirmed = std::move(confirmed)](QAbstractButton* button) {
                         if (button == confirm && confirmed)
                             confirmed();
                     });
    box->open();
    return box;
}
