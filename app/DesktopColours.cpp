#include "app/DesktopColours.h"

#include <QApplication>
#include <QPalette>

#include "analysis/CellColours.h"

namespace vorela {

void MakeHintsLegible() {
    const QPalette desktop = QApplication::palette();
    QPalette hints = desktop;  // sets this one role: all others stay those of the desktop
    constexpr double share = 0.65;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        const QColor field = desktop.color(group, QPalette::Base);
        hints.setColor(group, QPalette::PlaceholderText,
                       LegibleText(Tinted(field, desktop.color(group, QPalette::Text), share), field));
    }
    hints.setColor(QPalette::Disabled, QPalette::PlaceholderText,
                   desktop.color(QPalette::Disabled, QPalette::Text));
    QApplication::setPalette(hints);
}

}  // namespace vorela
