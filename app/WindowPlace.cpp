#include "app/WindowPlace.h"

#include <QDialog>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <cstdint>

#include "app/QtPorts.h"
#include "general/SettingsTable.h"
#include "plotview/PictureWidget.h"

namespace vorela {
namespace {

constexpr const char* section = "Window";
constexpr int smallestSide = 100;
constexpr int largestSide = 100000;
constexpr double largestFirstShare = 0.9;  // of the screen, before the user chose a size

/// The section's fields; what the file does not hold makes no sense and so is not used.
struct StoredPlace {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool maximized = false;
};

SettingFields Fields(StoredPlace& place) {
    constexpr auto integer = SettingReading::integer;
    return {{"Left", &place.left, {}, integer},
            {"Top", &place.top, {}, integer},
            {"Width", &place.width, {}, integer},
            {"Height", &place.height, {}, integer},
            {"Maximized", &place.maximized}};
}

std::int64_t Area(const QRect& rect) {
    return rect.isValid() ? std::int64_t{rect.width()} * rect.height() : 0;
}

/// All but the last row of the form's layout, which holds the buttons, becomes the contents of a scroll area.
void MakeScrollable(QDialog& dialog) {
    auto* form = qobject_cast<QVBoxLayout*>(dialog.layout());
    if (form == nullptr || form->count() < 2 || form->itemAt(form->count() - 1)->layout() == nullptr)
        return;
    auto* buttons = form->takeAt(form->count() - 1)->layout();
    buttons->setParent(nullptr);
    QWidget* const focused = dialog.focusWidget();
    // Within the dialog, so that the way of the Tab key stays as it is.
    auto* scroll = new QScrollArea(&dialog);
    auto* contents = new QWidget(&dialog);
    contents->setLayout(form);  // with all its widgets
    form->setContentsMargins(0, 0, 0, 0);
    auto* outer = new QVBoxLayout(&dialog);
    outer->addWidget(scroll);
    outer->addLayout(buttons);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(contents);
    outer->activate();                    // the smaller minimum counts from here on
    scroll->setFocusPolicy(Qt::NoFocus);  // it follows what has the focus in it
    if (focused != nullptr)
        focused->setFocus();
}

}  // namespace

void LetViewsShrink(QDialog& dialog) {
    const auto shrink = [](QWidget* view) {
        QSizePolicy policy = view->sizePolicy();
        policy.setVerticalPolicy(QSizePolicy::Ignored);
        policy.setVerticalStretch(
            std::max(policy.verticalStretch(), 1));  // all of it: the captions stay beside
        view->setSizePolicy(policy);
    };
    for (QTableWidget* table : dialog.findChildren<QTableWidget*>())
        shrink(table);
    for (PictureWidget* picture : dialog.findChildren<PictureWidget*>())
        shrink(picture);
}

void FitDialog(QDialog& dialog, const QSize& room) {
    dialog.ensurePolished();
    QSize wanted = dialog.testAttribute(Qt::WA_Resized) ? dialog.size() : dialog.sizeHint();
    if (dialog.hasHeightForWidth())
        wanted.setHeight(std::max(wanted.height(), dialog.heightForWidth(wanted.width())));
    wanted = wanted.expandedTo(dialog.minimumSizeHint());
    if (wanted.width() > room.width() || wanted.height() > room.height()) {
        MakeScrollable(dialog);
        const int bar = dialog.style()->pixelMetric(QStyle::PM_ScrollBarExtent);
        wanted += QSize(bar, bar);
    }
    dialog.resize(wanted.boundedTo(room));
}

std::optional<WindowPlace> ReadWindowPlace() {
    StoredPlace place;
    ReadFields(section, Fields(place));
    const auto sound = [](int value, int lower) { return value >= lower && value <= largestSide; };
    if (!sound(place.width, smallestSide) || !sound(place.height, smallestSide) ||
        !sound(place.left, -largestSide) || !sound(place.top, -largestSide))
        return std::nullopt;
    return WindowPlace{QRect(place.left, place.top, place.width, place.height), place.maximized};
}

void WriteWindowPlace(const WindowPlace& place) {
    const QRect& normal = place.normal;
    StoredPlace stored{normal.left(), normal.top(), normal.width(), normal.height(), place.maximized};
    WriteFields(section, Fields(stored));
}

QRect PlaceOnScreens(const QRect& window, const std::vector<QRect>& screens) {
    if (screens.empty())
        return window;
    const auto shared = [&window](const QRect& screen) { return Area(screen.intersected(window)); };
    const QRect screen =
        *std::max_element(screens.begin(), screens.end(),
                          [&](const QRect& a, const QRect& b) { return shared(a) < shared(b); });
    QRect placed(window.topLeft(), window.size().boundedTo(screen.size()));
    placed.moveLeft(
        std::clamp(placed.left(), screen.left(), screen.left() + screen.width() - placed.width()));
    placed.moveTop(std::clamp(placed.top(), screen.top(), screen.top() + screen.height() - placed.height()));
    return placed;
}

// Before the window manager has framed the window, the style's title bar stands for it.
QSize FrameOf(const QWidget& window) {
    const QSize real = window.frameGeometry().size() - window.geometry().size();
    return window.isVisible() ? real
                              : real.expandedTo({0, window.style()->pixelMetric(QStyle::PM_TitleBarHeight)});
}

QSize RoomOver(const QWidget& window) {
    return window.screen()->availableGeometry().size() - FrameOf(window);
}

int RunDialog(QDialog& dialog, const QWidget& window) {
    const ArrowCursor arrow;
    FitDialog(dialog, RoomOver(window));
    QRect place(QPoint(), dialog.size() + FrameOf(window));
    place.moveCenter(window.frameGeometry().center());
    dialog.move(PlaceOnScreens(place, {window.screen()->availableGeometry()}).topLeft());
    return dialog.exec();
}

PlaceKeeper::PlaceKeeper(QWidget* window) : QObject(window), window_(window) {
    std::vector<QRect> screens;
    for (const QScreen* one : QGuiApplication::screens())
        screens.push_back(one->availableGeometry());
    const std::optional<WindowPlace> kept = ReadWindowPlace();
    const QSize first =
        window->geometry().size().boundedTo(window->screen()->availableSize() * largestFirstShare);
    // What is kept is the client's size; the frame around it has to be on the screen too.
    const QSize frame = FrameOf(*window);
    normal_ = kept ? kept->normal : QRect(window->pos(), first);
    normal_ = PlaceOnScreens(QRect(normal_.topLeft(), normal_.size() + frame), screens);
    normal_.setSize(normal_.size() - frame);
    window->resize(normal_.size());
    if (kept)
        window->move(normal_.topLeft());
    if (kept && kept->maximized)
        window->setWindowState(Qt::WindowMaximized);
    window->installEventFilter(this);
}

void PlaceKeeper::Keep() const {
    WriteWindowPlace({normal_, window_->isMaximized()});
}

bool PlaceKeeper::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_ && window_->isVisible() && !window_->isMaximized() && !window_->isMinimized()) {
        if (event->type() == QEvent::Resize)
            normal_.setSize(window_->size());
        else if (event->type() == QEvent::Move)
            normal_.moveTopLeft(window_->pos());
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace vorela
