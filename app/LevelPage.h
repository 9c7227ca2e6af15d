// The page of a level's tab: its plot with the time cursors, the pages of its cycles, and the row that tells
// how the picture follows a recording.
#pragma once

#include <QTimer>
#include <QWidget>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "follow/CursorHold.h"

class QKeyEvent;
class QLabel;
class QPrinter;
class QStackedWidget;
class QTabBar;

namespace vorela {

class CycleView;
class LivePlotBar;
class PlotWidget;
class TimeCursors;

class LevelPage : public QWidget {
    Q_OBJECT
  public:
    /// The dataset (0-based) whose tab is selected; nothing on the tabs of the grids.
    using Shown = std::function<std::optional<std::size_t>()>;
    LevelPage(Shown shown, QWidget* parent);

    /// The kept positions, which no user has put there.
    void PutCursors(CursorPositions positions);
    CursorPositions Cursors() const;

    /// Draws the picture of a level whose tab is selected.
    void Show(std::size_t dataset);
    /// An empty picture.
    void Clear();
    /// The redraw of a timer pass, as the next event; nothing while the picture is paused.
    void Follow(std::size_t dataset);
    /// The row under the picture, for a level that is being recorded.
    void ShowFollowing(bool recorded);
    void TogglePause();

    /// A key of the plot while it is what the page shows; false when it is none.
    bool HandleKey(const QKeyEvent& event);
    void FocusPicture();

    /// The selected tab shows a page of cycles; what is saved and printed is that page, else the plot of the
    /// dataset that is named, wherever the user is.
    bool ShowsCycles() const { return ShownCycles() != nullptr; }
    bool Save(const std::string& path, std::size_t dataset, int resolution, bool monochrome,
              bool withCursors) const;
    bool PrintOn(QPrinter& printer, std::size_t dataset) const;

  signals:
    /// The user wants the results to be taken from this cycle, from 1.
    void CycleChosen(int cycle);
    void SaveRequested();
    /// The plot's scales are others: everything is to be drawn anew.
    void ScalesChanged();
    /// The pause is over: the picture is to follow the recording again.
    void Resumed();

  private:
    QString WhyStill() const;
    void FollowNow();
    void AddPage(const QString& name, QWidget* page);
    void AddPlot();
    void AddCycleViews();
    void AddLiveBar();
    CycleView* ShownCycles() const;
    void ShowCycles();
    void ShowCursorValues();
    void CursorsMoved(float cursor1, float cursor2);
    void HoldCursors();

    Shown shown_;
    QTabBar* tsLevel_;
    QStackedWidget* pages_;
    PlotWidget* picPlot_ = nullptr;
    TimeCursors* cursors_ = nullptr;
    QLabel* lblCursors_ = nullptr;
    LivePlotBar* liveBar_ = nullptr;
    CursorHold hold_;
    QTimer followTimer_;
    std::size_t followed_ = 0;
    bool putting_ = false;  ///< the cursors are being put to positions that the user did not choose
};

}  // namespace vorela
