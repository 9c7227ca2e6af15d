#include "report/ReportContent.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <set>
#include <utility>

#include "analysis/CycleTexts.h"
#include "analysis/ExactTables.h"
#include "db/DatasetRecord.h"
#include "db/IndexUnits.h"
#include "general/NumberText.h"
#include "report/ReportParts.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

const std::vector<DatasetRecord>& Datasets() {
    return CurrentSelection().datasets;
}

std::string ListOf(const std::set<std::string>& texts) {
    return texts.empty() ? "-" : Joined(texts, ", ");
}

/// A well's database is named after it.
std::set<std::string> WellNames() {
    std::set<std::string> names;
    for (const DatasetRecord& record : Datasets())
        names.insert(std::filesystem::path(record.database).stem().string());
    return names;
}

std::set<std::string> Databases() {
    std::set<std::string> paths;
    for (const DatasetRecord& record : Datasets())
        paths.insert(record.database);
    return paths;
}

/// From when to when the levels were recorded, as far as that is known.
std::string DatesText() {
    std::int64_t first = 0, last = 0;
    for (const DatasetRecord& record : Datasets()) {
        const std::int64_t start = record.presentation.recordingStart;
        if (start == 0)
            continue;
        const auto end = start + static_cast<std::int64_t>(SecondsOf(record.extentB));
        first = first == 0 ? start : std::min(first, start);
        last = std::max(last, end);
    }
    return first == 0 ? "not known" : UtcText(first) + " to " + UtcText(last);
}

std::string CurvesText() {
    const CurveChoice& choice = CurrentSelection().choice;
    return choice.pressure + " and " + choice.flow;
}

std::string NotesText(std::size_t count) {
    if (count == 0)
        return "none";
    return std::to_string(count) + (count == 1 ? " note" : " notes") + ", listed at the end";
}

ReportTable WellFacts(const ReportSource& source, std::size_t notes) {
    ReportTable table{"", {}, true};
    table.rows = {{"Well", ListOf(WellNames())},
                  {"Database", ListOf(Databases())},
                  {"Recorded", DatesText()},
                  {"Pressure and flow curve", CurvesText()},
                  {"Period of test (seconds)", FormatNumber(CurrentParameters().period)},
                  {"Report made", UtcText(source.created) + " by " + source.program},
                  {"Notes and warnings", NotesText(notes)}};
    return table;
}

ReportTable LevelTable(const ExactResults& exact) {
    ReportTable table{"Levels",
                      {{"Level", "Depth (ft)", "Recording began", "Length (s)", "Cycles", "Selected cycle",
                        "Exact: cycles", "Grades"}}};
    for (std::size_t i = 0; i < Datasets().size(); ++i) {
        const DatasetRecord& record = Datasets()[i];
        const ExactLevel level = i < exact.levels.size() ? exact.levels[i] : ExactLevel{};
        const std::int32_t start = record.presentation.recordingStart;
        table.rows.push_back({record.dataset, FormatNumber(record.sortKey), start == 0 ? "-" : UtcText(start),
                              FormatNumber(SecondsOf(std::int64_t{record.extentB} - record.extentA)),
                              std::to_string(record.cycles.RealCycles()), SelectedCycleText(record.cycles),
                              level.firstCycle > 0 ? std::to_string(level.firstCycle) + " to " +
                                                         std::to_string(level.lastCycle)
                                                   : "-",
                              GradesText(level)});
    }
    return table;
}

/// Messages stand in the list of notes.
TextRows IntervalRows(const ExactResults& exact) {
    TextRows rows = ExactComparisonRows(exact);
    for (std::vector<std::string>& row : rows)
        row.pop_back();
    return rows;
}

ReportSection FirstPage(const ReportSource& source, std::size_t notes) {
    ReportSection section{"Summary", 1};
    section.blocks.emplace_back(WellFacts(source, notes));
    section.blocks.emplace_back(LevelTable(source.exact));
    if (source.exact.intervals.empty()) {
        section.blocks.emplace_back(
            ReportText{"Permeability and skin are of the intervals between levels: two levels or more are "
                       "needed, so there are none."});
        return section;
    }
    section.blocks.emplace_back(
        ReportTable{"Intervals: quicklook beside the exact analysis", IntervalRows(source.exact)});
    section.blocks.emplace_back(ReportText{
        "Ranges hold the true value with " + FormatNumber(source.exact.confidence) +
        " % confidence. Grades go by the error of the permeability: A up to 3 %, B up to 10 %, C up "
        "to 30 %, else D. \"p\" is the chance that harmonics agree as badly as these in a true "
        "model."});
    ReportPicture profile{ReportPictureKind::profile, 0, "Permeability and skin over depth"};
    profile.height = 560;
    profile.leastHeight = 240;
    section.blocks.emplace_back(std::move(profile));
    return section;
}

ReportSection NoteSection(const std::vector<NoteGroup>& notes) {
    ReportSection section{"Notes and warnings", 1, true};
    if (notes.empty())
        section.blocks.emplace_back(ReportText{"None."});
    for (const NoteGroup& group : notes) {
        section.blocks.emplace_back(ReportText{group.heading + ":"});
        section.blocks.emplace_back(ReportList{group.lines});
    }
    return section;
}

void Append(std::vector<ReportSection>& sections, std::vector<ReportSection> more) {
    std::move(more.begin(), more.end(), std::back_inserter(sections));
}

bool IsNumberCell(const std::string& cell) {
    if (cell.empty() || cell == "-")
        return true;
    std::string rest = IsMarkedDefault(cell) ? cell.substr(0, cell.find(' ')) : cell;
    if (rest.starts_with("from "))
        rest.erase(0, 5);
    if (const std::size_t to = rest.find("to "); to != std::string::npos) {
        const std::string before = Trimmed(rest.substr(0, to));
        return (before.empty() || StrictNumber(before)) && StrictNumber(rest.substr(to + 3)).has_value();
    }
    return StrictNumber(rest).has_value();
}

}  // namespace

std::string UtcText(std::int64_t unixSeconds) {
    const std::chrono::sys_seconds time{std::chrono::seconds(unixSeconds)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d UTC",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()));
    return text.data();
}

Report MakeReport(const ReportSource& source) {
    const std::vector<NoteGroup> notes = ReportNotes(source);
    Report report{
        "Harmonic test report: " + ListOf(WellNames()), source.program, UtcText(source.created), {}};
    report.sections.push_back(FirstPage(source, CountOf(notes)));
    report.sections.push_back(InputSection());
    Append(report.sections, LevelSections(source.exact));
    Append(report.sections, PlotSections());
    Append(report.sections, IntervalSections(source.exact));
    report.sections.push_back(CurveSection());
    report.sections.push_back(NoteSection(notes));
    return report;
}

std::vector<ReportPicture> PicturesOf(const Report& report) {
    std::vector<ReportPicture> pictures;
    for (const ReportSection& section : report.sections)
        for (const ReportBlock& block : section.blocks)
            if (const auto* picture = std::get_if<ReportPicture>(&block))
                pictures.push_back(*picture);
    return pictures;
}

bool IsMarkedDefault(const std::string& cell) {
    return cell == defaultMark || cell.ends_with(std::string(" (") + defaultMark + ")");
}

bool IsNumberColumn(const ReportTable& table, std::size_t column) {
    if (table.facts || column == 0)
        return false;
    return std::all_of(table.rows.begin() + 1, table.rows.end(),
                       [&](const auto& row) { return column >= row.size() || IsNumberCell(row[column]); });
}

}  // namespace vorela
