#include "plotview/TimeCursors.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr int guideHeight = 6;
constexpr int markerWidth = 14;  // even: half of it is whole pixels
constexpr int markerHeight = 20;
constexpr int stripHeight = 24;
constexpr int farOutside = 32000;  // pixels; where a marker goes that has no place on any screen
constexpr const char* source = "TimeCursors";
const std::array<QString, 2> persistedNames{QStringLiteral("Cursor1"), QStringLiteral("Cursor2")};

class GuideBar final : public QWidget {
  public:
    using QWidget::QWidget;

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::Mid));
        painter.setBrush(palette().color(QPalette::Midlight));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
};

class Marker final : public QWidget {
  public:
    Marker(QWidget* parent, const QString& number, const QColor& colour)
        : QWidget(parent), number_(number), colour_(colour) {
        setFocusPolicy(Qt::StrongFocus);
        setCursor(Qt::SizeHorCursor);
        resize(markerWidth, markerHeight);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const double middle = width() / 2.0;
        const double shoulder = height() * 0.35;
        const QPolygonF house{QPointF{middle, 0.5}, QPointF{width() - 0.5, shoulder},
                              QPointF{width() - 0.5, height() - 0.5}, QPointF{0.5, height() - 0.5},
                              QPointF{0.5, shoulder}};
        painter.setPen(hasFocus() ? QPen(palette().color(QPalette::Highlight), 2) : QPen(Qt::black, 1));
        painter.setBrush(colour_);
        painter.drawPolygon(house);
        QFont font = painter.font();
        font.setPixelSize(11);
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRectF(0, shoulder - 2, width(), height() - shoulder + 2), Qt::AlignCenter, number_);
    }
    void focusInEvent(QFocusEvent*) override { update(); }
    void focusOutEvent(QFocusEvent*) override { update(); }

  private:
    QString number_;
    QColor colour_;
};

/// What is not ≥ 0 (not-a-number too) becomes 0, what is above 100 becomes 100.
void ClampPercent(float& percent) {
    if (!(percent >= 0.0F))
        percent = 0.0F;
    if (percent > 100.0F)
        percent = 100.0F;
}

}  // namespace

TimeCursors::TimeCursors(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("cursors"));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    guide_ = new GuideBar(this);
    guide_->setObjectName(QStringLiteral("imgGuide"));
    const std::array<QColor, 2> colours{QColor(200, 0, 0), QColor(0, 0, 200)};
    for (std::size_t i = 0; i < markers_.size(); ++i) {
        const QString number = QString::number(i + 1);
        markers_[i] = new Marker(this, number, colours[i]);
        markers_[i]->setObjectName(QStringLiteral("imgCursor") + number);
        markers_[i]->setAccessibleName(tr("Time cursor %1").arg(number));
        markers_[i]->setToolTip(tr("Time cursor %1: drag it, or use the arrow keys (Ctrl: ten pixels). "
                                   "Double-click to type its time.")
                                    .arg(number));
        markers_[i]->installEventFilter(this);
    }
    LayOut();
}

QSize TimeCursors::sizeHint() const {
    return {200, stripHeight};
}

void TimeCursors::setCursor1(float percent) {
    SetPosition(0, percent);
}
void TimeCursors::setCursor2(float percent) {
    SetPosition(1, percent);
}

void TimeCursors::SetPosition(std::size_t marker, float percent) {
    // The clamped copy is thrown away on purpose: a position outside the guide is kept as it is, because a
    // cursor that was placed on a longer record must come back to its place when that record is shown again.
    float clamped = percent;
    ClampPercent(clamped);
    position_[marker] = percent;
    emit PropertyMarked(persistedNames[marker]);
    LayOut();
    emit CursorMoved(position_[0], position_[1]);
}

void TimeCursors::setMargin(int margin) {
    margin_ = CheckedNarrow<std::int16_t>(margin, source);
    emit PropertyMarked(QStringLiteral("Margin"));
    LayOut();
}

void TimeCursors::SetVisibleSpan(double fromPercent, double toPercent) {
    if (!(toPercent > fromPercent))
        return;
    visibleFrom_ = fromPercent;
    visibleTo_ = toPercent;
    for (std::size_t i = 0; i < markers_.size(); ++i)
        Place(i);
}

QVariantMap TimeCursors::SavedProperties() const {
    return {{persistedNames[0], position_[0]},
            {persistedNames[1], position_[1]},
            {QStringLiteral("Margin"), margin_}};
}

void TimeCursors::RestoreProperties(const QVariantMap& saved) {
    setMargin(saved.value(QStringLiteral("Margin"), 0).toInt());
    setCursor1(saved.value(persistedNames[0], defaults[0]).toFloat());
    setCursor2(saved.value(persistedNames[1], defaults[1]).toFloat());
}

void TimeCursors::LayOut() {
    // The margin is doubled in 16 bits, as wide as the property itself is.
    const std::int16_t bothMargins = CheckedNarrow<std::int16_t>(2 * std::int64_t{margin_}, source);
    guideWidth_ = width() - bothMargins;
    guide_->setGeometry(margin_, (height() - guideHeight) / 2, std::max(guideWidth_, 0), guideHeight);
    for (std::size_t i = 0; i < markers_.size(); ++i)
        Place(i);
}

void TimeCursors::Place(std::size_t marker) {
    const double share = (position_[marker] - visibleFrom_) / (visibleTo_ - visibleFrom_);
    double left = guideWidth_ * share - markerWidth / 2.0 + margin_;
    if (!(std::abs(left) <= farOutside))
        left = left > 0 ? farOutside : -farOutside;
    markers_[marker]->move(static_cast<int>(std::lround(left)), (height() - markerHeight) / 2);
}

bool TimeCursors::MoveMarker(std::size_t marker, int proposedLeft) {
    const int lowest = margin_ - markerWidth / 2;
    const int highest = margin_ + guideWidth_ - markerWidth / 2;
    // A move past an end is ignored, not stopped at the end: the marker stays where it was.
    if (guideWidth_ <= 0 || proposedLeft < lowest || proposedLeft > highest)
        return false;
    markers_[marker]->move(proposedLeft, markers_[marker]->y());
    const double share = (proposedLeft + markerWidth / 2.0 - margin_) / guideWidth_;
    position_[marker] = static_cast<float>(visibleFrom_ + share * (visibleTo_ - visibleFrom_));
    emit CursorMoved(position_[0], position_[1]);
    return true;
}

void TimeCursors::resizeEvent(QResizeEvent*) {
    if (2 * margin_ == static_cast<std::int16_t>(2 * margin_))
        LayOut();
}

bool TimeCursors::eventFilter(QObject* watched, QEvent* event) {
    const auto found = std::find(markers_.begin(), markers_.end(), watched);
    if (found == markers_.end())
        return QWidget::eventFilter(watched, event);
    const auto marker = static_cast<std::size_t>(found - markers_.begin());
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseMove:
        case QEvent::MouseButtonDblClick:
            return HandleMouse(marker, *static_cast<QMouseEvent*>(event));
        case QEvent::KeyPress: {
            const auto& key = *static_cast<QKeyEvent*>(event);
            return HandleKey(marker, key.key(), key.modifiers().testFlag(Qt::ControlModifier));
        }
        default:
            return QWidget::eventFilter(watched, event);
    }
}

bool TimeCursors::HandleMouse(std::size_t marker, const QMouseEvent& event) {
    const double x = event.position().x();
    if (event.type() == QEvent::MouseButtonDblClick) {
        emit CursorDoubleClicked(static_cast<int>(marker) + 1);
    } else if (event.type() == QEvent::MouseButtonPress) {
        dragOffset_ = RoundTo<std::int16_t>(x, source);
        markers_[marker]->raise();
        markers_[marker]->setFocus(Qt::MouseFocusReason);
    } else if (event.buttons() != Qt::NoButton) {
        MoveMarker(marker, static_cast<int>(RoundHalfEven(markers_[marker]->x() - dragOffset_ + x)));
    }
    return true;
}

bool TimeCursors::HandleKey(std::size_t marker, int key, bool tenfold) {
    if (key != Qt::Key_Left && key != Qt::Key_Right)
        return false;
    const int pixels = (key == Qt::Key_Left ? -1 : 1) * (tenfold ? 10 : 1);
    MoveMarker(marker, markers_[marker]->x() + pixels);
    return true;
}

}  // namespace vorela
