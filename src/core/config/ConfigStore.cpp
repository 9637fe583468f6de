#include "ConfigStore.h"

#include "jmap/Errors.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QSaveFile>

namespace {

// The caller appends its own punctuation after our text.
QString withoutFinalPeriod(QString text)
{
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    return text;
}

[[noreturn]] void fail(const QString& text)
{
    throw MessageError(withoutFinalPeriod(text));
}

} // namespace

ConfigStore::ConfigStore()
    : url(QUrl::fromLocalFile(QDir::homePath() + QStringLiteral("/.config/veldrin/config.json")))
{
}

AppConfig ConfigStore::load() const
{
    const QString filePath = path();
    if (!QFileInfo::exists(filePath)) {
        AppConfig defaults;
        save(defaults);
        return defaults;
    }

    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        fail(file.errorString());
    const QByteArray data = file.readAll();
    if (file.error() != QFileDevice::NoError)
        fail(file.errorString());

    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        fail(QStringLiteral("The file is not valid JSON (%1 at offset %2)")
                 .arg(parseError.errorString())
                 .arg(parseError.offset));
    if (!document.isObject())
        fail(QStringLiteral("The file does not hold a JSON object"));

    try {
        return AppConfig::fromJson(document.object());
    } catch (const DecodeError& error) {
        fail(error.description());
    }
}

void ConfigStore::save(const AppConfig& config) const
{
    const QString filePath = path();
    const QString folder = QFileInfo(filePath).absolutePath();
    if (!QDir().mkpath(folder))
        fail(QStringLiteral("The folder %1 could not be created")
                 .arg(QDir::toNativeSeparators(folder)));

    // QJsonObject keeps its keys sorted and the indented form leaves slashes alone, which is
    // what makes the file byte-stable.
    const QByteArray data = QJsonDocument(config.toJson()).toJson(QJsonDocument::Indented);

    // The data goes to a temporary file that replaces the old one only when complete, so a
    // crash never leaves half a file behind.
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly))
        fail(file.errorString());
    if (file.write(data) != data.size()) {
        const QString message = file.errorString();
        file.cancelWriting();
        fail(message);
    }
    if (!file.commit())
        fail(file.errorString());
}
