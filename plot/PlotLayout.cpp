#include "plot/PlotLayout.h"

#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr const char* source = "modPlot";
constexpr double textShare = 1.0 / 30;  // of the picture's height
constexpr double lowestText = 14;       // device units
constexpr double highestText = 16;

int Rounded(double value) {
    return RoundTo<int>(value, source);
}

int TextHeight(double yScale) {
    const int height = Rounded(logicalExtent * textShare);
    if (height * yScale < lowestText)
        return Rounded(lowestText / yScale);
    if (height * yScale > highestText)
        return Rounded(highestText / yScale);
    return height;
}

}  // namespace

int PlotLayout::CursorMargin(double pictureWidth) const {
    return Rounded(pictureWidth * textHeight / logicalExtent);
}

PlotLayout DefinePlotLayout(PictureSize picture, int across, int down, int horizontal, int vertical) {
    PlotLayout layout;
    const auto scale = [](double extent) { return extent == 0 ? 1.0 : extent / logicalExtent; };
    layout.xScale = scale(picture.width);
    layout.yScale = scale(picture.height);
    layout.textHeight = TextHeight(layout.yScale);
    layout.gap = Rounded(layout.textHeight / 4.0 * layout.yScale);
    layout.fontHeight = Rounded(layout.textHeight * layout.yScale);
    const double text = layout.textHeight;
    const double cellWidth = static_cast<double>(logicalExtent) / across;
    const double cellHeight = static_cast<double>(logicalExtent) / down;
    for (int row = 0; row < down; ++row) {
        for (int column = 0; column < across; ++column) {
            const double left = column * cellWidth + text;
            const double right = (column + 1) * cellWidth - text;
            const double top = row * cellHeight + text * 0.5;
            const double bottom = (row + 1) * cellHeight - text;
            if (right <= left || bottom <= top)
                continue;
            layout.cells.push_back({Rounded(left * layout.xScale), Rounded(top * layout.yScale),
                                    Rounded(right * layout.xScale), Rounded(bottom * layout.yScale),
                                    Rounded((right - left) / vertical * layout.xScale),
                                    Rounded((bottom - top) / horizontal * layout.yScale)});
        }
    }
    return layout;
}

}  // namespace vorela
