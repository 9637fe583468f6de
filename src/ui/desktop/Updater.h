#pragma once

#include "Appcast.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;

// Looks for newer releases in the update feed that the build names. Installing is the package
// manager's job here, so a newer release is offered as its web page. Exists only in builds
// that name a feed.
class Updater : public QObject
{
    Q_OBJECT
public:
    struct Check
    {
        enum class Outcome
        {
            Newer,
            UpToDate,
            Failed,
        };
        Outcome outcome = Outcome::UpToDate;
        // With Newer.
        std::optional<Appcast::Release> release;
        // With Failed: what went wrong, for the user.
        QString error;
    };

    struct Options
    {
        QUrl feed;
        QString currentVersion;
        // Where the updater keeps the user's choices (an INI file).
        QString stateFile;
        // Automatic checks: the first a while after launch, then one a day.
        std::chrono::milliseconds firstCheckDelay{std::chrono::minutes(1)};
        std::chrono::milliseconds checkInterval{std::chrono::hours(24)};
    };

    Updater(Options options, QNetworkAccessManager* network, QObject* parent = nullptr);
    ~Updater() override;

    // The feed this build names; empty when it names none.
    static QUrl configuredFeed();
    // This build's version.
    static QString currentVersion();
    // The updater of this build, or null when it names no feed.
    static std::unique_ptr<Updater> standard(QNetworkAccessManager* network);

    const QString& version() const { return m_options.currentVersion; }
    // False while a check runs.
    bool canCheckForUpdates() const { return m_canCheck; }
    bool checksAutomatically() const { return m_checksAutomatically; }
    void setChecksAutomatically(bool on);
    // A release the user chose to skip; automatic checks keep quiet about it.
    const QString& skippedVersion() const { return m_skippedVersion; }
    void skipVersion(const QString& version);

    // Reads the feed once. Never throws: failures come back as Failed.
    QCoro::Task<Check> check();
    // The menu item: a check whose every outcome is shown to the user.
    void checkForUpdates();

Q_SIGNALS:
    void canCheckForUpdatesChanged();
    void checksAutomaticallyChanged();
    // A check ended. `userAsked` is false for the timed checks, which only speak up about a
    // newer release that was not skipped.
    void checked(const Updater::Check& result, bool userAsked);

private:
    void setCanCheck(bool can);
    void schedule();
    void saveState();
    static QCoro::Task<> run(QPointer<Updater> self, bool userAsked);
    // What a finished request of the feed says.
    static Check outcome(QNetworkReply* reply, const QString& currentVersion);

    Options m_options;
    QNetworkAccessManager* m_network;
    bool m_canCheck = true;
    bool m_checksAutomatically = true;
    QString m_skippedVersion;
    QDateTime m_lastCheck;
    QTimer m_timer;
};
