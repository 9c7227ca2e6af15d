// The plot area `picPlot`: a cached picture of one dataset's plot with the two cursor lines in it, a
// crosshair over it, zoom and pan of time and value axes with the way back. Under it belong the time cursors
// control and the readout strip:
//
//     auto* plot = new PlotWidget(page);
//     auto* cursors = new TimeCursors(page);
//     auto* readout = new PlotReadoutStrip(plot, page);
//     plot->ConnectCursors(cursors);   // both ways: positions, margin, visible part, double-click
//     plot->ServeKeysOf(page);         // the plot's keys, whichever of them has the focus
#pragma once

#include <QWidget>
#include <cstddef>
#include <memory>

#include "plot/PlotData.h"
#include "plotview/PlotFile.h"

class QMenu;

namespace vorela {

class TimeCursors;
enum class ViewStep;
struct PlotReadout;
struct PlotView;

class PlotWidget : public QWidget {
    Q_OBJECT

  public:
    explicit PlotWidget(QWidget* parent = nullptr);
    ~PlotWidget() override;

    /// The plot driver: gets the plot information of a selected dataset (0-based), shows what it has to say,
    /// and draws the picture. False, after the message, when nothing can be drawn; the plot area is then
    /// empty. A zoom stays only while dataset and chosen time scale stay the same.
    bool ShowDataset(std::size_t dataset);
    /// An empty plot area.
    void Clear();
    /// The timer's redraw: the time range follows the newly logged data unless the plot is zoomed. A message
    /// that was shown since the last ShowDataset is not shown again. Does what ShowDataset does when another
    /// dataset is shown.
    void Follow(std::size_t dataset);

    /// Cursor positions in percent of the chosen time range.
    void SetCursors(float cursor1, float cursor2);

    /// The keys of the plot also act while a widget inside `page` has the focus.
    void ServeKeysOf(QWidget* page);
    /// A key of the plot; false when it is none.
    bool HandleKey(const QKeyEvent& event);

    /// Wires the control under this plot with it, both ways.
    void ConnectCursors(TimeCursors* cursors);

    /// Values at the cursors, as the strip shows them; up to date when ReadoutChanged is raised.
    const PlotReadout& Readout() const;

    /// What shown times count from, in seconds of the record: not 0 while elapsed time is displayed.
    double TimeOrigin() const;

    /// True while other spans of the time or value axes are seen than the options choose.
    bool IsZoomed() const;
    /// True while a span of the viewer's choice is seen, which no new data move.
    bool StaysInTime() const;
    /// How to save or print a dataset's plot at this widget's size with its cursors: as it is seen now, when
    /// it is the one shown, else over its chosen time range.
    PlotFileOptions FileOptions(std::size_t dataset) const;

    QSize sizeHint() const override { return {800, 480}; }
    QSize minimumSizeHint() const override { return {80, 60}; }

  public slots:
    /// Asks for the position of cursor 1 or 2 in seconds and puts it there.
    void TypeCursorPosition(int cursor);
    /// Back to the chosen scales of all axes.
    void ResetZoom();
    /// The whole record, also as it grows; the settings stay.
    void ViewAllData();
    /// Value axes that hold the shown curves tightly, for this view of this level.
    void FitAxes();
    void GoBack();
    void GoForward();
    /// The picture as it is seen, with its footer, to the clipboard.
    void CopyPicture();
    /// Whether cursors dragged in the plot snap; kept in the settings.
    void SetSnap(bool snap);

  signals:
    /// The user moved a cursor in the plot area; percent of the chosen time range.
    void CursorDragged(float cursor1, float cursor2);
    /// Margin of the time cursors control that puts its guide under the time axis.
    void MarginChanged(int margin);
    /// The visible part of the chosen time range in percent (0 to 100 when not zoomed).
    void VisibleSpanChanged(double fromPercent, double toPercent);
    void ReadoutChanged();
    /// The user made the zone between the cursors the specific zone: settings are written, the plot is drawn
    /// anew.
    void ScalesChanged();
    /// The user wants the results to be taken from this cycle of the shown dataset, from 1.
    void CycleChosen(int cycle);
    /// The user wants to save the plot.
    void SaveRequested();

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void leaveEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    struct State;
    enum class Drag { none, click, cursor1, cursor2, zoom, pan, axis };

    bool Draw(TimeMode mode, TimeSpan span, bool verify);
    void Redraw();
    void ReadOn();
    QRect ReadingPlate() const;
    void ClearPicture();
    void LeaveView(ViewStep step);
    void View(TimeSpan span, ViewStep step);
    void ViewAxis(Quantity quantity, AxisRange range, ViewStep step);
    void ResetAxis(Quantity quantity);
    void ToggleCurve(Quantity quantity);
    void GoTo(const PlotView& view);
    void AnnounceLayout();
    void RefreshReadout();
    TimeSpan ViewLimits() const;
    /// What a zoomed plot is drawn with.
    TimeSpan ZoomSpan() const;
    void PutCursor(int cursor, double time);
    void DragCursor(int cursor, double x, bool snap);
    void PutCursorsRound(std::int32_t cycle);
    void SetSpecificZoneFromCursors();
    void BringCursorsIntoView();
    Drag DragFor(const QMouseEvent& event) const;
    void DragView(const QPoint& position);
    bool EndDrag();
    void HoverAt(const QPoint& position);
    void ClickSpot(const QPoint& global);
    void AddCycleEntries(QMenu& menu, std::int32_t cycle);
    void AddCurveEntries(QMenu& menu);
    void AddCyclesAt(QMenu& menu, double time);
    bool OpenContextMenu();
    bool HandleHistoryKey(int key);
    bool HandleTimeKey(int key);

    std::unique_ptr<State> state_;
};

}  // namespace vorela
