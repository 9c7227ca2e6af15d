#include "analysis/ValueHistory.h"

#include <utility>
#include <vector>

#include "analysis/CycleTexts.h"
#include "analysis/modIntervalInfo.h"
#include "db/DatasetRecord.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

struct Change {
    IntervalField field = nullptr;  ///< null: the selected cycle of dataset `position`
    std::size_t position = 0;
    double before = 0;
    double after = 0;
};

struct History {
    std::vector<std::string> levels;  ///< that the changes belong to
    std::vector<Change> changes;
    std::size_t done = 0;  ///< so many of them stand; the others were taken back
};

std::vector<std::string> SelectedLevels() {
    std::vector<std::string> levels;
    for (const DatasetRecord& record : CurrentSelection().datasets)
        levels.push_back(record.database + "/" + record.dataset);
    return levels;
}

/// Positions mean other levels once another selection was made.
History& CurrentHistory() {
    static History history;
    std::vector<std::string> levels = SelectedLevels();
    if (levels != history.levels)
        history = {std::move(levels), {}, 0};
    return history;
}

void Note(const Change& change) {
    History& history = CurrentHistory();
    if (change.before == change.after)
        return;
    history.changes.resize(history.done);
    history.changes.push_back(change);
    ++history.done;
}

const char* NameOf(IntervalField field) {
    if (field == &IntervalParameters::porosity)
        return "porosity";
    if (field == &IntervalParameters::viscosity)
        return "viscosity";
    return field == &IntervalParameters::ct ? "compressibility" : "height";
}

std::string SubjectOf(const Change& change) {
    if (change.field == nullptr)
        return "cycle of " + CurrentSelection().datasets.at(change.position).dataset;
    const auto& intervals = CurrentIntervals();
    const std::string label = change.position < intervals.size() ? intervals[change.position].label
                                                                 : std::to_string(change.position);
    return std::string(NameOf(change.field)) + " of " + label;
}

std::string ValueTextOf(const Change& change, double value) {
    const bool window = change.field == nullptr && value == windowCycleNumber;
    return window ? windowText : ShortestText(value);
}

ValueStep Put(const Change& change, double value) {
    if (change.field != nullptr) {
        CurrentParameters().intervals.at(change.position).*change.field = value;
        WriteParameters();
    } else {
        const auto number = static_cast<std::int32_t>(value);
        SelectCycle(CurrentSelection().datasets.at(change.position).cycles, number);
        SetCycleNumber(change.position, number);
    }
    return {change.field == nullptr, change.position,
            SubjectOf(change) + " is " + ValueTextOf(change, value)};
}

}  // namespace

std::optional<Refusal> EditIntervalValue(IntervalField field, std::size_t interval, const std::string& text) {
    const auto value = [&] {
        const auto& intervals = CurrentParameters().intervals;
        return interval < intervals.size() ? intervals[interval].*field : IntervalParameters{}.*field;
    };
    const double before = value();
    auto refusal = SetIntervalValue(field, interval, text);
    if (!refusal)
        Note({field, interval, before, value()});
    return refusal;
}

void NoteCycleChoice(std::size_t dataset, std::int32_t before, std::int32_t after) {
    Note({nullptr, dataset, static_cast<double>(before), static_cast<double>(after)});
}

std::string UndoSubject() {
    const History& history = CurrentHistory();
    return history.done > 0 ? SubjectOf(history.changes[history.done - 1]) : std::string();
}

std::string RedoSubject() {
    const History& history = CurrentHistory();
    return history.done < history.changes.size() ? SubjectOf(history.changes[history.done]) : std::string();
}

std::optional<ValueStep> UndoValue() {
    History& history = CurrentHistory();
    if (history.done == 0)
        return std::nullopt;
    const Change& change = history.changes[--history.done];
    return Put(change, change.before);
}

std::optional<ValueStep> RedoValue() {
    History& history = CurrentHistory();
    if (history.done == history.changes.size())
        return std::nullopt;
    const Change& change = history.changes[history.done++];
    return Put(change, change.after);
}

}  // namespace vorela
