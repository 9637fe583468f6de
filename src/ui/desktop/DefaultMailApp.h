#pragma once

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

// The desktop's record of which application opens mailto: links, read and changed through
// xdg-mime, which knows how each desktop keeps it.
class DefaultMailApp : public QObject
{
    Q_OBJECT
public:
    // Our entry, as installed with the program.
    static constexpr const char* veldrinDesktopId = "veldrin.desktop";

    explicit DefaultMailApp(QObject* parent = nullptr);

    // The desktop file id of the application that opens mailto: links now; absent when none.
    const std::optional<QString>& defaultApp() const { return m_defaultApp; }
    // The name to show for it: the Name= of its desktop file, else the id.
    QString displayName() const;
    bool isVeldrin() const;
    // The last attempt to change the default was refused.
    bool failed() const { return m_failed; }
    // An attempt to change the default is running.
    bool isChanging() const { return m_changing; }

    // Asks the desktop again; never throws.
    QCoro::Task<> readDefault();
    // Asks the desktop to make Veldrin the default, then reads what it now says.
    QCoro::Task<> makeDefault();

    // The Name= of a desktop file found by its id under the XDG data folders, in the user's
    // language where the file has it; absent when there is no such file or it has no name.
    static std::optional<QString> desktopEntryName(const QString& desktopId);
    // The applications/ folders in which desktop files are looked up, most important first.
    static QStringList applicationDirs();

    // The program run; tests may point it elsewhere.
    QString program = QStringLiteral("xdg-mime");
    // The desktop may ask the user before it changes the default, so this is generous.
    std::chrono::milliseconds changeTimeout{std::chrono::minutes(5)};

Q_SIGNALS:
    void changed();

private:
    void setDefaultApp(const std::optional<QString>& app);

    std::optional<QString> m_defaultApp;
    QString m_name;
    bool m_failed = false;
    bool m_changing = false;
};
