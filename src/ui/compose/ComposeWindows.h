#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QUuid>

#include <functional>

class AppState;
class ComposeWindow;

// The open compose windows, one per draft id. The main window holds this and gives opener() to
// AppState, which calls it whenever a draft needs its window.
class ComposeWindows : public QObject
{
    Q_OBJECT
public:
    explicit ComposeWindows(AppState* state, QObject* parent = nullptr);
    // Closes what is still open, so that each draft is saved or dropped by its owner.
    ~ComposeWindows() override;

    // Opens the window of a draft id, or brings the open one to the front.
    std::function<void(QUuid)> opener();
    ComposeWindow* open(const QUuid& draftId);
    ComposeWindow* window(const QUuid& draftId) const;
    QList<ComposeWindow*> windows() const;

private:
    QPointer<AppState> m_state;
    QHash<QUuid, QPointer<ComposeWindow>> m_windows;
};
