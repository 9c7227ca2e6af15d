// The time cursors control: two draggable markers over a guide bar that lies under the plotted time axis. A marker's
// position is a percentage of the guide's width.
#pragma once

#include <QWidget>
#include <cstdint>

class QLabel;
class QMouseEvent;

namespace vorela {

class TimeCursors : public QWidget {
    Q_OBJECT
    Q_PROPERTY(float Cursor1 READ cursor1 WRITE setCursor1 NOTIFY CursorMoved)
    Q_PROPERTY(float Cursor2 READ cursor2 WRITE setCursor2 NOTIFY CursorMoved)
    Q_PROPERTY(int Margin READ Margin WRITE setMargin)

  public:
    explicit TimeCursors(QWidget* parent = nullptr);

    float cursor1() const { return position_[0]; }
    float cursor2() const { return position_[1]; }
    /// Percent of the guide's width. Stored as given, also outside 0 … 100: then the marker stands outside the guide.
    /// Raises CursorMoved.
    void setCursor1(float percent);
    void setCursor2(float percent);

    /// Left and right distance of the guide from the control's edges, in pixels of this widget.
    std::int16_t Margin() const { return margin_; }
    /// Throws RunTimeError overflow (6) beyond 16 bits, and where twice the margin is; the former guide then stands.
    void setMargin(int margin);

    /// The part of 0 … 100 % that the guide shows: 0 to 100 unless the plot above is zoomed. Positions keep their
    /// meaning, the markers move on screen. Raises no event.
    void SetVisibleSpan(double fromPercent, double toPercent);

    /// Names and values of the properties as they are persisted ("Cursor1", "Cursor2", "Margin").
    QVariantMap SavedProperties() const;
    /// Properties that are absent get their defaults 33.33, 66.66 and 0.
    void RestoreProperties(const QVariantMap& saved);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  signals:
    /// Both positions in percent, cursor 1 first: after a property set and on every move that moves a marker.
    void CursorMoved(float cursor1, float cursor2);
    /// A marker (1 or 2) was double-clicked.
    void CursorDoubleClicked(int cursor);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    class Marker;
    void SetPosition(int cursor, float percent);
    void LayOut();
    void Place(int cursor);
    bool MoveMarker(int cursor, int proposedLeft);
    bool HandleMouse(int cursor, QMouseEvent* event);

    QWidget* guide_ = nullptr;
    std::array<QWidget*, 2> markers_{};
    std::array<float, 2> position_{33.33F, 66.66F};
    std::int16_t margin_ = 0;
    std::int16_t dragOffset_ = 0;
    double visibleFrom_ = 0;
    double visibleTo_ = 100;
};

}  // namespace vorela
