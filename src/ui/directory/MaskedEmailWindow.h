#pragma once

#include "DirectoryWindow.h"

class MaskedEmailStore;
class MaskedEmailTableModel;
class QComboBox;

// The account's masked addresses: which are on, what each is for and when it last got mail;
// new ones for a website, and turning them on, off or away.
class MaskedEmailWindow : public DirectoryWindow
{
    Q_OBJECT
public:
    explicit MaskedEmailWindow(AppState* state, QWidget* parent = nullptr);

    MaskedEmailTableModel* model() const { return m_model; }
    QComboBox* filterPicker() const { return m_filter; }
    QMenu* contextMenu(const QSet<QString>& ids) override;
    void edit(const QSet<QString>& ids) override;
    void create() override;

protected:
    bool canAct() const override;
    void load() override;
    void showEmptyState(DirectoryEmptyState* empty) override;
    QString deleteTitle(qsizetype count) const override;
    QString deleteMessage() const override;
    void remove(const QSet<QString>& ids) override;
    QString copyText(const QSet<QString>& ids) const override;

private:
    MaskedEmailStore* m_store;
    MaskedEmailTableModel* m_model;
    QComboBox* m_filter;
};
