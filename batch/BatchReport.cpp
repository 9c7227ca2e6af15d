#include "batch/BatchReport.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "analysis/CycleTexts.h"
#include "analysis/ExactTables.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modQuicklook.h"
#include "batch/BatchExact.h"
#include "db/DatasetRecord.h"
#include "general/NumberText.h"
#include "general/Version.h"

namespace vorela {
namespace {

using Json = nlohmann::ordered_json;
/// The document's shape and its version: docs/schema. The second number rises with a new key, the first when
/// one goes or changes its meaning.
constexpr const char* resultSchema = "vorela-results/1.0";

using TextTable = std::vector<std::vector<std::string>>;

// --- Table ---

std::string Cell(const std::optional<double>& value) {
    return value ? FormatNumber(*value) : "-";
}

TextTable LevelRows() {
    TextTable rows{{"Level", "Depth (ft)", "Cycles", "Cycle", "HPI (rps/psi)", "Phase lag (degrees)"}};
    const auto& datasets = CurrentSelection().datasets;
    for (std::size_t i = 0; i < datasets.size(); ++i) {
        const CycleRecord& cycles = datasets[i].cycles;
        const LevelOutputs outputs = GetLevelOutputs(i);
        rows.push_back({datasets[i].dataset, FormatNumber(datasets[i].sortKey),
                        std::to_string(cycles.RealCycles()), SelectedCycleText(cycles), Cell(outputs.hpi),
                        Cell(outputs.phaseLag)});
    }
    return rows;
}

TextTable IntervalRows() {
    TextTable rows{{"Interval (ft)", "Reservoir HPI (bbl/day/psi)", "Phase (degrees)", "k (mD)", "Skin",
                    "Surface HPI (bbl/day/psi)"}};
    const auto& intervals = CurrentIntervals();
    const auto& quicklook = CurrentQuicklook();
    for (std::size_t i = 1; i < intervals.size(); ++i) {
        const QuicklookRecord values = i < quicklook.size() ? quicklook[i] : QuicklookRecord{};
        rows.push_back({intervals[i].label, Cell(intervals[i].reservoirHpi),
                        Cell(intervals[i].reservoirPhase), Cell(values.permeability), Cell(values.skin),
                        Cell(values.surfaceHpi)});
    }
    return rows;
}

// --- JSON ---

Json Number(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? Json(*value) : Json(nullptr);
}

Json ToJson(const Harmonic& harmonic) {
    return {{"phase", harmonic.phase}, {"magnitude", harmonic.magnitude}};
}

/// Results of an entry, in the order of the document; null where the curves do not cover it.
void PutResults(Json& object, const CycleRecord& cycles, std::size_t entry) {
    const bool analysed = cycles.analysed[entry] != 0;
    const auto put = [&](const char* key, const Json& value, bool known) {
        object[key] = known ? value : Json(nullptr);
    };
    put("valve", ToJson(cycles.valve[entry]), analysed || cycles.valve[entry].magnitude > 0.0);
    put("pressure", ToJson(cycles.pressure[entry]), analysed);
    put("flow", ToJson(cycles.flow[entry]), analysed);
    put("ratio", cycles.ratio[entry], analysed);
    put("phaseLag", cycles.phaseLag[entry], analysed);
}

Json CyclesOf(const CycleRecord& cycles) {
    Json list = Json::array();
    for (std::int32_t n = 1; n <= cycles.RealCycles(); ++n) {
        const auto entry = static_cast<std::size_t>(n) - 1;
        Json cycle{{"number", n}, {"start", cycles.start[entry]}, {"period", cycles.period[entry]}};
        PutResults(cycle, cycles, entry);
        list.push_back(std::move(cycle));
    }
    return list;
}

Json WindowOf(const CycleRecord& cycles) {
    const auto entry = static_cast<std::size_t>(std::max(cycles.count, 1)) - 1;
    if (cycles.count < 1 || cycles.analysed[entry] == 0)
        return nullptr;
    Json window = Json::object();
    PutResults(window, cycles, entry);
    return window;
}

Json LevelJson(std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets[dataset];
    const LevelOutputs outputs = GetLevelOutputs(dataset);
    return {{"dataset", record.dataset},
            {"database", record.database},
            {"depth", record.sortKey},
            {"recording", record.IsRecorded()},
            {"step", record.step},
            {"extent", {record.extentA, record.extentB}},
            {"cycleCount", record.cycles.RealCycles()},
            {"cycles", CyclesOf(record.cycles)},
            {"window", WindowOf(record.cycles)},
            {"selectedCycle", record.cycles.selectedCycle},
            {"hpi", Number(outputs.hpi)},
            {"phaseLag", Number(outputs.phaseLag)}};
}

Json IntervalJson(std::size_t i) {
    const IntervalRecord& interval = CurrentIntervals()[i];
    const auto& datasets = CurrentSelection().datasets;
    const auto input = [&](double value) { return interval.hasInputs ? Number(value) : Json(nullptr); };
    return {{"label", interval.label},
            {"dataset1", datasets[i].dataset},
            {"dataset2", datasets[i - 1].dataset},
            {"depth1", interval.depth1},
            {"depth2", interval.depth2},
            {"hpi1", input(interval.hpi1)},
            {"hpi2", input(interval.hpi2)},
            {"phase1", input(interval.phase1)},
            {"phase2", input(interval.phase2)},
            {"hpi", Number(interval.intervalHpi)},
            {"phase", Number(interval.intervalPhase)},
            {"reservoirHpi", Number(interval.reservoirHpi)},
            {"reservoirPhase", Number(interval.reservoirPhase)}};
}

Json QuicklookJson(const QuicklookRecord& record) {
    return {{"label", record.label},
            {"permeability", Number(record.permeability)},
            {"skin", Number(record.skin)},
            {"surfaceHpi", Number(record.surfaceHpi)}};
}

}  // namespace

std::string Aligned(const TextTable& rows) {
    std::vector<std::size_t> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t column = 0; column < row.size(); ++column)
            widths[column] = std::max(widths[column], row[column].size());
    }
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::string padding(widths[column] - row[column].size(), ' ');
            if (column == 0)
                text += row[column] + (row.size() > 1 ? padding : "");
            else
                text += "  " + padding + row[column];
        }
        text += '\n';
    }
    return text;
}

std::string ResultTable(const ExactResults& exact) {
    std::string text = Aligned(LevelRows());
    if (IntervalCount() > 0)
        text += "\n" + Aligned(IntervalRows());
    if (const TextTable rows = ExactRows(exact); !rows.empty())
        text += "\n" + Aligned(rows);
    for (const std::string& message : ExactMessages(exact))
        text += message + "\n";
    return text;
}

std::string ResultJson(const ExactResults& exact) {
    Json document{{"schema", resultSchema},
                  {"program", VersionLine("vorela-batch")},
                  {"levels", Json::array()},
                  {"intervals", Json::array()},
                  {"quicklook", Json::array()}};
    for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
        document["levels"].push_back(LevelJson(i));
    for (std::size_t i = 1; i < CurrentIntervals().size(); ++i)
        document["intervals"].push_back(IntervalJson(i));
    for (std::size_t i = 1; i < CurrentQuicklook().size(); ++i)
        document["quicklook"].push_back(QuicklookJson(CurrentQuicklook()[i]));
    document["exact"] = ExactJson(exact);
    constexpr int indentation = 2;
    return document.dump(indentation, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace vorela
