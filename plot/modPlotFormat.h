// Plot format: how many plots, which quantity on which axis, gridlines, visible curves.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "plot/modPlotScales.h"

namespace vorela {

struct PlotFormatOptions {
    std::int16_t y1 = 0;  ///< quantity code
    std::int16_t y2 = 2;
    std::int16_t valve = 0;       ///< 0 PVLPOS, 1 PVLSIG
    std::int16_t horizontal = 4;  ///< intervals along the value axis
    std::int16_t vertical = 2;    ///< intervals along the time axis
    bool pressure = true;
    bool flow = true;
    bool valveShown = true;
    bool filteredPressure = true;
    bool filteredFlow = true;
    std::int32_t flowCurve = 0;  ///< 0 standard, 1 the acquisition system's filtered flow
    std::int16_t nPlots = 2;

    bool Shows(Quantity quantity) const;
};
PlotFormatOptions& PlotFormat();

inline constexpr std::int16_t mostGridlines = 20;
/// A gridline count as it is drawn: 1 … 20, whatever a hand-edited settings file holds.
int DrawnGridlines(std::int16_t stored);
/// Plots as they are drawn: 1 or 2.
int DrawnPlots(std::int16_t stored);

/// The `[Plot]` section. A key that cannot be used (beyond 16 bits) keeps its default; the others are read
/// all the same and one report is shown.
void ReadPlotFormat();
void WritePlotFormat();

/// The dialog's controls as values: indices of chosen buttons and of the entry of cboNPlots, texts of the
/// combo boxes.
struct PlotFormatForm {
    std::int16_t y1 = 0, y2 = 2, mod = 0, flow = 0;
    std::string horizontal, vertical;
    std::int16_t nPlotsEntry = 1;
    bool pressure = true, flowShown = true, valve = true, filteredPressure = true, filteredFlow = true;
};
/// The controls' contents for the current format; counts and codes outside the dialog's choices show as what
/// is drawn.
PlotFormatForm ShowPlotFormat();

/// Copies the form into the format and checks it: true when the plot can be drawn with it, otherwise false
/// after the message; the format keeps the values copied.
bool GetPlotFormatFromDialog(const PlotFormatForm& form);

/// PVLSIG is a curve common to all selected datasets.
bool ValveSignalInCommonList();

/// What the command line can set of `[Plot]`.
SettingsSection PlotSettings();

}  // namespace vorela
