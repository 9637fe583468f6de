#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

// What the user may edit on a Masked Email address, as typed.
struct MaskedEmailDetails
{
    QString forDomain;
    QString description;

    bool operator==(const MaskedEmailDetails&) const = default;

    // "<scheme>://<host>[:<port>]" of a website typed or pasted in any common form; the empty
    // string for blank text; absent when the text is no website.
    static std::optional<QString> origin(const QString& text);

    // The site as stored: its origin, or the trimmed text when it is no website.
    QString storedForDomain() const;
    QString storedDescription() const;
    // Both keys always, so that an update also clears a field.
    QJsonObject json() const;
};
