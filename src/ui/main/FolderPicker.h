#pragma once

#include "jmap/Mailbox.h"

#include <QDialog>

class AppState;
class QLabel;
class QLineEdit;
class QListWidget;

// The sheet for "Move to…" and "Go to folder": a filter field over the matching mailboxes.
// The arrow keys in the field move the highlight, Return takes it.
class FolderPickerView : public QDialog
{
    Q_OBJECT
public:
    explicit FolderPickerView(AppState* state, QWidget* parent);

    // The mailboxes on offer: the whole tree in display order but the mailbox on show, those
    // whose name holds `filter` in any case when it is not empty.
    static QList<Mailbox> matches(AppState* state, const QString& filter);

    QLineEdit* filterField() const { return m_filter; }
    QListWidget* list() const { return m_list; }
    QLabel* footerLabel() const { return m_footer; }
    // The highlighted match's id; empty when nothing matches.
    QString highlightedId() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void done(int result) override;

private:
    void showState();
    void fill();
    void stepHighlight(int delta);
    void choose();

    AppState* m_state;
    QLineEdit* m_filter;
    QListWidget* m_list;
    QLabel* m_footer;
    QList<Mailbox> m_matches;
};
