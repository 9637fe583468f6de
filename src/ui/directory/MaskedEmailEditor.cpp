#include "MaskedEmailEditor.h"

#include "EditorButtons.h"

#include "app/stores/MaskedEmailStore.h"
#include "ui/threads/ViewColors.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

MaskedEmailEditor::MaskedEmailEditor(MaskedEmailStore* store, std::optional<MaskedEmail> existing,
                                     QWidget* parent)
    : QDialog(parent), m_store(store), m_existing(std::move(existing))
{
    setObjectName(QStringLiteral("maskedEmailEditor"));
    setWindowModality(Qt::WindowModal);
    setWindowTitle(m_existing ? tr("Edit Masked Email") : tr("New Masked Email"));
    if (m_existing) {
        // Sites are stored as "https://host"; the user typed the host.
        QString site = m_existing->forDomain;
        if (site.startsWith(QLatin1String("https://")))
            site = site.mid(8);
        m_details = MaskedEmailDetails{site, m_existing->description};
        m_initialSite = site;
    }

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    const auto line = [this, form](const QString& label, const QString& text,
                                   const QString& prompt) {
        auto* field = new QLineEdit(text, this);
        field->setAccessibleName(label);
        field->setPlaceholderText(prompt);
        auto* caption = new QLabel(label + u':', this);
        caption->setBuddy(field);
        form->addRow(caption, field);
        connect(field, &QLineEdit::textEdited, this, &MaskedEmailEditor::readForm);
        return field;
    };
    if (m_existing) {
        m_address = line(tr("Address"), m_existing->email, {});
        m_address->setReadOnly(true);
    } else {
        m_prefix = line(tr("Address starts with"), {}, tr("Optional, such as shop"));
    }
    m_website = line(tr("Website"), m_details.forDomain, QString::fromLatin1(exampleDomain));
    m_description = line(tr("Description"), m_details.description, tr("What it is for"));

    m_note = new QLabel(this);
    m_note->setObjectName(QStringLiteral("editorNote"));
    m_note->setWordWrap(true);
    m_note->setTextFormat(Qt::PlainText);
    QPalette palette = m_note->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    m_note->setPalette(palette);
    form->addRow(QString(), m_note);

    m_save = layOutEditor(this, form, m_existing.has_value(), 460);
    connect(m_save, &QPushButton::clicked, this, &MaskedEmailEditor::save);
    readForm();
    (m_prefix ? m_prefix : m_website)->setFocus(Qt::OtherFocusReason);
}

bool MaskedEmailEditor::isSiteValid() const
{
    return MaskedEmailDetails::origin(m_details.forDomain).has_value() ||
           m_details.forDomain == m_initialSite;
}

QString MaskedEmailEditor::note() const
{
    if (!isSiteValid())
        return tr("Enter a website such as %1.").arg(QString::fromLatin1(exampleDomain));
    if (m_existing)
        return tr("Website is the site you use the address on. It does not change the address "
                  "itself.");
    return tr("The new address is copied to the clipboard.");
}

void MaskedEmailEditor::readForm()
{
    m_details.forDomain = m_website->text();
    m_details.description = m_description->text();
    m_note->setText(note());
    m_save->setEnabled(!m_isSaving && isSiteValid());
}

void MaskedEmailEditor::setSaving(bool saving)
{
    m_isSaving = saving;
    readForm();
}

void MaskedEmailEditor::save()
{
    readForm();
    if (m_isSaving || !isSiteValid() || !m_store)
        return;
    setSaving(true);
    runSave(this, m_store, m_existing, m_details, m_prefix ? m_prefix->text() : QString());
}

QCoro::Task<> MaskedEmailEditor::runSave(QPointer<MaskedEmailEditor> self,
                                         QPointer<MaskedEmailStore> store,
                                         std::optional<MaskedEmail> existing,
                                         MaskedEmailDetails details, QString prefix)
{
    bool saved = false;
    if (existing)
        saved = co_await store->update(*existing, details);
    else
        saved = (co_await store->create(details, prefix)).has_value();
    if (!self)
        co_return;
    self->setSaving(false);
    if (saved)
        self->accept();
}
