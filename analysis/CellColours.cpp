#include "analysis/CellColours.h"

#include <algorithm>
#include <cmath>

namespace vorela {
namespace {

double Linear(double channel) {
    constexpr double linearEnd = 0.04045;
    return channel <= linearEnd ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
    return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
           0.0722 * Linear(colour.blueF());
}

}  // namespace

double ContrastOf(const QColor& one, const QColor& other) {
    const double a = Luminance(one);
    const double b = Luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QColor LegibleOn(const QColor& background) {
    const QColor black(Qt::black);
    const QColor white(Qt::white);
    return ContrastOf(black, background) >= ContrastOf(white, background) ? black : white;
}

QColor LegibleText(const QColor& text, const QColor& background) {
    return ContrastOf(text, background) >= leastContrast ? text : LegibleOn(background);
}

QColor Tinted(const QColor& base, const QColor& accent, double share) {
    const auto mixed = [share](int from, int to) {
        return static_cast<int>(std::lround(from + share * (to - from)));
    };
    return {mixed(base.red(), accent.red()), mixed(base.green(), accent.green()),
            mixed(base.blue(), accent.blue())};
}

}  // namespace vorela
