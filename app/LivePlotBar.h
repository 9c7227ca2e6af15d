// The row under the plot of a level that is being recorded: whether the picture follows the recording, and
// whether the time cursors stay at their times while "All data" grows.
#pragma once

#include <QWidget>

class QCheckBox;
class QLabel;
class QPushButton;

namespace vorela {

class LivePlotBar : public QWidget {
    Q_OBJECT
  public:
    explicit LivePlotBar(QWidget* parent = nullptr);

    /// Shown while the level is being recorded; the pause ends with the recording. `growing`: the time range
    /// grows with it, so that cursor times can be held.
    void ShowFor(bool recorded, bool growing);
    /// Why the shown view does not move with the recording though it is not paused; "" while it does.
    void SetStill(const QString& why);
    bool IsPaused() const { return paused_; }
    bool HoldsCursors() const;
    void TogglePause();

  signals:
    void Resumed();
    void HoldChanged();

  private:
    void SetPaused(bool on);
    void ShowState();

    QPushButton* follow_;
    QCheckBox* hold_;
    QLabel* state_;
    bool paused_ = false;
    QString still_;
};

}  // namespace vorela
