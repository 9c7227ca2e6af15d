#include <algorithm>
#include <set>
#include <utility>

#include "analysis/CycleReasons.h"
#include "analysis/ExactTables.h"
#include "analysis/modIntervalInfo.h"
#include "db/CommonCurves.h"
#include "db/DatasetRecord.h"
#include "general/modGeneral.h"
#include "report/ReportParts.h"
#include "signal/CurveCoverage.h"

namespace vorela {
namespace {

std::vector<std::string> Prefixed(const std::string& name, std::vector<std::string> lines) {
    for (std::string& line : lines)
        line.insert(0, name + ": ");
    return lines;
}

void Append(std::vector<std::string>& lines, const std::vector<std::string>& more) {
    lines.insert(lines.end(), more.begin(), more.end());
}

std::vector<std::string> CausesOfMissingResults(std::size_t dataset) {
    try {
        return ReasonsForMissingResults(dataset);
    } catch (...) {
        return {"why cycles have no results cannot be told: " +
                ErrorFromCurrentException("Report").description};
    }
}

std::vector<std::string> LevelNotes(const ExactResults& exact) {
    std::vector<std::string> lines;
    const auto& datasets = CurrentSelection().datasets;
    for (std::size_t i = 0; i < datasets.size(); ++i) {
        const std::string& name = datasets[i].dataset;
        if (datasets[i].IsUnmeasured() || datasets[i].cycles.RealCycles() == 0)
            lines.push_back(name + ": no whole cycle yet");
        Append(lines, Prefixed(name, CausesOfMissingResults(i)));
        if (i >= exact.levels.size())
            continue;
        const ExactLevel& level = exact.levels[i];
        if (!level.fault.empty())
            lines.push_back(name + ": no exact results: " + level.fault);
        Append(lines, Prefixed(name, level.notes));
    }
    return lines;
}

/// A message box of several lines is one note.
std::string OnOneLine(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool isBreak = c == '\r' || c == '\n';
        if (!isBreak)
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

}  // namespace

std::vector<NoteGroup> ReportNotes(const ReportSource& source) {
    std::vector<std::string> results = ResultHints();
    std::vector<std::string> curves = UnitWarnings();
    Append(curves, StaleCurveLines());
    std::vector<NoteGroup> groups;
    std::set<std::string> listed;
    const auto add = [&](const char* heading, const std::vector<std::string>& lines) {
        NoteGroup group{heading, {}};
        for (const std::string& line : lines)
            if (const std::string text = OnOneLine(line); !text.empty() && listed.insert(text).second)
                group.lines.push_back(text);
        if (!group.lines.empty())
            groups.push_back(std::move(group));
    };
    add("Levels", LevelNotes(source.exact));
    add("Intervals", ExactMessages(source.exact));
    add("Curves", curves);
    add("Results", results);
    add("Said while working", source.notes);
    return groups;
}

std::size_t CountOf(const std::vector<NoteGroup>& notes) {
    std::size_t count = 0;
    for (const NoteGroup& group : notes)
        count += group.lines.size();
    return count;
}

}  // namespace vorela
