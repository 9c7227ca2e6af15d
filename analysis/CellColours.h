// Colours of grid cells that can be read on light and on dark desktops.
#pragma once

#include <QColor>

namespace vorela {

/// Least contrast of text to what it stands on.
inline constexpr double leastContrast = 4.5;

/// Contrast of two colours, 1 to 21: (L1 + 0.05) / (L2 + 0.05) with the relative luminances of sRGB.
double ContrastOf(const QColor& one, const QColor& other);

/// Black or white, whichever stands out more: 4.58 at the least.
QColor LegibleOn(const QColor& background);
/// The colour itself where it has the least contrast, else black or white.
QColor LegibleText(const QColor& text, const QColor& background);

/// `share` (0 … 1) of the accent over the base.
QColor Tinted(const QColor& base, const QColor& accent, double share);

}  // namespace vorela
