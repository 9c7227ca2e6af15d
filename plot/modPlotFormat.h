// Plot format: how many plots, which quantity on which axis, gridlines, visible curves.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "plot/modPlotScales.h"

namespace vorela {

struct PlotFormatOptions {
    std::int16_t y1 = 0;          ///< quantity code
    std::int16_t y2 = 2;
    std::int16_t valve = 0;       ///< 0 PVLPOS, 1 PVLSIG
    std::int16_t horizontal = 4;  ///< intervals along the value axis
    std::int16_t vertical = 2;    ///< intervals along the time axis
    bool pressure = true;
    bool flow = true;
    bool valveShown = true;
    bool filteredPressure = true;
    bool filteredFlow = true;
    std::int32_t flowCurve = 0;   ///< 0 standard, 1 the acquisition system's filtered flow
    std::int16_t nPlots = 2;
};
PlotFormatOptions& PlotFormat();

void ReadPlotFormat();
void WritePlotFormat();

}  // namespace vorela
