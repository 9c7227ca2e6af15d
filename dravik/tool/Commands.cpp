#include "dravik/tool/Commands.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "dravik/exchange/Datasets.h"
#include "dravik/exchange/TableWriter.h"
#include "dravik/tool/DatasetSource.h"
#include "dravik/tool/StandardOutput.h"
#include "dravik/tool/TextTable.h"
#include "dravik/tool/ToolError.h"
#include "general/AtomicFile.h"
#include "general/NumberText.h"
#include "general/TerminalText.h"

namespace dravik {
namespace {

/// A simulated recording starts on 1 January 2026: the same options give the same bytes.
constexpr std::int32_t simulatedStart = 1767225600;

std::string IndexText(const ItemInfo& information, std::int32_t index) {
    std::string text;
    AppendHundredths(text, index);
    return text + (information.indexKind == DK_INDEX_TIME ? " s" : " ft");
}

std::string KindText(const ItemInfo& information) {
    return information.indexKind == DK_INDEX_TIME ? "time" : "depth";
}

void WriteJson(const std::string& target, const std::string& json) {
    if (target == "-") {
        WriteStandardOutput(json);
        return;
    }
    vorela::WriteFileAtomically(target, json);
}

/// An output put in place of what the command reads would destroy it.
void RefuseDatabaseAs(const std::string& output, const char* option, const std::string& database) {
    const std::string named = vorela::InputNamedBy(output, {database, database + "-journal"});
    if (output != "-" && !named.empty())
        throw UsageError(std::string(option) + " " + output + ": that is the database " + named);
}

}  // namespace

void Simulate(const SimulateRequest& request) {
    RefuseDatabaseAs(request.json, "--json", request.database);
    const Simulation& simulation = request.simulation;
    Database database = OpenDatabase(request.database, OpenMode::create);
    Transaction transaction(database);
    for (std::size_t i = 0; i < simulation.levels.size(); ++i) {
        SimulatedLevel level(simulation, i);
        CreateDataset(database, LevelDataset(i), level,
                      PresentationOf(level.Grid(), simulatedStart, simulatedTools), request.replace);
        DatasetWriter(database, LevelDataset(i), level).WriteRows(0, level.Grid().rowCount);
    }
    transaction.Commit();
    const Truth truth = TruthOf(simulation);
    if (!request.json.empty())
        WriteJson(request.json, TruthJson(simulation, truth));
    if (request.json != "-")
        WriteStandardOutput(TruthText(simulation, truth));
}

void Record(const RecordRequest& request, CurveSource& source, const std::string& toolString) {
    StopSignalled();
    Recorder(request, source, toolString).Run(StopSignalled);
}

void AddValveCurves(const ValveRequest& request) {
    Database database = OpenDatabase(request.database, OpenMode::existing);
    Transaction transaction(database);
    AddValveCurves(database, request);
    transaction.Commit();
}

void List(const std::string& path, const std::string& dataset) {
    const Database database = OpenDatabase(path, OpenMode::readOnly);
    TextTable table({});
    const auto span = [](const ItemInfo& information, bool first) {
        return information.IsEmpty()
                   ? "-"
                   : std::to_string(first ? information.extentFirst : information.extentLast);
    };
    const auto isDamaged = [](const NamedItem& item) {
        return item.information.shape.kind == DK_ITEM_DAMAGED;
    };
    const auto addDataset = [&](const NamedItem& item) {
        const std::vector<NamedItem> curves = CurvesOf(database, item.name);
        // The step and span are then those of a curve that may not lead the dataset.
        const auto damaged = std::count_if(curves.begin(), curves.end(), isDamaged);
        table.Add({item.name, KindText(item.information), std::to_string(curves.size()) + " curves",
                   std::to_string(item.information.step), span(item.information, true),
                   span(item.information, false),
                   std::string(IsRecording(database, item.name) ? "recording" : "complete") +
                       (damaged > 0 ? ", " + std::to_string(damaged) + " damaged" : "")});
    };
    if (dataset.empty()) {
        for (const NamedItem& item : DatasetsOf(database))
            if (isDamaged(item))
                table.Add({item.name, "-", "-", "-", "-", "-", "damaged"});
            else
                addDataset(item);
    } else {
        for (const NamedItem& item : CurvesOf(database, dataset)) {
            const std::string unit =
                isDamaged(item) ? "damaged" : vorela::GetUnitText(item.information.unitCode);
            table.Add({item.name, unit.empty() ? "-" : unit, std::to_string(item.information.step),
                       span(item.information, true), span(item.information, false)});
        }
    }
    WriteStandardOutput(table.Text());
}

namespace {

/// Least, greatest and sum are of the finite samples: one NaN or infinity is counted and hides no other.
struct CurveStatistics {
    std::int64_t count = 0;
    std::int64_t finite = 0;
    double least = std::numeric_limits<double>::infinity();
    double greatest = -std::numeric_limits<double>::infinity();
    double sum = 0.0;
};

CurveStatistics StatisticsOf(const Item& item) {
    CurveStatistics statistics;
    const ItemInfo& information = item.Info();
    std::vector<float> values(static_cast<std::size_t>(blockRows));
    std::vector<std::uint8_t> present(static_cast<std::size_t>(blockRows));
    for (std::int64_t row = 0; row < information.RowCount(); row += blockRows) {
        const std::int64_t count = std::min(blockRows, information.RowCount() - row);
        item.ReadPresent(static_cast<std::int32_t>(information.extentFirst + row * information.step), count,
                         values.data(), present.data());
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
            if (present[i] == 0)
                continue;
            ++statistics.count;
            if (!std::isfinite(values[i]))
                continue;
            ++statistics.finite;
            statistics.least = std::min<double>(statistics.least, values[i]);
            statistics.greatest = std::max<double>(statistics.greatest, values[i]);
            statistics.sum += values[i];
        }
    }
    return statistics;
}

}  // namespace

void Info(const std::string& path, const std::string& dataset, const std::string& curve) {
    const Database database = OpenDatabase(path, OpenMode::readOnly);
    const std::vector<NamedItem> curves = CurvesOf(database, dataset);
    if (std::none_of(curves.begin(), curves.end(), [&](const NamedItem& item) { return item.name == curve; }))
        throw ToolError(path + ": dataset \"" + dataset + "\" has no curve \"" + curve + "\"");
    const Item item(database, CurvePath(dataset, curve));
    const ItemInfo& information = item.Info();
    TextTable table({});
    std::string text;
    const auto add = [&](const std::string& name, const std::string& value) {
        text += name + std::string(name.size() < 16 ? 16 - name.size() : 1, ' ') +
                vorela::TerminalText(value) + "\n";
    };
    add("curve", dataset + "/" + curve);
    add("index", KindText(information));
    add("step", IndexText(information, information.step));
    add("unit",
        vorela::GetUnitText(information.unitCode).empty() ? "-" : vorela::GetUnitText(information.unitCode));
    add("scale", vorela::ShortestText(information.scale));
    add("offset", vorela::ShortestText(information.offset));
    if (information.IsEmpty()) {
        add("samples", "0");
    } else {
        const CurveStatistics statistics = StatisticsOf(item);
        add("first", IndexText(information, information.extentFirst));
        add("last", IndexText(information, information.extentLast));
        add("samples", std::to_string(statistics.count));
        add("gaps", std::to_string(information.RowCount() - statistics.count));
        if (statistics.finite < statistics.count)
            add("no numbers", std::to_string(statistics.count - statistics.finite));
        if (statistics.finite > 0) {
            const double mean = statistics.sum / static_cast<double>(statistics.finite);
            add("least", vorela::ShortestText(static_cast<float>(statistics.least)));
            add("greatest", vorela::ShortestText(static_cast<float>(statistics.greatest)));
            add("mean", vorela::ShortestText(static_cast<float>(mean)));
        }
    }
    if (!information.made.empty()) {
        add("made by", information.made);
        add("valid from", IndexText(information, information.validFirst));
        add("valid to", IndexText(information, information.validLast));
    }
    WriteStandardOutput(text);
}

void Export(const ExportRequest& request) {
    const bool isLas = request.output.ends_with(".las") || request.output.ends_with(".LAS");
    const bool isCsv =
        request.output.empty() || request.output.ends_with(".csv") || request.output.ends_with(".CSV");
    if (!isLas && !isCsv)
        throw UsageError("-o " + request.output + ": the name must end in .csv or .las");
    if (isLas && request.dates)
        throw UsageError("--time-format dates is for CSV; a LAS file counts seconds");
    RefuseDatabaseAs(request.output, "-o", request.database);
    const Database database = OpenDatabase(request.database, OpenMode::readOnly);
    DatasetSource source(database, request.dataset, request.curves);
    std::optional<std::int32_t> start;
    if (request.dates)
        start = ReadPresentation(database, request.dataset).recordingStart;
    const auto write = [&](const TextSink& sink) {
        if (isLas)
            WriteLas(source, request.dataset, request.wrapped, sink);
        else
            WriteCsv(source, sink, start);
    };
    if (request.output.empty()) {
        write(WriteStandardOutput);
        return;
    }
    vorela::AtomicFile file(request.output);
    write([&](std::string_view text) { file.Write(text); });
    file.Commit();
}

bool Check(const std::string& path) {
    const Database database = OpenDatabase(path, OpenMode::readOnly);
    std::string lines;
    const auto collect = [](void* context, const char* item, std::int32_t first, std::int32_t last) {
        const std::string what = last < first ? " is damaged\n"
                                              : ": samples " + std::to_string(first) + " to " +
                                                    std::to_string(last) + " are damaged\n";
        *static_cast<std::string*>(context) += vorela::TerminalText(item) + what;
    };
    const std::int32_t status = DBverify(database.Handle(), collect, &lines);
    WriteStandardOutput(lines);
    if (lines.empty())
        database.Check(status, "", "cannot be verified");
    return status == DK_OK;
}

}  // namespace dravik
