// Message boxes, progress bar, status bar and save dialog of the window.
#pragma once

#include <QElapsedTimer>
#include <QPointer>
#include <string>

#include "general/Ports.h"

class QProgressBar;
class QStatusBar;
class QWidget;

namespace vorela {

class QtPorts final : public MessagePort, public ProgressPort, public StatusPort, public SaveFilePort {
  public:
    /// Before a window is attached (start-up) boxes stand alone, progress and status go nowhere.
    void Attach(QWidget* window, QProgressBar* bar, QStatusBar* statusBar);

    /// The box is a QMessageBox named "msgBox".
    void Show(MessageIcon icon, const std::string& title, const std::string& text) override;
    bool AskYesNo(const std::string& title, const std::string& text) override;

    void SetRange(int minimum, int maximum) override;
    int Maximum() const override;
    int Value() const override;
    void SetValue(int value) override;
    void Pulse() override { Repaint(); }
    /// The work is done: the bar, which shows itself when work takes a while, goes.
    void HideProgress();
    void SetText(const std::string& text) override;
    std::string Text() const override;

    /// The dialog is a QFileDialog named "CDlg".
    std::optional<SaveFileChoice> AskSaveFile(const SaveFileRequest& request) override;

    /// Shows what has changed, without taking the user's input. At most every 30 ms.
    void Repaint();
    /// True when the window was repainted during work since the last call: the work was long enough for the
    /// user to have pressed keys meanwhile.
    bool TakeRepainted();

    Ports AsPorts() { return {this, this, this, this}; }

  private:
    QPointer<QWidget> window_;
    QPointer<QProgressBar> bar_;
    QPointer<QStatusBar> statusBar_;
    QElapsedTimer sinceRepaint_;
    QElapsedTimer working_;  ///< since the first progress of the work that runs
    bool repainted_ = false;
    int maximum_ = 0;  // while no bar is attached
    int value_ = 0;
};

/// The arrow in place of a wait cursor while a box or dialog asks the user.
class ArrowCursor {
  public:
    ArrowCursor();
    ~ArrowCursor();
    ArrowCursor(const ArrowCursor&) = delete;
    ArrowCursor& operator=(const ArrowCursor&) = delete;

  private:
    bool shown_;
};

}  // namespace vorela
