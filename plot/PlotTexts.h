// Where every text of a picture stands: planned before anything is written, so that no two meet and none is
// cut, and so that the pointer can be told what it is on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "plot/DrawingSurface.h"
#include "plot/PlotContents.h"
#include "plot/PlotLayout.h"

namespace vorela {

enum class TextRole { axisValue, timeValue, timeLabel, axisLabel, title, legend, cycleNumber, footer };

struct PlacedText {
    TextRole role = TextRole::title;
    std::string text;
    TextAlignment alignment = TextAlignment::bottomLeft;
    DevicePoint at;  ///< the point of the text that its alignment names
    DeviceBox box;   ///< all that it takes, the key of a legend's entry with it
    std::size_t cell = 0;
    std::optional<Quantity> quantity{};  ///< of an axis or a legend's entry
    std::int32_t cycle = 0;              ///< of a cycle number, from 1
    bool faint = false;                  ///< of a curve that is hidden
};

/// Width of a text in the drawing's font, device units.
using TextMeasure = std::function<double(const std::string&)>;

inline constexpr double legendLine = 20;  ///< length of a legend's key, device units

/// Plans the texts of all plots. What has no room is left out, least important first: ranges in the legend,
/// the title, the legend, labels; values of gridlines between the outer ones; cycle numbers but the selected.
/// `roomBelow` is free under the lowest plot's margin, device units.
std::vector<PlacedText> PlanTexts(const PlotInformation& information, const PlotFormatOptions& format,
                                  const PlotLayout& layout, const TextMeasure& measure, double roomBelow = 0);

/// Lines of a footer: the items, separated by " · ", broken where a line is full. A single item that is wider
/// is cut in its middle.
std::vector<std::string> FooterLines(const std::vector<std::string>& items, double width,
                                     const TextMeasure& measure);

/// Width that the values of one axis take at the side of a plot; 0 when none is written. The pointer is on
/// that axis there.
double AxisColumnWidth(const std::vector<PlacedText>& texts, std::size_t cell, Quantity axis);

/// Shares of a plot's height that its header takes at the top and its cycle numbers at the bottom.
struct TextBands {
    double top = 0, bottom = 0;
};
/// Of the plot where each is largest: an axis may be that of both.
TextBands BandsOf(const std::vector<PlacedText>& texts, const PlotLayout& layout);

}  // namespace vorela
