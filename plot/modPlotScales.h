// Presentation options: the plotted time range and the vertical range of each of the five quantities.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "general/SettingsTable.h"

namespace vorela {

/// Quantity codes of axes and curves.
enum class Quantity : std::int16_t {
    pressure = 0,
    flow = 1,
    valve = 2,
    filteredPressure = 3,
    filteredFlow = 4
};
inline constexpr std::size_t quantityCount = 5;
constexpr std::size_t IndexOf(Quantity quantity) {
    return static_cast<std::size_t>(quantity);
}

/// The user's range of one quantity and the range drawn.
struct AxisOptions {
    double minimum = 0;
    double maximum = 0;
    bool automatic = true;
    double plottedMinimum = 0;
    double plottedMaximum = 0;
};

struct PresentationOptions {
    std::int32_t rangeStart = 0;   ///< first second of the plotted range
    std::int32_t rangeEnd = 0;     ///< last second of it
    std::int32_t timeRange = 240;  ///< width of the "Fixed range" window, s
    bool timeAuto = false;         ///< "All data"
    bool elapsed = false;          ///< "Display elapsed time"
    bool fixed = true;             ///< "Fixed range", else "Specific zone"
    double start = 0;              ///< of the specific zone, s
    double end = 1000;
    /// By quantity code.
    std::array<AxisOptions, quantityCount> axes{{{10, 25, true, 0, 0},
                                                 {-10, 10, true, 0, 0},
                                                 {0, 100, true, 0, 0},
                                                 {-20, 20, true, 0, 0},
                                                 {-10, 10, true, 0, 0}}};

    AxisOptions& Axis(Quantity quantity) { return axes[IndexOf(quantity)]; }
    const AxisOptions& Axis(Quantity quantity) const { return axes[IndexOf(quantity)]; }
};
PresentationOptions& PrsOpt();

/// Smallest and largest sample of each quantity over the plotted span; empty where there was no sample.
struct DataExtent {
    std::optional<double> minimum, maximum;
};
using DataExtents = std::array<DataExtent, quantityCount>;

/// The `[Presentation]` section. A key that cannot be used (a time range beyond 32 bits) keeps its default;
/// the others are read all the same and one report is shown.
void ReadPresentationOptions();
void WritePresentationOptions();

/// Whole seconds, at least 60 apart, of a span in hundredths of a second; halves go to the even second.
struct PlottedRange {
    std::int32_t start = 0;
    std::int32_t end = 0;
    bool operator==(const PlottedRange&) const = default;
};
PlottedRange RangeInSeconds(std::int32_t first, std::int32_t last);

/// Stores RangeInSeconds as the plotted range, and its width as TimeRange.
void UpdateTimeRange(std::int32_t first, std::int32_t last);

/// Sets the plotted range of every axis: the extents rounded outwards to 10 (filtered quantities: 1) when it
/// is automatic, else the user's. An automatic axis without a sample goes from 0 to one step; one whose
/// extents cannot be rounded in 32 bits gets the user's range after the report.
void UpdateYAxes(PresentationOptions& options, const DataExtents& extents);

/// The dialog's controls as values.
struct AxisForm {
    bool autoscale = true;
    BoxText minimum, maximum;
};
struct ScalesForm {
    std::string range;  ///< text of cboRange
    bool fullRange = false;
    bool elapsed = false;
    bool fixed = true;
    BoxText start, end;
    std::array<AxisForm, quantityCount> axes;  ///< by quantity code
};
/// The controls' contents for the current options.
ScalesForm ShowPresentationOptions();
/// Entries of cboRange, seconds.
std::array<std::int32_t, 11> RangeChoices();
/// Which controls of the time frame apply to the chosen time mode.
struct TimeControls {
    bool modes;  ///< optFixed, optSpecific
    bool range;
    bool zone;  ///< start and end
};
TimeControls EnabledTimeControls(bool fullRange, bool fixed);

/// Checks in the dialog's order and stores as it goes; fields checked before a refusal keep their new values.
/// True when all is well; otherwise the message was shown and `control` names the box at fault.
bool ValidatePresentationOptions(const ScalesForm& form, std::string& control);

/// Makes the zone the "Specific zone" under the dialog's checks and writes the section. False after the
/// message.
bool SetSpecificZone(double startSeconds, double endSeconds);

/// What the command line can set of `[Presentation]`.
SettingsSection PresentationSettings();
/// What the dialog would say about the order of the stored limits; nothing when it would accept them.
std::optional<Refusal> PresentationOrderFault(const PresentationOptions& options);

}  // namespace vorela
