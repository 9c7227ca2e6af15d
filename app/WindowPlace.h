// Size and position of the main window between runs, in the settings section [Window].
#pragma once

#include <QRect>
#include <optional>
#include <vector>

class QDialog;

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

/// The size that its form gives a dialog, or that its contents need. Where it is larger than `room`, the
/// contents are put into a scroll area above the row of buttons and the dialog is made to fit.
void FitDialog(QDialog& dialog, const QSize& room);

}  // namespace vorela
