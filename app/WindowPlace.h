// Where windows stand: size and position of the main window between runs, in the settings section [Window],
// and those of the dialogs over it.
#pragma once

#include <QObject>
#include <QRect>
#include <optional>
#include <vector>

class QDialog;
class QWidget;

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
/// Tables and pictures of a dialog take the height that is left for them: what they would like themselves
/// must not bring a scroll bar about all of it.
void LetViewsShrink(QDialog& dialog);

/// What the frame adds to a window's size.
QSize FrameOf(const QWidget& window);
/// What a dialog's contents can take of the screen that `window` is on, below a frame like its own.
QSize RoomOver(const QWidget& window);
/// The dialog, modal over the middle of `window`, wholly on its screen. Its result.
int RunDialog(QDialog& dialog, const QWidget& window);

/// Keeps a window's size and position, those it has while it is neither maximized nor minimized.
class PlaceKeeper : public QObject {
  public:
    /// Puts the window where it was kept, else where it is, so that all of it is on a screen.
    explicit PlaceKeeper(QWidget* window);
    /// Into the settings.
    void Keep() const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QWidget* window_;
    QRect normal_;
};

}  // namespace vorela
