#include "app/WindowPlace.h"

#include <QDialog>
#include <QScrollArea>
#include <QStyle>
#include <QVBoxLayout>
#include <algorithm>
#include <cstdint>

#include "general/SettingsTable.h"

namespace vorela {
namespace {

constexpr const char* section = "Window";
constexpr int smallestSide = 100;
constexpr int largestSide = 100000;

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
    auto* scroll = new QScrollArea;
    auto* contents = new QWidget;
    contents->setLayout(form);  // with all its widgets
    form->setContentsMargins(0, 0, 0, 0);
    auto* outer = new QVBoxLayout(&dialog);
    outer->addWidget(scroll);
    outer->addLayout(buttons);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(contents);
    outer->activate();  // the smaller minimum counts from here on
}

}  // namespace

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

}  // namespace vorela
