#include "FolderSettings.h"

#include "SettingsForm.h"
#include "app/state/AppState.h"
#include "mail/MailboxTree.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

// Every mailbox in tree order: nothing hidden, nothing collapsed.
QList<MailboxNode> allFolders(AppState* state)
{
    return MailboxTree::hierarchy(state->mailboxes(), {}, std::nullopt, {},
                                  state->config().mailboxOrder);
}

} // namespace

FolderSettings::FolderSettings(AppState* state, QWidget* parent) : QWidget(parent), m_state(state)
{
    QVBoxLayout* column = SettingsForm::scrollingColumn(this);

    auto* spamRow = new QFormLayout();
    spamRow->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    m_spam = new QComboBox(this);
    m_spam->setObjectName(QStringLiteral("spamPicker"));
    m_spam->setAccessibleName(tr("Move to Spam files into"));
    m_spam->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_spam->setMinimumContentsLength(16);
    spamRow->addRow(tr("Move to Spam files into"), m_spam);
    column->addLayout(spamRow);
    QObject::connect(m_spam, &QComboBox::activated, this, &FolderSettings::chooseSpam);

    SettingsForm::addSectionGap(column);
    auto* header = new QHBoxLayout();
    header->setSpacing(2);
    header->addWidget(SettingsForm::header(tr("Hide when empty"), this));
    header->addStretch(1);
    m_all = SettingsForm::linkButton(tr("All"), this);
    m_all->setObjectName(QStringLiteral("hideAllButton"));
    m_all->setToolTip(tr("Hide every folder while it is empty"));
    m_none = SettingsForm::linkButton(tr("None"), this);
    m_none->setObjectName(QStringLiteral("hideNoneButton"));
    m_none->setToolTip(tr("Show every folder, also while it is empty"));
    header->addWidget(m_all);
    header->addWidget(m_none);
    column->addLayout(header);
    QObject::connect(m_all, &QToolButton::clicked, this, [this] {
        QStringList ids;
        for (const Mailbox& mailbox : m_state->mailboxes())
            ids.append(mailbox.id);
        ids.sort();
        ids.removeDuplicates();
        setHideWhenEmpty(ids);
    });
    QObject::connect(m_none, &QToolButton::clicked, this, [this] { setHideWhenEmpty({}); });

    m_noFolders = SettingsForm::footnote(tr("Connect an account to see its folders."), this);
    m_noFolders->setObjectName(QStringLiteral("noFolders"));
    m_noFolders->setForegroundRole(QPalette::WindowText);
    column->addWidget(m_noFolders);
    m_rows = new QWidget(this);
    m_rowLayout = new QVBoxLayout(m_rows);
    m_rowLayout->setContentsMargins(0, 0, 0, 0);
    m_rowLayout->setSpacing(4);
    column->addWidget(m_rows);
    column->addWidget(SettingsForm::footnote(
        tr("A hidden folder reappears as soon as it holds mail, and stays visible while it has a "
           "visible subfolder. It is always available in Move to Folder."),
        this));
    column->addStretch(1);

    QObject::connect(state, &AppState::mailboxesChanged, this, &FolderSettings::rebuild);
    QObject::connect(state, &AppState::configChanged, this, &FolderSettings::showConfig);
    rebuild();
}

QCheckBox* FolderSettings::hideToggle(const QString& mailboxId) const
{
    for (const auto& [id, box] : m_toggles)
        if (id == mailboxId)
            return box;
    return nullptr;
}

void FolderSettings::rebuild()
{
    const QList<MailboxNode> folders = allFolders(m_state);
    // Every refresh brings new counts; the rows are only made anew when what they show
    // changed, so that the focus and the open picker survive a refresh.
    QStringList shape;
    const auto junk = m_state->mailboxWithRole(QStringLiteral("junk"));
    shape << (junk ? junk->name : QString());
    for (const MailboxNode& node : folders)
        shape << node.mailbox.id << node.mailbox.name << QString::number(node.depth);
    if (shape == m_shape && !m_toggles.isEmpty()) {
        showConfig();
        return;
    }
    m_shape = shape;
    {
        const QSignalBlocker blocker(m_spam);
        m_spam->clear();
        m_spam->addItem(junk ? tr("%1 (default)").arg(junk->name) : tr("Default"), QString());
        m_spam->insertSeparator(1);
        for (const MailboxNode& node : folders)
            m_spam->addItem(QString(node.depth * 4, u' ') + node.mailbox.name, node.mailbox.id);
        m_spam->setEnabled(!m_state->mailboxes().isEmpty());
    }

    // Each toggle sits in a row of its own, which carries the indent of its depth.
    for (const auto& [id, box] : m_toggles)
        delete box->parentWidget();
    m_toggles.clear();
    for (const MailboxNode& node : folders) {
        auto* row = new QWidget(m_rows);
        auto* rowLayout = new QHBoxLayout(row);
        rowLayout->setContentsMargins(14 * node.depth, 0, 0, 0);
        // A folder's name is not a mnemonic: "Bills & Taxes" keeps its "&".
        auto* box =
            new QCheckBox(QString(node.mailbox.name).replace(u'&', QStringLiteral("&&")), row);
        box->setObjectName(QStringLiteral("hide:") + node.mailbox.id);
        box->setAccessibleDescription(tr("Hide when empty"));
        rowLayout->addWidget(box);
        rowLayout->addStretch(1);
        m_rowLayout->addWidget(row);
        m_toggles.append({node.mailbox.id, box});
        const QString id = node.mailbox.id;
        QObject::connect(box, &QCheckBox::toggled, this,
                         [this, id](bool on) { m_state->setHidesWhenEmpty(id, on); });
    }
    const bool none = folders.isEmpty();
    m_noFolders->setVisible(none);
    m_rows->setVisible(!none);
    m_all->setEnabled(!none);
    m_none->setEnabled(!none);
    showConfig();
}

void FolderSettings::showConfig()
{
    {
        // A stale id, of a folder since deleted, reads as the default; the file keeps it until
        // the user chooses.
        const QSignalBlocker blocker(m_spam);
        const auto chosen = m_state->mailbox(m_state->config().spamMailboxId);
        const int index = chosen ? m_spam->findData(chosen->id) : 0;
        m_spam->setCurrentIndex(std::max(index, 0));
    }
    for (const auto& [id, box] : m_toggles) {
        const QSignalBlocker blocker(box);
        box->setChecked(m_state->hidesWhenEmpty(id));
    }
}

void FolderSettings::chooseSpam(int index)
{
    const QString id = m_spam->itemData(index).toString();
    AppConfig config = m_state->config();
    config.spamMailboxId = id.isEmpty() ? std::nullopt : std::optional<QString>(id);
    m_state->setConfig(config);
    m_state->saveConfig();
}

void FolderSettings::setHideWhenEmpty(const QStringList& ids)
{
    AppConfig config = m_state->config();
    config.hideWhenEmpty = ids;
    m_state->setConfig(config);
    m_state->saveConfig();
}
