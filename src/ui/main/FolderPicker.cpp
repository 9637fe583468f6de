#include "FolderPicker.h"

#include "MailboxListModel.h"
#include "app/state/AppState.h"
#include "mail/MailboxTree.h"
#include "ui/desktop/Icons.h"
#include "ui/threads/ViewColors.h"

#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace {

constexpr int IdRole = Qt::UserRole + 1;
constexpr int DepthRole = Qt::UserRole + 2;

// Indents a row, icon and all, by its depth in the tree, as the sidebar does.
class IndentDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->rect.adjust(index.data(DepthRole).toInt() * 16, 0, 0, 0);
    }
};

} // namespace

FolderPickerView::FolderPickerView(AppState* state, QWidget* parent)
    : QDialog(parent), m_state(state)
{
    setObjectName(QStringLiteral("folderPicker"));
    setWindowModality(Qt::WindowModal);
    resize(360, 420);
    auto* layout = new QVBoxLayout(this);
    m_filter = new QLineEdit(this);
    m_filter->setObjectName(QStringLiteral("folderFilter"));
    m_filter->setPlaceholderText(tr("Folder name"));
    m_filter->setAccessibleName(tr("Filter folders"));
    m_filter->setClearButtonEnabled(true);
    m_filter->installEventFilter(this);
    layout->addWidget(m_filter);
    m_list = new QListWidget(this);
    m_list->setObjectName(QStringLiteral("folderMatches"));
    m_list->setAccessibleName(tr("Folders"));
    m_list->setIconSize(QSize(16, 16));
    m_list->setUniformItemSizes(true);
    m_list->setItemDelegate(new IndentDelegate(m_list));
    layout->addWidget(m_list, 1);
    auto* footer = new QHBoxLayout();
    m_footer = new QLabel(this);
    m_footer->setObjectName(QStringLiteral("folderPickerFooter"));
    QPalette palette = m_footer->palette();
    palette.setColor(QPalette::WindowText, secondaryTextColor(palette));
    m_footer->setPalette(palette);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    cancel->setObjectName(QStringLiteral("folderPickerCancel"));
    cancel->setAutoDefault(false);
    footer->addWidget(m_footer, 1);
    footer->addWidget(cancel);
    layout->addLayout(footer);

    QObject::connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    QObject::connect(m_filter, &QLineEdit::textChanged, this, &FolderPickerView::fill);
    QObject::connect(m_filter, &QLineEdit::returnPressed, this, &FolderPickerView::choose);
    QObject::connect(m_list, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        m_list->setCurrentItem(item);
        choose();
    });
    QObject::connect(m_list, &QListWidget::itemActivated, this, &FolderPickerView::choose);
    QObject::connect(state, &AppState::folderPickerChanged, this, &FolderPickerView::showState);
    showState();
}

QList<Mailbox> FolderPickerView::matches(AppState* state, const QString& filter)
{
    const auto& selected = state->selectedMailboxId();
    QList<Mailbox> found;
    for (const MailboxNode& node : MailboxTree::hierarchy(state->mailboxes(), {}, selected, {},
                                                          state->config().mailboxOrder)) {
        if (selected && node.mailbox.id == *selected)
            continue;
        if (filter.isEmpty() || node.mailbox.name.contains(filter, Qt::CaseInsensitive))
            found << node.mailbox;
    }
    return found;
}

QString FolderPickerView::highlightedId() const
{
    const QListWidgetItem* item = m_list->currentItem();
    return item ? item->data(IdRole).toString() : QString();
}

void FolderPickerView::showState()
{
    const auto& purpose = m_state->folderPicker();
    if (!purpose) {
        if (isVisible())
            QDialog::done(Rejected);
        return;
    }
    const bool move = *purpose == AppState::FolderPicker::Move;
    setWindowTitle(move ? tr("Move to Folder") : tr("Go to Folder"));
    m_footer->setText(move ? tr("↑↓ choose, Return moves") : tr("↑↓ choose, Return opens"));
    m_filter->clear();
    fill();
    if (!isVisible())
        open();
    m_filter->setFocus();
}

void FolderPickerView::fill()
{
    const QString before = highlightedId();
    m_matches = matches(m_state, m_filter->text());
    const AppConfig& config = m_state->config();
    const QList<MailboxNode> tree =
        MailboxTree::hierarchy(m_state->mailboxes(), {}, {}, {}, config.mailboxOrder);
    m_list->clear();
    int current = 0;
    for (int i = 0; i < m_matches.size(); ++i) {
        const Mailbox& mailbox = m_matches.at(i);
        int depth = 0;
        for (const MailboxNode& node : tree)
            if (node.mailbox.id == mailbox.id)
                depth = node.depth;
        auto* item = new QListWidgetItem(Icons::icon(MailboxListModel::iconName(mailbox.role)),
                                         mailbox.name, m_list);
        item->setData(IdRole, mailbox.id);
        // Indented like the sidebar while the whole tree shows; flat once filtered.
        item->setData(DepthRole, m_filter->text().isEmpty() ? depth : 0);
        if (mailbox.id == before)
            current = i;
    }
    if (m_list->count() > 0)
        m_list->setCurrentRow(current);
}

void FolderPickerView::stepHighlight(int delta)
{
    if (m_list->count() == 0)
        return;
    const int row = std::clamp(m_list->currentRow() + delta, 0, m_list->count() - 1);
    m_list->setCurrentRow(row);
    m_list->scrollToItem(m_list->currentItem());
}

void FolderPickerView::choose()
{
    const QString id = highlightedId();
    const auto purpose = m_state->folderPicker();
    std::optional<Mailbox> chosen;
    for (const Mailbox& mailbox : std::as_const(m_matches))
        if (mailbox.id == id)
            chosen = mailbox;
    if (!chosen || !purpose)
        return;
    accept();
    if (*purpose == AppState::FolderPicker::Move)
        m_state->moveThreads(m_state->selectedThreadIds(), *chosen);
    else
        m_state->goToMailbox(*chosen);
}

void FolderPickerView::done(int result)
{
    QDialog::done(result);
    m_state->setFolderPicker(std::nullopt);
}

bool FolderPickerView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_filter && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Down || key == Qt::Key_Up) {
            stepHighlight(key == Qt::Key_Down ? 1 : -1);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}
