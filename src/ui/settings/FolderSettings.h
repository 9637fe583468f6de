#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

class AppState;
class QCheckBox;
class QComboBox;
class QLabel;
class QToolButton;
class QVBoxLayout;

// The Folders tab: where "Move to Spam" files mail, and which folders hide while empty.
class FolderSettings : public QWidget
{
    Q_OBJECT
public:
    explicit FolderSettings(AppState* state, QWidget* parent = nullptr);

    QComboBox* spamPicker() const { return m_spam; }
    QToolButton* allButton() const { return m_all; }
    QToolButton* noneButton() const { return m_none; }
    // The "Hide when empty" toggle of a mailbox; null when it has none.
    QCheckBox* hideToggle(const QString& mailboxId) const;

private:
    // The mailboxes changed: the picker's choices and the toggles are made anew.
    void rebuild();
    // The settings changed: the controls show them, rows stay as they are.
    void showConfig();
    void chooseSpam(int index);
    void setHideWhenEmpty(const QStringList& ids);

    AppState* m_state;
    QComboBox* m_spam;
    QToolButton* m_all;
    QToolButton* m_none;
    QLabel* m_noFolders;
    QWidget* m_rows;
    QVBoxLayout* m_rowLayout;
    QList<std::pair<QString, QCheckBox*>> m_toggles;
    // What the rows were made from: the junk folder's name, then id, name and depth of each.
    QStringList m_shape;
};
