// Size and position of the main window between runs, in the settings section [Window].
#pragma once

#include <QRect>
#include <optional>
#include <vector>

namespace vorela {

struct WindowPlace {
    QRect normal;  ///< device-independent pixels, client area
    bool maximized = false;
};

/// Nothing when none was kept, or what is kept makes no sense.
std::optional<WindowPlace> ReadWindowPlace();
void WriteWindowPlace(const WindowPlace& place);

/// `window` moved, and made smaller where it must be, so that all of it lies on one of the screens: the one
/// it shares most with, the first when it lies on none.
QRect PlaceOnScreens(const QRect& window, const std::vector<QRect>& screens);

}  // namespace vorela
