// The time cursors control: two draggable markers over a guide bar that lies under the plotted time axis. A
// marker's position is a percentage of the guide's width.
#pragma once

#include <QVariantMap>
#include <QWidget>
#include <array>
#include <cstdint>

class QMouseEvent;

namespace vorela {

class TimeCursors : public QWidget {
    Q_OBJECT
    Q_PROPERTY(float cursor1 READ cursor1 WRITE setCursor1)
    Q_PROPERTY(float cursor2 READ cursor2 WRITE setCursor2)
    Q_PROPERTY(int Margin READ Margin WRITE setMargin)

  public:
    /// Percent; the control's own, which the kept positions replace.
    static constexpr std::array<float, 2> defaults{33.33F, 66.66F};

    explicit TimeCursors(QWidget* parent = nullptr);

    float cursor1() const { return position_[0]; }
    float cursor2() const { return position_[1]; }
    /// Percent of the guide's width. Stored as given, also outside 0 … 100: then the marker stands outside
    /// the guide. Raises CursorMoved.
    void setCursor1(float percent);
    void setCursor2(float percent);

    /// Left and right distance of the guide from the control's edges, in pixels of this widget.
    std::int16_t Margin() const { return margin_; }
    /// Throws RunTimeError overflow (6) for a margin beyond 16 bits (nothing is stored) and for one whose
    /// double is beyond 16 bits (it is stored, the guide stays where it was). Raises no event.
    void setMargin(int margin);

    /// The part of 0 … 100 % that the guide shows: all of it unless the plot above is zoomed. Positions keep
    /// their values, the markers move on screen; a marker outside the part is hidden. Raises no event.
    void SetVisibleSpan(double fromPercent, double toPercent);

    /// The properties under the names by which they are persisted: "Cursor1", "Cursor2", "Margin".
    QVariantMap SavedProperties() const;
    /// Properties that are absent get their defaults (the margin: 0). Raises CursorMoved.
    void RestoreProperties(const QVariantMap& saved);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

  signals:
    /// Both positions in percent, cursor 1 first: after a property set and on every move that moves a marker.
    void CursorMoved(float cursor1, float cursor2);
    /// A property was set; its persisted name.
    void PropertyMarked(const QString& name);
    /// Marker 1 or 2 was double-clicked.
    void CursorDoubleClicked(int cursor);

  protected:
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void SetPosition(std::size_t marker, float percent);
    void LayOut();
    void Place(std::size_t marker);
    /// Moves a marker when its centre stays on the guide; otherwise nothing happens.
    bool MoveMarker(std::size_t marker, int proposedLeft);
    bool HandleMouse(std::size_t marker, const QMouseEvent& event);
    bool HandleKey(std::size_t marker, int key, bool tenfold);

    QWidget* guide_ = nullptr;
    std::array<QWidget*, 2> markers_{};
    std::array<float, 2> position_ = defaults;
    std::int16_t margin_ = 0;
    std::int16_t dragOffset_ = 0;  ///< x inside the marker at which the button went down
    int guideWidth_ = 0;           ///< may be negative while the control is narrower than its margins
    double visibleFrom_ = 0;
    double visibleTo_ = 100;
};

}  // namespace vorela
