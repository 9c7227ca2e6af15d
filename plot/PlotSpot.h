// What lies under a point of a drawn plot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "plot/PlotRenderer.h"

namespace vorela {

enum class SpotKind { outside, plot, axis, legend, cycle };

struct PlotSpot {
    SpotKind kind = SpotKind::outside;
    std::size_t cell = 0;
    std::optional<Quantity> quantity{};  ///< of an axis and of a legend's entry
    std::int32_t cycle = 0;              ///< whose number it is, from 1
};

/// The column of an axis's values and the margin beside it are the axis.
PlotSpot SpotAt(const PlotDrawing& drawing, DevicePoint point);

}  // namespace vorela
