#include "MaskedEmailWindow.h"

#include "CenteredCheckDelegate.h"
#include "DirectoryEmptyState.h"
#include "DirectoryTable.h"
#include "MaskedEmailEditor.h"
#include "MaskedEmailTableModel.h"
#include "app/state/AppState.h"
#include "app/stores/MaskedEmailStore.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QToolBar>

MaskedEmailWindow::MaskedEmailWindow(AppState* state, QWidget* parent)
    : DirectoryWindow(state, state->maskedEmails(), tr("New Masked Email"), parent),
      m_store(state->maskedEmails()), m_model(new MaskedEmailTableModel(m_store, this))
{
    setObjectName(QStringLiteral("maskedEmailWindow"));
    setWindowTitle(tr("Masked Email"));
    resize(900, 520);
    searchField()->setPlaceholderText(tr("Search addresses"));
    searchField()->setAccessibleName(tr("Search addresses"));
    connect(searchField(), &QLineEdit::textChanged, m_model, &MaskedEmailTableModel::setSearch);

    // The picker stands before the search field, its label hidden but spoken.
    m_filter = new QComboBox(toolBar());
    m_filter->setObjectName(QStringLiteral("filterPicker"));
    m_filter->setAccessibleName(tr("Show"));
    m_filter->setToolTip(tr("Show"));
    for (MaskedEmailFilter filter :
         {MaskedEmailFilter::active, MaskedEmailFilter::disabled, MaskedEmailFilter::all})
        m_filter->addItem(MaskedEmailTableModel::filterLabel(filter), int(filter));
    QList<QAction*> actions = toolBar()->actions();
    toolBar()->insertWidget(actions.at(actions.size() - 1), m_filter);
    connect(m_filter, &QComboBox::currentIndexChanged, this, [this](int index) {
        m_model->setFilter(MaskedEmailFilter(m_filter->itemData(index).toInt()));
        refreshState();
    });

    setModel(m_model, MaskedEmailTableModel::IdRole);
    table()->setAccessibleName(tr("Masked Email addresses"));
    // A click on the check box toggles it at once; the rest of the row stays read only.
    table()->setEditTriggers(QAbstractItemView::NoEditTriggers);
    QHeaderView* header = table()->horizontalHeader();
    table()->setItemDelegateForColumn(MaskedEmailTableModel::EnabledColumn,
                                      new CenteredCheckDelegate(table()));
    header->setSectionResizeMode(MaskedEmailTableModel::EnabledColumn, QHeaderView::Fixed);
    header->resizeSection(MaskedEmailTableModel::EnabledColumn, 32);
    header->resizeSection(MaskedEmailTableModel::AddressColumn, 260);
    header->resizeSection(MaskedEmailTableModel::WebsiteColumn, 160);
    header->resizeSection(MaskedEmailTableModel::DescriptionColumn, 190);
    header->resizeSection(MaskedEmailTableModel::LastMailColumn, 110);
    header->setSortIndicator(MaskedEmailTableModel::CreatedColumn, Qt::DescendingOrder);
}

bool MaskedEmailWindow::canAct() const
{
    return m_store->service() || state()->isDemo();
}

void MaskedEmailWindow::load()
{
    m_store->load();
}

void MaskedEmailWindow::showEmptyState(DirectoryEmptyState* empty)
{
    disconnect(empty, &DirectoryEmptyState::actionTriggered, this, nullptr);
    if (!state()->hasMaskedEmail() && !state()->isDemo()) {
        empty->show(QStringLiteral("network.slash"), tr("Not Connected"),
                    tr("Add a Fastmail API token with access to Masked Email in Settings."),
                    tr("Open Settings…"), true);
        connect(empty, &DirectoryEmptyState::actionTriggered, this,
                &DirectoryWindow::openSettingsRequested);
    } else if (m_store->items().isEmpty()) {
        if (m_store->isLoading() && !m_store->hasLoaded())
            return empty->clear();
        empty->show(QStringLiteral("theatermasks"), tr("No Masked Emails"),
                    tr("Make an address for each site, so you can turn it off if it starts "
                       "sending spam."),
                    tr("New Masked Email"));
        connect(empty, &DirectoryEmptyState::actionTriggered, this, &MaskedEmailWindow::create);
    } else {
        const QString search = searchField()->text().trimmed();
        empty->show(QStringLiteral("magnifyingglass"),
                    search.isEmpty() ? tr("No Results") : tr("No Results for “%1”").arg(search),
                    search.isEmpty()
                        ? tr("No addresses are %1.").arg(m_filter->currentText().toLower())
                        : tr("Check the spelling or try a new search."));
    }
}

QMenu* MaskedEmailWindow::contextMenu(const QSet<QString>& ids)
{
    if (ids.isEmpty())
        return nullptr;
    const QList<MaskedEmail> chosen = m_model->records(ids);
    auto* menu = new QMenu(this);
    if (chosen.size() == 1) {
        menu->addAction(tr("Copy Address"), this, [email = chosen.first().email] { copy(email); });
        menu->addAction(tr("Edit…"), this, [this, ids] { edit(ids); });
        menu->addSeparator();
    }
    const bool anyDisabled = std::any_of(chosen.cbegin(), chosen.cend(), [](const auto& record) {
        return record.state == MaskedEmail::State::disabled;
    });
    const bool anyActive = std::any_of(chosen.cbegin(), chosen.cend(),
                                       [](const auto& record) { return record.isActive(); });
    if (anyDisabled)
        menu->addAction(tr("Enable"), this,
                        [this, ids] { m_store->setState(MaskedEmail::State::enabled, ids); });
    if (anyActive)
        menu->addAction(tr("Disable"), this,
                        [this, ids] { m_store->setState(MaskedEmail::State::disabled, ids); });
    menu->addSeparator();
    menu->addAction(tr("Delete…"), this, [this, ids] { askToDelete(ids); });
    return menu;
}

void MaskedEmailWindow::edit(const QSet<QString>& ids)
{
    const QList<MaskedEmail> chosen =
        ids.size() == 1 ? m_model->records(ids) : QList<MaskedEmail>();
    if (!chosen.isEmpty())
        openEditor<MaskedEmailEditor>(m_store, std::optional(chosen.first()));
}

void MaskedEmailWindow::create()
{
    openEditor<MaskedEmailEditor>(m_store, std::optional<MaskedEmail>());
}

QString MaskedEmailWindow::deleteTitle(qsizetype count) const
{
    return count == 1 ? tr("Delete this masked email?") : tr("Delete %1 masked emails?").arg(count);
}

QString MaskedEmailWindow::deleteMessage() const
{
    return tr("Mail sent to it is rejected from now on. Disable it instead to keep receiving mail "
              "in the trash.");
}

void MaskedEmailWindow::remove(const QSet<QString>& ids)
{
    m_store->setState(MaskedEmail::State::deleted, ids);
}

QString MaskedEmailWindow::copyText(const QSet<QString>& ids) const
{
    QStringList addresses;
    for (const MaskedEmail& record : m_model->records(ids))
        addresses.append(record.email);
    return addresses.join(u'\n');
}
