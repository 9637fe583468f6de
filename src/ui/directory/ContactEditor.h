#pragma once

#include "directory/Contact.h"
#include "directory/ContactDetails.h"

#include <QCoroTask>
#include <QDialog>
#include <QPointer>

#include <optional>

class ContactStore;
class ListFieldEditor;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;

// The sheet that makes or edits one contact. It closes only when the store has saved; after a
// failure it stays open with what was typed, and the window's error bar says why.
class ContactEditor : public QDialog
{
    Q_OBJECT
public:
    // `existing` absent: a new contact.
    ContactEditor(ContactStore* store, std::optional<Contact> existing, QWidget* parent);

    const ContactDetails& details() const { return m_details; }
    bool isSaving() const { return m_isSaving; }

    QLineEdit* givenNameField() const { return m_givenName; }
    QLineEdit* surnameField() const { return m_surname; }
    QLineEdit* organizationField() const { return m_organization; }
    ListFieldEditor* emailsEditor() const { return m_emails; }
    ListFieldEditor* phonesEditor() const { return m_phones; }
    QPlainTextEdit* noteField() const { return m_note; }
    QPushButton* saveButton() const { return m_save; }

    void save();

private:
    static QCoro::Task<> runSave(QPointer<ContactEditor> self, QPointer<ContactStore> store,
                                 std::optional<Contact> existing, ContactDetails details);
    void readForm();
    void setSaving(bool saving);

    QPointer<ContactStore> m_store;
    std::optional<Contact> m_existing;
    ContactDetails m_details;
    bool m_isSaving = false;
    QLineEdit* m_givenName;
    QLineEdit* m_surname;
    QLineEdit* m_organization;
    ListFieldEditor* m_emails;
    ListFieldEditor* m_phones;
    QPlainTextEdit* m_note;
    QPushButton* m_save;
};
