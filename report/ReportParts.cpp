#include "report/ReportParts.h"

#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <utility>

#include "analysis/CycleTexts.h"
#include "analysis/ExactTables.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modQuicklook.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "db/modDravik.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* none = "-";

const DatasetRecord& RecordOf(std::size_t dataset) {
    return CurrentSelection().datasets.at(dataset);
}

std::string GradeText(const std::optional<char>& grade) {
    return grade ? std::string(1, *grade) : std::string(none);
}

/// Of a quantity far below 1.
std::string ThreeDigits(double value) {
    std::array<char, 32> text{};
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 3);
    return {text.data(), end.ptr};
}

// --- Levels ---

std::string RecordingStart(const DatasetRecord& record) {
    const std::int32_t start = record.presentation.recordingStart;
    return start == 0 ? "not known" : UtcText(start);
}

ReportTable LevelFacts(std::size_t dataset, const ExactLevel& level) {
    const DatasetRecord& record = RecordOf(dataset);
    const LevelOutputs outputs = GetLevelOutputs(dataset);
    ReportTable table{"", {}, true};
    table.rows = {
        {"Database", record.database},
        {"Recording began", RecordingStart(record)},
        {"Recorded (seconds)", FormatNumber(SecondsOf(record.extentA)) + " to " +
                                   FormatNumber(SecondsOf(record.extentB)) +
                                   (record.IsRecorded() ? ", still being recorded" : "")},
        {"Tool string", record.presentation.toolString.empty() ? none : record.presentation.toolString},
        {"Cycles measured from", CycleSourceText(dataset)},
        {"Number of cycles", std::to_string(record.cycles.RealCycles())},
        {"Selected cycle", SelectedCycleText(record.cycles)},
        {"Harmonic productivity index (rps/psi)", ReportNumber(outputs.hpi)},
        {"Phase angle lag (degrees)", ReportNumber(outputs.phaseLag)},
        {"Cycles of the exact analysis",
         level.firstCycle > 0 ? std::to_string(level.firstCycle) + " to " + std::to_string(level.lastCycle) +
                                    ", mean period " + FormatNumber(level.period) + " s"
                              : "none"},
        {"Grades of these cycles", GradesText(level)}};
    return table;
}

/// Grades of the cycles that the exact analysis uses, by their number.
std::map<std::int32_t, std::string> GradesByNumber(const ExactLevel& level) {
    std::map<std::int32_t, std::string> grades;
    for (const ExactCycle& cycle : level.cycles)
        grades[cycle.number] = GradeText(cycle.grade);
    return grades;
}

ReportTable CycleTable(std::size_t dataset, const ExactLevel& level) {
    const CycleRecord& cycles = RecordOf(dataset).cycles;
    ReportTable table{"Cycles", CycleInformationRows(dataset)};
    const auto grades = GradesByNumber(level);
    const auto selected = SelectedEntry(dataset);
    for (std::size_t row = 0; row < table.rows.size(); ++row) {
        std::vector<std::string>& cells = table.rows[row];
        if (row == 0) {
            cells.insert(cells.begin() + 1, "Start (s)");
            cells.insert(cells.end(), {"HPI (rps/psi)", "Lag (degrees)", "Grade", ""});
            continue;
        }
        const std::size_t entry = row - 1;
        const bool isWindow = cycles.IsWindow(static_cast<std::int32_t>(row));
        const bool analysed = cycles.analysed[entry] != 0;
        const auto grade = grades.find(static_cast<std::int32_t>(row));
        cells.insert(cells.begin() + 1, isWindow ? "" : FormatNumber(SecondsOf(cycles.start[entry])));
        cells.insert(cells.end(), {analysed ? FormatNumber(cycles.ratio[entry]) : "",
                                   analysed ? FormatNumber(cycles.phaseLag[entry]) : "",
                                   isWindow || grade == grades.end() ? "" : grade->second,
                                   selected == entry ? "selected" : ""});
    }
    return table;
}

ReportTable HarmonicTable(const char* caption, const std::vector<ExactHarmonic>& harmonics, bool ofInterval) {
    ReportTable table{caption, {{"Harmonic", "Real", "Imaginary", "+-", "S/N"}}};
    if (ofInterval)
        table.rows.front().push_back("Takes part");
    for (const ExactHarmonic& harmonic : harmonics) {
        table.rows.push_back({std::to_string(harmonic.number), ReportNumber(harmonic.index.real()),
                              ReportNumber(harmonic.index.imag()), ReportNumber(harmonic.sigma),
                              ReportNumber(harmonic.SignalToNoise())});
        if (ofInterval)
            table.rows.back().push_back(harmonic.used ? "yes" : "no");
    }
    return table;
}

std::vector<std::string> NotesOf(const ExactLevel& level) {
    std::vector<std::string> lines = level.notes;
    if (!level.fault.empty())
        lines.insert(lines.begin(), "No exact results: " + level.fault);
    return lines;
}

ReportSection LevelSection(std::size_t dataset, const ExactLevel& level) {
    ReportSection section{LevelHeading(dataset), 2};
    section.blocks.emplace_back(LevelFacts(dataset, level));
    if (RecordOf(dataset).cycles.count > 0)
        section.blocks.emplace_back(CycleTable(dataset, level));
    else
        section.blocks.emplace_back(ReportText{"No cycles have been found."});
    if (!level.cycles.empty())
        section.blocks.emplace_back(
            ReportTable{"Cycles of the exact analysis and their quality", ExactCycleRows(level)});
    if (!level.harmonics.empty())
        section.blocks.emplace_back(
            HarmonicTable("Index of the level by harmonic (bbl/day/psi)", level.harmonics, false));
    if (const auto notes = NotesOf(level); !notes.empty())
        section.blocks.emplace_back(ReportList{notes});
    return section;
}

// --- Intervals ---

ReportTable IntervalFacts(std::size_t i) {
    const IntervalRecord& interval = CurrentIntervals().at(i);
    const QuicklookRecord quicklook =
        i < CurrentQuicklook().size() ? CurrentQuicklook()[i] : QuicklookRecord{};
    const auto input = [&](double value) {
        return interval.hasInputs ? FormatNumber(value) : std::string(none);
    };
    ReportTable table{"Selected cycles and quicklook", {}, true};
    table.rows = {
        {"Level 1 and level 2", RecordOf(i).dataset + ", " + RecordOf(i - 1).dataset},
        {"Harmonic productivity index 1 (rps/psi)", input(interval.hpi1)},
        {"Harmonic productivity index 2 (rps/psi)", input(interval.hpi2)},
        {"Phase angle lag 1 (degrees)", input(interval.phase1)},
        {"Phase angle lag 2 (degrees)", input(interval.phase2)},
        {"Interval: harmonic productivity index (rps/psi)", ReportNumber(interval.intervalHpi)},
        {"Interval: phase angle (degrees)", ReportNumber(interval.intervalPhase)},
        {"Reservoir: harmonic productivity index (bbl/day/psi)", ReportNumber(interval.reservoirHpi)},
        {"Reservoir: phase angle (degrees)", ReportNumber(interval.reservoirPhase)},
        {"Quicklook permeability (mD)", ReportNumber(quicklook.permeability)},
        {"Quicklook skin factor", ReportNumber(quicklook.skin)},
        {"Surface harmonic productivity index (bbl/day/psi)", ReportNumber(quicklook.surfaceHpi)}};
    return table;
}

void AddExact(ReportSection& section, const ExactInterval& interval, std::size_t index, double confidence) {
    section.blocks.emplace_back(
        ReportTable{"Exact analysis, all methods", ExactMethodRows(interval, confidence)});
    if (interval.apparentCompressibility)
        section.blocks.emplace_back(ReportText{
            "Apparent compressibility of the well fluid: " + ThreeDigits(*interval.apparentCompressibility) +
            (interval.apparentCompressibilitySigma
                 ? " +- " + ThreeDigits(*interval.apparentCompressibilitySigma)
                 : std::string()) +
            " 1/psi; assumed " + ThreeDigits(interval.wellCompressibility) + " 1/psi."});
    if (!interval.messages.empty())
        section.blocks.emplace_back(ReportList{interval.messages});
    if (interval.harmonics.empty())
        return;
    section.blocks.emplace_back(
        HarmonicTable("Index of the interval by harmonic (bbl/day/psi)", interval.harmonics, true));
    if (!interval.budget.empty())
        section.blocks.emplace_back(
            ReportTable{"What an error of an input would change", ExactBudgetRows(interval)});
    section.blocks.emplace_back(ReportPicture{ReportPictureKind::impedance, index,
                                              "Impedance of the interval " + interval.label + " ft"});
    section.blocks.emplace_back(ReportPicture{ReportPictureKind::amplitudeAndLag, index,
                                              "Amplitude and lag of the interval " + interval.label + " ft"});
}

// --- Curves ---

std::string RoleOf(const std::string& name) {
    const CurveChoice& choice = CurrentSelection().choice;
    if (name == choice.pressure)
        return "pressure";
    return name == choice.flow ? "flow" : "";
}

std::string SpanText(std::int32_t first, std::int32_t last) {
    return last < first ? std::string(none)
                        : FormatNumber(SecondsOf(first)) + " to " + FormatNumber(SecondsOf(last));
}

std::string MadeText(const ItemInfo& info, const std::string& role) {
    if (!info.made.empty())
        return info.made;
    return role.empty() ? "recorded" : "recorded; the chosen " + role;
}

void AddCurves(TextRows& rows, const DatasetRecord& record) {
    const Database database(record.database, OpenMode::readOnly);
    for (const std::string& itemName : ItemsOf(database, record.dataset)) {
        const std::string name = CurveNameOfItem(itemName);
        const auto item = Item::FindQuietly(database, ItemPath(record.dataset, name));
        if (!item || !item->Info().IsCurve())
            continue;
        const ItemInfo& info = item->Info();
        rows.push_back({record.dataset, name, GetUnitText(info.unitCode), FormatNumber(SecondsOf(info.step)),
                        SpanText(info.extentFirst, info.extentLast),
                        info.made.empty() ? "" : SpanText(info.validFirst, info.validLast),
                        MadeText(info, RoleOf(name))});
    }
}

}  // namespace

std::string ReportNumber(const std::optional<double>& value) {
    return value && std::isfinite(*value) ? FormatNumber(*value) : none;
}

std::string LevelHeading(std::size_t dataset) {
    return RecordOf(dataset).dataset + ", " + FormatNumber(RecordOf(dataset).sortKey) + " ft";
}

std::string GradesText(const ExactLevel& level) {
    std::map<char, int> counts;
    for (const ExactCycle& cycle : level.cycles)
        if (cycle.grade)
            ++counts[*cycle.grade];
    std::string text;
    for (const auto& [grade, count] : counts)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + grade;
    return text.empty() ? none : text;
}

std::string CycleSourceText(std::size_t dataset) {
    switch (RecordOf(dataset).cycleSource) {
        case CycleSource::filtered:
            return "filtered pressure and flow, PVLSIG";
        case CycleSource::unfiltered:
            return "unfiltered pressure and flow, PVLSIG";
        case CycleSource::motorPosition:
            return "motor position PVLPOS";
        case CycleSource::none:
            break;
    }
    return "not measured yet";
}

std::vector<ReportSection> LevelSections(const ExactResults& exact) {
    std::vector<ReportSection> sections{{"Levels and cycles", 1, true}};
    for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i)
        sections.push_back(LevelSection(i, i < exact.levels.size() ? exact.levels[i] : ExactLevel{}));
    return sections;
}

std::vector<ReportSection> PlotSections() {
    std::vector<ReportSection> sections{{"Plots", 1, true}};
    for (std::size_t i = 0; i < CurrentSelection().datasets.size(); ++i) {
        sections.push_back({LevelHeading(i), 2});
        sections.back().blocks.emplace_back(
            ReportPicture{ReportPictureKind::plot, i, "Curves of " + LevelHeading(i)});
    }
    return sections;
}

std::vector<ReportSection> IntervalSections(const ExactResults& exact) {
    std::vector<ReportSection> sections;
    if (exact.intervals.empty())
        return sections;
    sections.push_back({"Intervals", 1, true});
    for (std::size_t i = 0; i < exact.intervals.size(); ++i) {
        sections.push_back({"Interval " + exact.intervals[i].label + " ft", 2, i > 0});
        if (i + 1 < CurrentIntervals().size())
            sections.back().blocks.emplace_back(IntervalFacts(i + 1));
        AddExact(sections.back(), exact.intervals[i], i, exact.confidence);
    }
    return sections;
}

ReportSection CurveSection() {
    ReportSection section{"Curves and how they were made", 1, true};
    ReportTable table{
        "", {{"Level", "Curve", "Unit", "Step (s)", "Recorded (s)", "Valid (s)", "How it was made"}}};
    for (const DatasetRecord& record : CurrentSelection().datasets) {
        try {
            AddCurves(table.rows, record);
        } catch (...) {
            section.blocks.emplace_back(ReportText{record.dataset + ": the curves cannot be listed: " +
                                                   ErrorFromCurrentException("Report").description});
        }
    }
    section.blocks.emplace_back(std::move(table));
    return section;
}

}  // namespace vorela
