#pragma once

#include "AppConfig.h"

#include <QString>
#include <QUrl>

// Reads and writes the settings file. Errors are thrown with a description that reads well
// after "Could not read <path>: " or "Could not save config: ".
struct ConfigStore
{
    // ~/.config/veldrin/config.json
    ConfigStore();
    explicit ConfigStore(QUrl fileUrl) : url(std::move(fileUrl)) {}
    explicit ConfigStore(const QString& path) : url(QUrl::fromLocalFile(path)) {}

    QUrl url;

    QString path() const { return url.toLocalFile(); }

    // The settings in the file. With no file yet, writes the defaults first so that the user
    // finds a complete file to edit; a failure of that write is thrown too.
    AppConfig load() const;
    // Replaces the file atomically: keys sorted, pretty printed, so equal settings give equal
    // bytes. Creates the missing folders on the way.
    void save(const AppConfig& config) const;
};
