#include "plot/DrawingTools.h"

namespace vorela {
namespace {

constexpr Colour black{0, 0, 0};
constexpr Colour white{255, 255, 255};
constexpr Colour red{255, 0, 0};
constexpr Colour green{0, 255, 0};
constexpr Colour blue{0, 0, 255};
constexpr Colour cyan{0, 255, 255};
constexpr Colour yellow{255, 255, 0};
constexpr Colour magenta{255, 0, 255};
constexpr Colour lightGrey{192, 192, 192};
constexpr Colour lightBlue{128, 128, 255};

constexpr std::array<PenDescription, penCount> colourPens{{
    {LineStyle::solid, 1, black},
    {LineStyle::dotted, 2, black},
    {LineStyle::none, 1, black},
    {LineStyle::solid, 2, red},
    {LineStyle::dotted, 2, red},
    {LineStyle::solid, 1, lightGrey},
    {LineStyle::solid, 2, blue},
    {LineStyle::dotted, 2, blue},
    {LineStyle::solid, 1, green},
    {LineStyle::solid, 1, cyan},
    {LineStyle::solid, 1, yellow},
    {LineStyle::solid, 1, magenta},
    {LineStyle::solid, 1, lightBlue},
}};

constexpr std::array<Colour, brushCount> colourBrushes{red, yellow, green, magenta, cyan, black, white, blue};
constexpr std::size_t whiteBrush = 6;

}  // namespace

std::array<PenDescription, penCount> PensOf(bool monochrome) {
    std::array<PenDescription, penCount> pens = colourPens;
    if (monochrome)
        for (PenDescription& pen : pens)
            pen.colour = black;
    return pens;
}

std::array<Colour, brushCount> BrushesOf(bool monochrome) {
    std::array<Colour, brushCount> brushes = colourBrushes;
    if (monochrome)
        brushes.fill(white);
    return brushes;
}

DrawingTools::DrawingTools(DrawingSurface& surface, bool monochrome) : surface_(surface) {
    const auto pens = PensOf(monochrome);
    for (std::size_t i = 0; i < penCount; ++i)
        pens_[i] = surface_.CreatePen(pens[i]);
    const auto brushes = BrushesOf(monochrome);
    for (std::size_t i = 0; i < brushCount; ++i)
        brushes_[i] = surface_.CreateBrush(brushes[i]);
    surface_.SelectObject(brushes_[whiteBrush]);
    Select(PlotPen::none);
}

DrawingTools::~DrawingTools() {
    for (const DrawingObject pen : pens_)
        surface_.DeleteObject(pen);
    for (const DrawingObject brush : brushes_)
        surface_.DeleteObject(brush);
}

}  // namespace vorela
