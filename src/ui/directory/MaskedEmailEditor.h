#pragma once

#include "directory/MaskedEmail.h"
#include "directory/MaskedEmailDetails.h"

#include <QCoroTask>
#include <QDialog>
#include <QPointer>

#include <optional>

class MaskedEmailStore;
class QLabel;
class QLineEdit;
class QPushButton;

// The sheet that makes a masked address for a website, or edits the website and description
// of one. A new address lands on the clipboard (the store puts it there).
class MaskedEmailEditor : public QDialog
{
    Q_OBJECT
public:
    // The domain shown in the prompt and in the note that asks for a website.
    static constexpr const char* exampleDomain = "shop.example.com";

    // `existing` absent: a new address.
    MaskedEmailEditor(MaskedEmailStore* store, std::optional<MaskedEmail> existing,
                      QWidget* parent);

    const MaskedEmailDetails& details() const { return m_details; }
    const QString& initialSite() const { return m_initialSite; }
    bool isSaving() const { return m_isSaving; }
    // A site that reads as a website, or the one the record had when the sheet opened.
    bool isSiteValid() const;
    QString note() const;

    QLineEdit* addressField() const { return m_address; }
    QLineEdit* prefixField() const { return m_prefix; }
    QLineEdit* websiteField() const { return m_website; }
    QLineEdit* descriptionField() const { return m_description; }
    QLabel* noteLabel() const { return m_note; }
    QPushButton* saveButton() const { return m_save; }

    void save();

private:
    static QCoro::Task<> runSave(QPointer<MaskedEmailEditor> self, QPointer<MaskedEmailStore> store,
                                 std::optional<MaskedEmail> existing, MaskedEmailDetails details,
                                 QString prefix);
    void readForm();
    void setSaving(bool saving);

    QPointer<MaskedEmailStore> m_store;
    std::optional<MaskedEmail> m_existing;
    MaskedEmailDetails m_details;
    QString m_initialSite;
    bool m_isSaving = false;
    QLineEdit* m_address = nullptr;
    QLineEdit* m_prefix = nullptr;
    QLineEdit* m_website;
    QLineEdit* m_description;
    QLabel* m_note;
    QPushButton* m_save;
};
