#include "Feedback.h"

#include "BuildInfo.h"

#include <QFile>
#include <QSysInfo>

namespace Feedback {

QString title(FeedbackKind kind)
{
    switch (kind) {
    case FeedbackKind::Bug:
        return QStringLiteral("Bug Report");
    case FeedbackKind::Feature:
        return QStringLiteral("Feature Request");
    }
    return QString();
}

QString supportAddress()
{
    return QStringLiteral(VELDRIN_SUPPORT_ADDRESS).trimmed();
}

QString appVersion()
{
    const QString version = QStringLiteral(VELDRIN_VERSION);
    const QString build = QStringLiteral(VELDRIN_REVISION);
    return QStringLiteral("Veldrin %1 (%2)")
        .arg(version.isEmpty() ? QStringLiteral("?") : version,
             build.isEmpty() ? QStringLiteral("?") : build);
}

QString hardwareModel(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("?");
    // The file is a line or two; more than that is not a product name.
    const QString name = QString::fromUtf8(file.read(256)).simplified();
    return name.isEmpty() ? QStringLiteral("?") : name;
}

const QList<std::pair<QString, QString>>& diagnostics()
{
    static const QList<std::pair<QString, QString>> rows{
        {QStringLiteral("App"), appVersion()},
        {QStringLiteral("OS"), QSysInfo::prettyProductName()},
        {QStringLiteral("Machine"), hardwareModel()},
    };
    return rows;
}

QString subject(const QString& text, FeedbackKind kind)
{
    QString line;
    for (const QString& candidate : text.split(u'\n')) {
        const QString trimmed = candidate.trimmed();
        if (!trimmed.isEmpty()) {
            line = trimmed;
            break;
        }
    }
    if (line.size() > 60) {
        // Never cut a surrogate pair in half.
        qsizetype cut = 60;
        if (line.at(cut - 1).isHighSurrogate())
            --cut;
        line = line.left(cut) + QStringLiteral("…");
    }
    return QStringLiteral("Veldrin %1: %2").arg(title(kind), line);
}

QString body(const QString& text, FeedbackKind kind)
{
    if (kind == FeedbackKind::Feature)
        return text;
    QStringList lines;
    for (const auto& [label, value] : diagnostics())
        lines.append(label + QStringLiteral(": ") + value);
    return text + QStringLiteral("\n\n-- \n") + lines.join(u'\n') + u'\n';
}

} // namespace Feedback
