#include "plot/modPlotScales.h"

#include <cmath>
#include <limits>
#include <variant>

#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/SettingsFile.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* section = "Presentation";
constexpr const char* source = "modPlotScales";
constexpr std::int32_t narrowestRangeSeconds = 60;
constexpr double highestInteger = std::numeric_limits<std::int32_t>::max();
constexpr double lowestInteger = std::numeric_limits<std::int32_t>::min();

/// Where a key's value lives.
using Place = std::variant<std::int32_t*, bool*, double*>;

struct Key {
    const char* name;
    Place (*place)(PresentationOptions&);
};

template <Quantity quantity>
Place Minimum(PresentationOptions& o) {
    return &o.Axis(quantity).minimum;
}
template <Quantity quantity>
Place Maximum(PresentationOptions& o) {
    return &o.Axis(quantity).maximum;
}
template <Quantity quantity>
Place Automatic(PresentationOptions& o) {
    return &o.Axis(quantity).automatic;
}

/// In the section's order. The flags of the filtered axes are FPresAuto and FFlowAuto beside FiltPresMin and
/// FiltFlowMin: settings files in the field carry these names, so the mismatch stays.
constexpr std::array keys{
    Key{"TimeRange", [](PresentationOptions& o) -> Place { return &o.timeRange; }},
    Key{"TimeAuto", [](PresentationOptions& o) -> Place { return &o.timeAuto; }},
    Key{"Elapsed", [](PresentationOptions& o) -> Place { return &o.elapsed; }},
    Key{"PresMin", Minimum<Quantity::pressure>},
    Key{"PresMax", Maximum<Quantity::pressure>},
    Key{"PresAuto", Automatic<Quantity::pressure>},
    Key{"FlowMin", Minimum<Quantity::flow>},
    Key{"FlowMax", Maximum<Quantity::flow>},
    Key{"FlowAuto", Automatic<Quantity::flow>},
    Key{"ModMin", Minimum<Quantity::valve>},
    Key{"ModMax", Maximum<Quantity::valve>},
    Key{"ModAuto", Automatic<Quantity::valve>},
    Key{"FiltPresMin", Minimum<Quantity::filteredPressure>},
    Key{"FiltPresMax", Maximum<Quantity::filteredPressure>},
    Key{"FPresAuto", Automatic<Quantity::filteredPressure>},
    Key{"FiltFlowMin", Minimum<Quantity::filteredFlow>},
    Key{"FiltFlowMax", Maximum<Quantity::filteredFlow>},
    Key{"FFlowAuto", Automatic<Quantity::filteredFlow>},
    Key{"Fixed", [](PresentationOptions& o) -> Place { return &o.fixed; }},
    Key{"Start", [](PresentationOptions& o) -> Place { return &o.start; }},
    Key{"End", [](PresentationOptions& o) -> Place { return &o.end; }},
};

struct AxisCheck {
    Quantity quantity;
    const char* name;
    double lower;
    double upper;
    AxisBoxes boxes;
    std::int32_t roundingStep;
};

/// In the dialog's order of checking, which is not that of the quantity codes.
constexpr std::array axisChecks{
    AxisCheck{Quantity::pressure, "Pressure", -2000, highestInteger, {"txtPresMin", "txtPresMax"}, 10},
    AxisCheck{Quantity::flow, "Flow", lowestInteger, highestInteger, {"txtFlowMin", "txtFlowMax"}, 10},
    AxisCheck{Quantity::filteredPressure,
              "Filtered Pressure",
              -10000,
              10000,
              {"txtFiltPresMin", "txtFiltPresMax"},
              1},
    AxisCheck{Quantity::filteredFlow, "Filtered Flow", -1000, 1000, {"txtFiltFlowMin", "txtFiltFlowMax"}, 1},
    AxisCheck{Quantity::valve, "Valve", -100, 70000, {"txtModMin", "txtModMax"}, 10},
};

const AxisCheck& CheckOf(Quantity quantity) {
    for (const AxisCheck& check : axisChecks)
        if (check.quantity == quantity)
            return check;
    throw RunTimeError{error_number::internalError, source, "Unknown quantity"};
}

/// The end of a zone may lie a digit further below zero than its start; sites rely on both bounds as they
/// are.
constexpr double earliestStart = -999999;
constexpr double earliestEnd = -9999999;
constexpr double latestTime = 999999999;
constexpr const char* startMessage = "Start time out of range";
constexpr const char* endMessage = "End time out of range";

std::string MinimumMessage(const AxisCheck& c) {
    return c.name + std::string(" Axis: Minimum value out of range");
}
std::string MaximumMessage(const AxisCheck& c) {
    return c.name + std::string(" Axis: Maximum value out of range");
}

std::optional<Refusal> AxisOrderFault(const AxisCheck& check, const AxisOptions& axis) {
    if (axis.maximum > axis.minimum)
        return std::nullopt;
    return Refusal{check.boxes.maximum,
                   check.name + std::string(" Axis: Maximum must be greater than Minimum")};
}

std::optional<Refusal> TimeOrderFault(const PresentationOptions& options) {
    if (options.end > options.start)
        return std::nullopt;
    return Refusal{"txtEnd", "Start and end times are not in the correct order"};
}

std::optional<Refusal> CheckAxis(const AxisForm& form, const AxisCheck& check, AxisOptions& axis) {
    axis.automatic = form.autoscale;
    if (form.autoscale)
        return std::nullopt;
    if (!CheckRange(form.minimum, check.lower, check.upper, axis.minimum))
        return Refusal{check.boxes.minimum, MinimumMessage(check)};
    if (!CheckRange(form.maximum, check.lower, check.upper, axis.maximum))
        return Refusal{check.boxes.maximum, MaximumMessage(check)};
    return AxisOrderFault(check, axis);
}

std::optional<Refusal> CheckZone(const BoxText& start, const BoxText& end, PresentationOptions& options) {
    if (!CheckRange(start, earliestStart, latestTime, options.start))
        return Refusal{"txtStart", startMessage};
    if (!CheckRange(end, earliestEnd, latestTime, options.end))
        return Refusal{"txtEnd", endMessage};
    return TimeOrderFault(options);
}

std::optional<Refusal> CheckScales(const ScalesForm& form, PresentationOptions& options) {
    // The width of the fixed range is not checked: any width the crew types is theirs, the plot widens it to
    // 60 s.
    options.timeRange = RoundTo<std::int32_t>(LeadingNumber(form.range), source);
    options.timeAuto = form.fullRange;
    options.elapsed = form.elapsed;
    for (const AxisCheck& check : axisChecks)
        if (auto refusal = CheckAxis(form.axes[IndexOf(check.quantity)], check, options.Axis(check.quantity)))
            return refusal;
    options.fixed = form.fixed;
    return CheckZone(form.start, form.end, options);
}

bool ShowIfRefused(const std::optional<Refusal>& refusal) {
    if (refusal)
        ShowRefusal(*refusal);
    return !refusal;
}

double CheckedRound(double value, std::int32_t step, std::int64_t stepsUp) {
    const double steps = std::floor(CheckedDivide(value, step, source));
    const std::int64_t whole = RoundTo<std::int32_t>(steps, source) + stepsUp;
    return CheckedNarrow<std::int32_t>(whole * step, source);
}

std::optional<double> TryRound(const char* stepText, double value, std::int32_t step, std::int64_t stepsUp) {
    return Attempt(stepText, std::optional<double>{},
                   [&] { return std::optional<double>(CheckedRound(value, step, stepsUp)); });
}
std::optional<double> TryRoundDown(double value, std::int32_t step) {
    return TryRound("Rounding down", value, step, 0);
}
std::optional<double> TryRoundUp(double value, std::int32_t step) {
    return TryRound("Rounding up", value, step, 1);
}

void UpdateAxis(AxisOptions& axis, const DataExtent& extent, std::int32_t step) {
    axis.plottedMinimum = axis.minimum;
    axis.plottedMaximum = axis.maximum;
    if (!axis.automatic)
        return;
    const bool sampled = extent.minimum && extent.maximum;
    const std::optional<double> low = sampled ? TryRoundDown(*extent.minimum, step) : 0.0;
    const std::optional<double> high = sampled ? TryRoundUp(*extent.maximum, step) : step;
    if (low && high) {
        axis.plottedMinimum = *low;
        axis.plottedMaximum = *high;
    }
}

void ReadKey(const Key& key, PresentationOptions& options) {
    struct Reader {
        const char* name;
        const std::string& path = SettingsFilePath();
        double Number(double defaultValue) const {
            return LeadingNumber(ReadIniString(section, name, ShortestText(defaultValue), path));
        }
        void operator()(std::int32_t* value) const { *value = RoundTo<std::int32_t>(Number(*value), source); }
        void operator()(double* value) const { *value = Number(*value); }
        void operator()(bool* value) const {
            *value = ReadIniInteger(section, name, *value ? -1 : 0, path) != 0;
        }
    };
    std::visit(Reader{key.name}, key.place(options));
}

std::string TextOf(const Place& place) {
    struct Writer {
        std::string operator()(const std::int32_t* value) const { return std::to_string(*value); }
        std::string operator()(const double* value) const { return ShortestText(*value); }
        std::string operator()(const bool* value) const { return *value ? "-1" : "0"; }
    };
    return std::visit(Writer{}, place);
}

}  // namespace

PresentationOptions& PrsOpt() {
    static PresentationOptions options;
    return options;
}

void ReadPresentationOptions() {
    Attempt("Reading presentation options", [] {
        PresentationOptions options;
        std::optional<RunTimeError> fault;
        for (const Key& key : keys) {
            try {
                ReadKey(key, options);
            } catch (const RunTimeError& error) {
                fault = error;
            }
        }
        PrsOpt() = options;
        if (fault)
            throw *fault;
    });
}

void WritePresentationOptions() {
    Attempt("Writing presentation options", [] {
        for (const Key& key : keys)
            WriteIniString(section, key.name, TextOf(key.place(PrsOpt())), SettingsFilePath());
    });
}

double RoundDown(double value, std::int32_t step) {
    return TryRoundDown(value, step).value_or(0.0);
}
double RoundUp(double value, std::int32_t step) {
    return TryRoundUp(value, step).value_or(0.0);
}

PlottedRange RangeInSeconds(std::int32_t first, std::int32_t last) {
    PlottedRange range{RoundTo<std::int32_t>(first / 100.0, source),
                       RoundTo<std::int32_t>(last / 100.0, source)};
    if (range.end - range.start < narrowestRangeSeconds)
        range.end = range.start + narrowestRangeSeconds;
    return range;
}

void UpdateTimeRange(std::int32_t first, std::int32_t last) {
    Attempt("Updating PrsOpt", [&] {
        const PlottedRange range = RangeInSeconds(first, last);
        PrsOpt().rangeStart = range.start;
        PrsOpt().rangeEnd = range.end;
        PrsOpt().timeRange = range.end - range.start;
    });
}

void UpdateYAxes(PresentationOptions& options, const DataExtents& extents) {
    Attempt("Updating PrsOpt Y axes", [&] {
        for (std::size_t i = 0; i < quantityCount; ++i)
            UpdateAxis(options.axes[i], extents[i], CheckOf(static_cast<Quantity>(i)).roundingStep);
    });
}

void UpdateYAxes(const DataExtents& extents) {
    UpdateYAxes(PrsOpt(), extents);
}

ScalesForm ShowPresentationOptions() {
    const PresentationOptions& options = PrsOpt();
    ScalesForm form;
    form.range = std::to_string(options.timeRange);
    form.fullRange = options.timeAuto;
    form.elapsed = options.elapsed;
    form.fixed = options.fixed;
    form.start = {ShortestText(options.start), false};
    form.end = {ShortestText(options.end), false};
    for (std::size_t i = 0; i < quantityCount; ++i) {
        const AxisOptions& axis = options.axes[i];
        form.axes[i] = {
            axis.automatic, {ShortestText(axis.minimum), false}, {ShortestText(axis.maximum), false}};
    }
    return form;
}

std::array<std::int32_t, 11> RangeChoices() {
    std::array<std::int32_t, 11> choices{};
    std::int32_t seconds = narrowestRangeSeconds;
    for (std::int32_t& choice : choices) {
        choice = seconds;
        seconds *= 2;
    }
    return choices;
}

const AxisBoxes& BoxesOf(Quantity quantity) {
    return CheckOf(quantity).boxes;
}

TimeControls EnabledTimeControls(bool fullRange, bool fixed) {
    return {!fullRange, !fullRange && fixed, !fullRange && !fixed};
}

bool ValidatePresentationOptions(const ScalesForm& form, std::string& control) {
    control = "cboRange";
    return Attempt("Getting presentation information", false, [&] {
        const std::optional<Refusal> refusal = CheckScales(form, PrsOpt());
        control = refusal ? refusal->control : "";
        return ShowIfRefused(refusal);
    });
}

bool SetSpecificZone(double startSeconds, double endSeconds) {
    return Attempt("Getting presentation information", false, [&] {
        PresentationOptions options = PrsOpt();
        options.timeAuto = false;
        options.fixed = false;
        if (!ShowIfRefused(CheckZone({ShortestText(startSeconds)}, {ShortestText(endSeconds)}, options)))
            return false;
        PrsOpt() = options;
        WritePresentationOptions();
        return true;
    });
}

std::optional<SettingRange> PresentationSettingRange(const std::string& key) {
    for (const Key& known : keys) {
        if (!EqualIgnoringCase(known.name, key))
            continue;
        PresentationOptions options;
        const Place place = known.place(options);
        if (place == Place(&options.start))
            return SettingRange{earliestStart, latestTime, startMessage};
        if (place == Place(&options.end))
            return SettingRange{earliestEnd, latestTime, endMessage};
        for (const AxisCheck& check : axisChecks) {
            if (place == Place(&options.Axis(check.quantity).minimum))
                return SettingRange{check.lower, check.upper, MinimumMessage(check)};
            if (place == Place(&options.Axis(check.quantity).maximum))
                return SettingRange{check.lower, check.upper, MaximumMessage(check)};
        }
        return SettingRange{lowestInteger, highestInteger, key + ": Out of range", true};
    }
    return std::nullopt;
}

std::optional<Refusal> PresentationOrderFault(const PresentationOptions& options) {
    for (const AxisCheck& check : axisChecks) {
        const AxisOptions& axis = options.Axis(check.quantity);
        if (!axis.automatic)
            if (auto refusal = AxisOrderFault(check, axis))
                return refusal;
    }
    return TimeOrderFault(options);
}

}  // namespace vorela
