#pragma once

#include <QPointer>
#include <QWidget>

class DirectoryStore;
class QLabel;

// The bar along the top of a directory window while its store has an error.
class DirectoryErrorBar : public QWidget
{
    Q_OBJECT
public:
    explicit DirectoryErrorBar(DirectoryStore* store, QWidget* parent = nullptr);
    QString message() const;
    // Clears the store's error; the bar hides with it.
    void dismiss();

private:
    void refresh();
    QPointer<DirectoryStore> m_store;
    QLabel* m_message;
};
