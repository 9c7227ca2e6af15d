#include "batch/BatchTable.h"

#include <array>
#include <cmath>
#include <optional>

#include "analysis/modIntervalInfo.h"
#include "analysis/modQuicklook.h"
#include "db/DatasetRecord.h"
#include "general/DelimitedText.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

/// An interval with all that its line is about.
struct Row {
    const DatasetRecord& shallower;
    const DatasetRecord& deeper;
    const IntervalRecord& interval;
    QuicklookRecord quicklook;
    ExactInterval exact;
    ExactEstimate shown;  ///< by the recommended method
};

struct Column {
    const char* name;
    std::string (*cell)(const Row& row);
};

std::string Cell(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? ShortestText(*value) : std::string();
}

std::string Input(const Row& row, double value) {
    return row.interval.hasInputs ? Cell(value) : std::string();
}

constexpr std::array columns{
    Column{"database", [](const Row& row) { return Trimmed(row.deeper.database); }},
    Column{"interval_ft", [](const Row& row) { return row.interval.label; }},
    Column{"dataset1", [](const Row& row) { return row.shallower.dataset; }},
    Column{"dataset2", [](const Row& row) { return row.deeper.dataset; }},
    Column{"depth1_ft", [](const Row& row) { return Cell(row.interval.depth1); }},
    Column{"depth2_ft", [](const Row& row) { return Cell(row.interval.depth2); }},
    Column{"hpi1_rps_per_psi", [](const Row& row) { return Input(row, row.interval.hpi1); }},
    Column{"hpi2_rps_per_psi", [](const Row& row) { return Input(row, row.interval.hpi2); }},
    Column{"phase1_degrees", [](const Row& row) { return Input(row, row.interval.phase1); }},
    Column{"phase2_degrees", [](const Row& row) { return Input(row, row.interval.phase2); }},
    Column{"reservoir_hpi_bbl_per_day_psi", [](const Row& row) { return Cell(row.interval.reservoirHpi); }},
    Column{"reservoir_phase_degrees", [](const Row& row) { return Cell(row.interval.reservoirPhase); }},
    Column{"quicklook_k_mD", [](const Row& row) { return Cell(row.quicklook.permeability); }},
    Column{"quicklook_skin", [](const Row& row) { return Cell(row.quicklook.skin); }},
    Column{"surface_hpi_bbl_per_day_psi", [](const Row& row) { return Cell(row.quicklook.surfaceHpi); }},
    Column{"k_mD", [](const Row& row) { return Cell(row.shown.permeability); }},
    Column{"k_lower_mD", [](const Row& row) { return Cell(row.shown.permeabilityRange.lower); }},
    Column{"k_upper_mD", [](const Row& row) { return Cell(row.shown.permeabilityRange.upper); }},
    Column{"skin", [](const Row& row) { return Cell(row.shown.skin); }},
    Column{"skin_lower", [](const Row& row) { return Cell(row.shown.skinRange.lower); }},
    Column{"skin_upper", [](const Row& row) { return Cell(row.shown.skinRange.upper); }},
    Column{"sigma_ln_k", [](const Row& row) { return Cell(row.shown.sigmaLnPermeability); }},
    Column{"sigma_skin", [](const Row& row) { return Cell(row.shown.sigmaSkin); }},
    Column{
        "grade",
        [](const Row& row) { return std::string(row.exact.grade ? 1U : 0U, row.exact.grade.value_or(' ')); }},
    Column{"p_value", [](const Row& row) { return Cell(row.shown.pValue); }},
    Column{"method",
           [](const Row& row) {
               return std::string(row.exact.Recommended() != nullptr ? MethodName(row.exact.recommended)
                                                                     : "");
           }},
    Column{"messages", [](const Row& row) { return Joined(row.exact.messages, "; "); }},
};

Row RowOf(const ExactResults& exact, std::size_t i) {
    const auto& datasets = CurrentSelection().datasets;
    Row row{datasets[i], datasets[i - 1], CurrentIntervals()[i], {}, {}, {}};
    if (i < CurrentQuicklook().size())
        row.quicklook = CurrentQuicklook()[i];
    if (i <= exact.intervals.size())
        row.exact = exact.intervals[i - 1];
    if (row.exact.Recommended() != nullptr)
        row.shown = *row.exact.Recommended();
    return row;
}

/// The line of a row; without one, the header.
std::string Line(const Row* row) {
    std::string line;
    for (const Column& column : columns)
        line += (&column == columns.data() ? "" : ",") +
                DelimitedCell(row != nullptr ? column.cell(*row) : column.name, ',');
    return line + "\n";
}

}  // namespace

std::string IntervalTable(const ExactResults& exact) {
    std::string table = Line(nullptr);
    for (std::size_t i = 1; i < CurrentIntervals().size(); ++i) {
        const Row row = RowOf(exact, i);
        table += Line(&row);
    }
    return table;
}

}  // namespace vorela
