#pragma once

#include <QByteArray>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QtGlobal>

// Sample files under tests/fixtures, which CTest passes as VELDRIN_FIXTURES. A missing file
// stops the test at once: comparing against nothing would hide the fault.
namespace Fixtures {

inline QString path(const QString& relative)
{
    return qEnvironmentVariable("VELDRIN_FIXTURES") + QLatin1Char('/') + relative;
}

inline QByteArray bytes(const QString& relative)
{
    QFile file(path(relative));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("missing fixture %s (is VELDRIN_FIXTURES set?)", qPrintable(relative));
    return file.readAll();
}

inline QString text(const QString& relative)
{
    return QString::fromUtf8(bytes(relative));
}

inline QJsonObject json(const QString& relative)
{
    return QJsonDocument::fromJson(bytes(relative)).object();
}

// JSON written in a test; a typo in it stops the test rather than comparing against nothing.
inline QJsonObject object(const char* text)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray(text), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        qFatal("bad JSON in test: %s", text);
    return document.object();
}

} // namespace Fixtures
