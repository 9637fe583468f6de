#pragma once

#include <QColor>
#include <QPalette>

// Secondary text: between the text and the background it stands on, so it reads as quieter
// in light and dark palettes alike (the placeholder colour is too faint for reading).
inline QColor secondaryTextColor(const QPalette& palette, bool selected = false)
{
    const QColor text = palette.color(selected ? QPalette::HighlightedText : QPalette::Text);
    const QColor back = palette.color(selected ? QPalette::Highlight : QPalette::Base);
    const float keep = selected ? 0.8f : 0.6f;
    return QColor::fromRgbF(text.redF() * keep + back.redF() * (1 - keep),
                            text.greenF() * keep + back.greenF() * (1 - keep),
                            text.blueF() * keep + back.blueF() * (1 - keep));
}
