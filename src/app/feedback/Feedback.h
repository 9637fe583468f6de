#pragma once

#include <QList>
#include <QString>

#include <utility>

// What a message to the makers is: a bug report carries diagnostics, a feature request none.
enum class FeedbackKind
{
    Bug,
    Feature,
};

// The text of a feedback mail, and where it goes.
namespace Feedback {

// "Bug Report" or "Feature Request".
QString title(FeedbackKind kind);

// The address feedback goes to, fixed when the program is built; empty when the build has none.
QString supportAddress();

// "Veldrin <version> (<build>)": the version of the build and the revision it was built from.
QString appVersion();

// The machine's product name from the firmware tables; "?" when unreadable or empty.
QString hardwareModel(const QString& path = QStringLiteral("/sys/class/dmi/id/product_name"));

// The labelled lines a bug report carries: "App", "OS" and "Machine". Read once.
const QList<std::pair<QString, QString>>& diagnostics();

// "Veldrin <title>: <first non-empty line>", the line cut at 60 characters with "…".
QString subject(const QString& text, FeedbackKind kind);

// The text as typed; a bug report adds a signature block with the diagnostics.
QString body(const QString& text, FeedbackKind kind);

} // namespace Feedback
