#include "analysis/PlanTables.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr const char* none = "-";

std::string Cell(const std::optional<double>& value) {
    return value ? FormatNumber(*value) : none;
}

std::string Cell(const std::optional<std::int64_t>& count) {
    return count ? std::to_string(*count) : none;
}

std::string RangeText(const ExactRange& range) {
    return Cell(range.lower) + " to " + (range.upper ? FormatNumber(*range.upper) : "no limit");
}

}  // namespace

TextRows PlanSummaryRows(const PlanResult& plan) {
    return {{"Lag (degrees)", FormatNumber(plan.lag)},
            {"Radius of investigation (ft)", FormatNumber(plan.radius)},
            {"Grade", std::string(1, plan.grade)},
            {"Cycles for the error wanted", Cell(plan.cyclesWanted)},
            {"Hours on each level", FormatNumber(plan.hoursOnLevel)},
            {"Error of the well fluid's compressibility (1/psi)", Cell(plan.compressibilitySigma)}};
}

TextRows PlanLevelRows(const PlanResult& plan) {
    TextRows rows{{"Harmonic", "Level", "Pressure (psi)", "Flow (rps)", "Error of index (bbl/day/psi)",
                   "By the gauge (%)", "Takes part"}};
    constexpr double percent = 100.0;
    for (const PlanHarmonic& harmonic : plan.harmonics)
        for (const auto& [name, level] : {std::pair("upper", harmonic.upper), {"lower", harmonic.lower}})
            rows.push_back({std::to_string(harmonic.number), name, FormatNumber(level.pressure),
                            FormatNumber(level.flow), FormatNumber(std::sqrt(level.variance / 2.0)),
                            FormatNumber(percent * level.shareGauge), harmonic.used ? "yes" : "no"});
    return rows;
}

TextRows PlanMethodRows(const PlanResult& plan) {
    TextRows rows{{"Method", "Error of ln k", "Error of skin", "k (mD), 95 %", "Skin, 95 %"}};
    const auto add = [&](ExactMethod method, const std::optional<PlanErrors>& errors) {
        if (!errors)
            return;
        const ExactEstimate& e = errors->estimate;
        rows.push_back({MethodName(method) + std::string(method == plan.recommended ? " (recommended)" : ""),
                        Cell(e.sigmaLnPermeability), Cell(e.sigmaSkin), RangeText(e.permeabilityRange),
                        RangeText(e.skinRange)});
    };
    add(ExactMethod::single, plan.single);
    add(ExactMethod::joint, plan.joint);
    add(ExactMethod::storage, plan.storage);
    add(ExactMethod::constrained, plan.constrained);
    return rows;
}

TextRows PlanPeriodRows(const std::vector<PlanPoint>& points) {
    TextRows rows{{"Period (s)", "Cycles", "Lag (degrees)", "Radius (ft)", "Pressure (psi)", "Flow (rps)",
                   "Error of ln k", "Error of skin", "Cycles needed", "Hours needed", "Method"}};
    for (const PlanPoint& point : points) {
        std::vector<std::string> row{FormatNumber(point.period), FormatNumber(std::max(0.0, point.cycles))};
        if (point.result) {
            const PlanResult& plan = *point.result;
            const PlanLevel& upper = plan.harmonics.front().upper;
            const ExactEstimate& best = plan.Recommended().estimate;
            row.insert(row.end(),
                       {FormatNumber(plan.lag), FormatNumber(plan.radius), FormatNumber(upper.pressure),
                        FormatNumber(upper.flow), Cell(best.sigmaLnPermeability), Cell(best.sigmaSkin),
                        Cell(plan.cyclesWanted),
                        plan.cyclesWanted ? FormatNumber(plan.hoursOnLevel) : std::string(none),
                        MethodName(plan.recommended)});
        } else {
            row.resize(rows.front().size() - 1, none);
            row.push_back(point.fault);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace vorela
