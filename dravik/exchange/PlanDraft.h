// What both kinds of files share while their plan is made.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/Plan.h"
#include "dravik/exchange/TimeColumns.h"
#include "dravik/exchange/Units.h"

namespace dravik {

/// A plan in the making; file, choices and plan outlive it.
struct PlanDraft {
    const TextFile& file;
    const Choices& choices;
    ImportPlan& plan;
    std::vector<NameAndUnit> names;     ///< one a column
    std::vector<std::string> captions;  ///< as written

    void Note(std::string text) { plan.notes.push_back(std::move(text)); }
    void Problem(std::string text) { plan.problems.push_back(std::move(text)); }

    CellRules RulesOfCells(const NumberFormat& format) const;
    /// Finds the columns of the time among the head's rows; none: the plan has a problem.
    void TakeTime(const HeadColumns& columns);
    void TakeTime(TimeFinding finding);
    /// Of the time, of its start and of a clock's milliseconds.
    std::vector<std::size_t> TimeColumns() const;
};

/// "1 line", "3 lines".
std::string LinesText(std::size_t count);

/// Everything about a delimited file but what all its rows tell. False when it holds no table that has a
/// time.
bool PlanTable(PlanDraft& draft);

}  // namespace dravik
