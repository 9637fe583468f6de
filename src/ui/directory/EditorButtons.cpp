#include "EditorButtons.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QVBoxLayout>

QPushButton* layOutEditor(QDialog* dialog, QLayout* form, bool existing, int minimumWidth)
{
    auto* buttons = new QDialogButtonBox(dialog);
    buttons->addButton(QDialogButtonBox::Cancel);
    QPushButton* save =
        buttons->addButton(existing ? QCoreApplication::translate("DirectoryEditor", "Save")
                                    : QCoreApplication::translate("DirectoryEditor", "Create"),
                           QDialogButtonBox::AcceptRole);
    save->setObjectName(QStringLiteral("saveButton"));
    save->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);

    auto* layout = new QVBoxLayout(dialog);
    layout->setContentsMargins(20, 20, 20, 16);
    layout->addLayout(form);
    layout->addSpacing(8);
    layout->addWidget(buttons);
    dialog->setMinimumWidth(minimumWidth);
    return save;
}
