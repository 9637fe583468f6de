#include "ContactEditor.h"

#include "EditorButtons.h"
#include "ListFieldEditor.h"
#include "app/stores/ContactStore.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

ContactEditor::ContactEditor(ContactStore* store, std::optional<Contact> existing, QWidget* parent)
    : QDialog(parent), m_store(store), m_existing(std::move(existing))
{
    setObjectName(QStringLiteral("contactEditor"));
    setWindowModality(Qt::WindowModal);
    setWindowTitle(m_existing ? tr("Edit Contact") : tr("New Contact"));
    if (m_existing)
        m_details = m_existing->details();

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const auto line = [this, form](const QString& label, const QString& text) {
        auto* field = new QLineEdit(text, this);
        field->setAccessibleName(label);
        form->addRow(label + u':', field);
        connect(field, &QLineEdit::textEdited, this, &ContactEditor::readForm);
        return field;
    };
    m_givenName = line(tr("First name"), m_details.givenName);
    m_surname = line(tr("Last name"), m_details.surname);
    m_organization = line(tr("Organization"), m_details.organization);
    m_emails = new ListFieldEditor(tr("Email"), QStringLiteral("name@example.com"), this);
    m_emails->setValues(m_details.emails);
    m_phones = new ListFieldEditor(tr("Phone"), QStringLiteral("+45 12 34 56 78"), this);
    m_phones->setValues(m_details.phones);
    form->addRow(tr("Email:"), m_emails);
    form->addRow(tr("Phone:"), m_phones);
    m_note = new QPlainTextEdit(m_details.note, this);
    m_note->setAccessibleName(tr("Note"));
    m_note->setTabChangesFocus(true);
    m_note->setFixedHeight(m_note->fontMetrics().lineSpacing() * 4 + 12);
    form->addRow(tr("Note:"), m_note);
    // Labels point at the first field of their row, so Alt-keys and readers find them.
    for (int row = 0; row < form->rowCount(); ++row)
        if (auto* label =
                qobject_cast<QLabel*>(form->itemAt(row, QFormLayout::LabelRole)->widget()))
            if (QWidget* field = form->itemAt(row, QFormLayout::FieldRole)->widget())
                label->setBuddy(qobject_cast<ListFieldEditor*>(field)
                                    ? static_cast<ListFieldEditor*>(field)->field(0)
                                    : field);
    connect(m_emails, &ListFieldEditor::changed, this, &ContactEditor::readForm);
    connect(m_phones, &ListFieldEditor::changed, this, &ContactEditor::readForm);
    connect(m_note, &QPlainTextEdit::textChanged, this, &ContactEditor::readForm);

    m_save = layOutEditor(this, form, m_existing.has_value(), 440);
    connect(m_save, &QPushButton::clicked, this, &ContactEditor::save);
    readForm();
}

void ContactEditor::readForm()
{
    m_details.givenName = m_givenName->text();
    m_details.surname = m_surname->text();
    m_details.organization = m_organization->text();
    m_details.emails = m_emails->values();
    m_details.phones = m_phones->values();
    m_details.note = m_note->toPlainText();
    m_save->setEnabled(!m_isSaving && !m_details.isEmpty());
}

void ContactEditor::setSaving(bool saving)
{
    m_isSaving = saving;
    readForm();
}

void ContactEditor::save()
{
    readForm();
    if (m_isSaving || m_details.isEmpty() || !m_store)
        return;
    setSaving(true);
    runSave(this, m_store, m_existing, m_details);
}

QCoro::Task<> ContactEditor::runSave(QPointer<ContactEditor> self, QPointer<ContactStore> store,
                                     std::optional<Contact> existing, ContactDetails details)
{
    const bool saved =
        existing ? co_await store->update(*existing, details) : co_await store->create(details);
    // A sheet closed meanwhile does not stop the save; there is just nothing left to close.
    if (!self)
        co_return;
    self->setSaving(false);
    if (saved)
        self->accept();
}
