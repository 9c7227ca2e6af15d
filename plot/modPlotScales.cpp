#include "plot/modPlotScales.h"

#include <cmath>

#include "db/IndexUnits.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* section = "Presentation";
constexpr const char* source = "modPlotScales";
constexpr std::int32_t narrowestRangeSeconds = 60;
/// What tells the axes apart: the keys, the name in messages, the range of both limits, the step to which an
/// automatic range is rounded.
struct AxisRules {
    Quantity quantity;
    const char* minimumKey;
    const char* maximumKey;
    const char* automaticKey;
    const char* name;
    double lower;
    double upper;
    std::int32_t roundingStep;
};

/// By quantity code, which is the section's order. The flags of the filtered axes are FPresAuto and FFlowAuto
/// beside FiltPresMin and FiltFlowMin: settings files in the field carry these names, so the mismatch stays.
constexpr std::array<AxisRules, quantityCount> axisRules{{
    {Quantity::pressure, "PresMin", "PresMax", "PresAuto", "Pressure", -2000, highestSetting, 10},
    {Quantity::flow, "FlowMin", "FlowMax", "FlowAuto", "Flow", lowestSetting, highestSetting, 10},
    {Quantity::valve, "ModMin", "ModMax", "ModAuto", "Valve", -100, 70000, 10},
    {Quantity::filteredPressure, "FiltPresMin", "FiltPresMax", "FPresAuto", "Filtered Pressure", -10000,
     10000, 1},
    {Quantity::filteredFlow, "FiltFlowMin", "FiltFlowMax", "FFlowAuto", "Filtered Flow", -1000, 1000, 1},
}};

constexpr std::array dialogOrder{Quantity::pressure, Quantity::flow, Quantity::filteredPressure,
                                 Quantity::filteredFlow, Quantity::valve};

const AxisRules& RulesOf(Quantity quantity) {
    return axisRules[IndexOf(quantity)];
}

SettingFields AxisFields(const AxisRules& rules, AxisOptions& axis) {
    const std::string name = rules.name;
    return {{rules.minimumKey,
             &axis.minimum,
             {rules.lower, rules.upper, name + " Axis: Minimum value out of range"}},
            {rules.maximumKey,
             &axis.maximum,
             {rules.lower, rules.upper, name + " Axis: Maximum value out of range"}},
            {rules.automaticKey, &axis.automatic}};
}

/// The end of a zone may lie a digit further below zero than its start; sites rely on both bounds as they
/// are.
SettingFields ZoneFields(PresentationOptions& options) {
    constexpr double latestTime = 999999999;
    return {{"Start", &options.start, {-999999, latestTime, "Start time out of range"}},
            {"End", &options.end, {-9999999, latestTime, "End time out of range"}}};
}

/// In the section's order.
SettingFields Fields(PresentationOptions& options) {
    SettingFields fields{
        {"TimeRange", &options.timeRange}, {"TimeAuto", &options.timeAuto}, {"Elapsed", &options.elapsed}};
    const auto append = [&fields](const SettingFields& more) {
        fields.insert(fields.end(), more.begin(), more.end());
    };
    for (const AxisRules& rules : axisRules)
        append(AxisFields(rules, options.Axis(rules.quantity)));
    fields.push_back({"Fixed", &options.fixed});
    append(ZoneFields(options));
    return fields;
}

std::optional<Refusal> AxisOrderFault(const AxisRules& rules, const AxisOptions& axis) {
    if (axis.maximum > axis.minimum)
        return std::nullopt;
    return Refusal{std::string("txt") + rules.maximumKey,
                   rules.name + std::string(" Axis: Maximum must be greater than Minimum")};
}

std::optional<Refusal> TimeOrderFault(const PresentationOptions& options) {
    if (options.end > options.start)
        return std::nullopt;
    return Refusal{"txtEnd", "Start and end times are not in the correct order"};
}

std::optional<Refusal> CheckAxis(const AxisForm& form, const AxisRules& rules, AxisOptions& axis) {
    axis.automatic = form.autoscale;
    if (form.autoscale)
        return std::nullopt;
    const SettingFields fields = AxisFields(rules, axis);
    if (auto refusal = CheckBox(form.minimum, fields, rules.minimumKey))
        return refusal;
    if (auto refusal = CheckBox(form.maximum, fields, rules.maximumKey))
        return refusal;
    return AxisOrderFault(rules, axis);
}

std::optional<Refusal> CheckZone(const BoxText& start, const BoxText& end, PresentationOptions& options) {
    const SettingFields fields = ZoneFields(options);
    if (auto refusal = CheckBox(start, fields, "Start"))
        return refusal;
    if (auto refusal = CheckBox(end, fields, "End"))
        return refusal;
    return TimeOrderFault(options);
}

std::optional<Refusal> CheckScales(const ScalesForm& form, PresentationOptions& options) {
    // The width of the fixed range is not checked: any width the crew types is theirs, the plot widens it to
    // 60 s.
    options.timeRange = RoundTo<std::int32_t>(LeadingNumber(form.range), source);
    options.timeAuto = form.fullRange;
    options.elapsed = form.elapsed;
    for (const Quantity quantity : dialogOrder)
        if (auto refusal = CheckAxis(form.axes[IndexOf(quantity)], RulesOf(quantity), options.Axis(quantity)))
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
/// floor(v / n) · n, and one whole step more: (floor(v / n) + 1) · n, also when v is a multiple already (kept
/// on purpose: data never touch the upper edge). Nothing after the report of a product beyond 32 bits.
std::optional<double> RoundDown(double value, std::int32_t step) {
    return TryRound("Rounding down", value, step, 0);
}
std::optional<double> RoundUp(double value, std::int32_t step) {
    return TryRound("Rounding up", value, step, 1);
}

void UpdateAxis(AxisOptions& axis, const DataExtent& extent, std::int32_t step) {
    axis.plottedMinimum = axis.minimum;
    axis.plottedMaximum = axis.maximum;
    if (!axis.automatic)
        return;
    const bool sampled = extent.minimum && extent.maximum;
    const std::optional<double> low = sampled ? RoundDown(*extent.minimum, step) : 0.0;
    const std::optional<double> high = sampled ? RoundUp(*extent.maximum, step) : step;
    if (low && high) {
        axis.plottedMinimum = *low;
        axis.plottedMaximum = *high;
    }
}

}  // namespace

PresentationOptions& PrsOpt() {
    static PresentationOptions options;
    return options;
}

void ReadPresentationOptions() {
    Attempt("Reading presentation options", [] {
        PrsOpt() = PresentationOptions{};
        if (ReadFields(section, Fields(PrsOpt())))
            throw RunTimeError{error_number::overflow, source, "Overflow"};
    });
}

void WritePresentationOptions() {
    Attempt("Writing presentation options", [] { WriteFields(section, Fields(PrsOpt())); });
}

PlottedRange RangeInSeconds(std::int32_t first, std::int32_t last) {
    PlottedRange range{RoundTo<std::int32_t>(SecondsOf(first), source),
                       RoundTo<std::int32_t>(SecondsOf(last), source)};
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
            UpdateAxis(options.axes[i], extents[i], axisRules[i].roundingStep);
    });
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

SettingsSection PresentationSettings() {
    return {section, Fields(PrsOpt())};
}

std::optional<Refusal> PresentationOrderFault(const PresentationOptions& options) {
    for (const Quantity quantity : dialogOrder) {
        const AxisOptions& axis = options.Axis(quantity);
        if (!axis.automatic)
            if (auto refusal = AxisOrderFault(RulesOf(quantity), axis))
                return refusal;
    }
    return TimeOrderFault(options);
}

}  // namespace vorela
