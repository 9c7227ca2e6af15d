#include "dravik/exchange/PlanReport.h"

#include <algorithm>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/Stamp.h"
#include "general/DelimitedText.h"
#include "general/NumberText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

using Json = nlohmann::ordered_json;
using vorela::Joined;

std::string KindName(ColumnKind kind) {
    return kind == ColumnKind::number ? "number" : kind == ColumnKind::text ? "text" : "empty";
}

std::string RoleName(ColumnRole role) {
    return role == ColumnRole::time ? "time" : role == ColumnRole::curve ? "curve" : "left out";
}

std::string MethodName(GridMethod method) {
    return method == GridMethod::asTheyAre ? "as they are"
           : method == GridMethod::mean    ? "mean"
                                           : "interpolated";
}

std::string Curves(const ImportPlan& plan) {
    std::vector<std::string> curves;
    for (const PlannedColumn& column : plan.columns) {
        if (column.role == ColumnRole::curve)
            curves.push_back(column.name + (column.unit.empty() ? "" : " (" + column.unit + ")"));
    }
    return Joined(curves, ", ");
}

std::string SeparatorName(const std::string& separator) {
    return separator == "\t" ? "tab" : separator;
}

std::string Moment(const ImportPlan& plan, std::int32_t index) {
    if (plan.start)
        return DateText(*plan.start + index / indexPerUnit);
    return IndexSpan(index, plan.grid.indexKind);
}

Json ColumnJson(const PlannedColumn& column) {
    Json json{{"name", column.name.empty() ? column.source : column.name},
              {"source", column.source},
              {"unit", column.unit},
              {"kind", KindName(column.kind)},
              {"missing", column.missing},
              {"role", RoleName(column.role)}};
    if (column.kind == ColumnKind::number)
        json["range"] = {column.least, column.greatest};
    return json;
}

Json TimeJson(const ImportPlan& plan) {
    if (plan.timeColumns.empty())
        return nullptr;
    const TimeBaseSummary& times = plan.timeBase;
    return {{"columns", plan.timeColumns},
            {"format", plan.timeFormat},
            {"unit", plan.timeUnit},
            {"dateOrder", plan.dateOrder.empty() ? Json(nullptr) : Json(plan.dateOrder)},
            {"step", times.medianStep / indexPerUnit},
            {"shortestStep", times.shortestStep / indexPerUnit},
            {"longestStep", times.longestStep / indexPerUnit},
            {"even", times.onGrid},
            {"outOfOrder", times.disorder}};
}

Json GridJson(const GridPlan& grid) {
    if (grid.rows == 0)
        return nullptr;
    return {{"index", grid.indexKind == DK_INDEX_TIME ? "time" : "depth"},
            {"step", grid.step},
            {"first", grid.firstIndex},
            {"last", grid.LastIndex()},
            {"samples", grid.rows},
            {"method", MethodName(grid.method)}};
}

}  // namespace

Json PlanJson(const ImportPlan& plan) {
    Json columns = Json::array();
    for (const PlannedColumn& column : plan.columns)
        columns.push_back(ColumnJson(column));
    return {{"file", plan.file},
            {"encoding", plan.encoding},
            {"separator", plan.separator},
            {"decimal", std::string(1, plan.decimal)},
            {"quote", std::string(1, plan.quote)},
            {"preambleLines", plan.preambleLines},
            {"headerLines", plan.headerLines},
            {"columns", std::move(columns)},
            {"time", TimeJson(plan)},
            {"grid", GridJson(plan.grid)},
            {"start", plan.start ? Json(DateText(*plan.start)) : Json(nullptr)},
            {"rows", plan.rows},
            {"gaps", plan.timeBase.gaps},
            {"droppedRows", plan.droppedRows},
            {"notes", plan.notes},
            {"problems", plan.problems}};
}

std::string PlanText(const ImportPlan& plan) {
    std::string text = plan.file + "\n";
    const auto add = [&](const std::string& name, const std::string& value) {
        text += "  " + name + std::string(12 - std::min<std::size_t>(11, name.size()), ' ') + value + "\n";
    };
    add("format", plan.isLas ? "LAS" : "delimited text");
    add("encoding", plan.encoding);
    add("separator", SeparatorName(plan.separator));
    add("decimal", std::string(1, plan.decimal));
    add("header", std::to_string(plan.preambleLines) + " lines of preamble, " +
                      std::to_string(plan.headerLines) + " of names and units");
    add("rows", std::to_string(plan.rows) + ", left out " + std::to_string(plan.droppedRows));
    if (!plan.timeColumns.empty())
        add("time", Joined(plan.timeColumns, " + ") + ", " + plan.timeFormat +
                        (plan.timeUnit.empty() ? "" : " in " + plan.timeUnit) +
                        (plan.dateOrder.empty() ? "" : ", " + plan.dateOrder) + ", every " +
                        IndexSpan(plan.timeBase.medianStep, plan.grid.indexKind) + ", " +
                        std::to_string(plan.timeBase.gaps) + " gaps");
    if (plan.start)
        add("start", DateText(*plan.start));
    if (plan.grid.rows > 0)
        add("grid", "every " + IndexSpan(plan.grid.step, plan.grid.indexKind) + " from " +
                        Moment(plan, plan.grid.firstIndex) + " to " + Moment(plan, plan.grid.LastIndex()) +
                        ", " + std::to_string(plan.grid.rows) + " samples, " + MethodName(plan.grid.method));
    for (const PlannedColumn& column : plan.columns)
        add("column",
            column.source + (column.unit.empty() ? "" : " (" + column.unit + ")") + ": " +
                KindName(column.kind) + ", " +
                (column.role == ColumnRole::curve ? "curve " + column.name : RoleName(column.role)) +
                (column.missing > 0 ? ", " + std::to_string(column.missing) + " missing" : "") +
                (column.kind == ColumnKind::number ? ", " + vorela::ShortestText(column.least) + " to " +
                                                         vorela::ShortestText(column.greatest)
                                                   : ""));
    for (const std::string& note : plan.notes)
        add("note", note);
    for (const std::string& problem : plan.problems)
        add("problem", problem);
    return text;
}

std::string ImportLine(const ImportPlan& plan) {
    return plan.file + ": " + std::to_string(plan.rows) + " rows, " + Curves(plan) + ", every " +
           IndexSpan(plan.grid.step, plan.grid.indexKind) + ", " + Moment(plan, plan.grid.firstIndex) +
           " to " + Moment(plan, plan.grid.LastIndex());
}

std::string RefusalText(const ImportPlan& plan) {
    constexpr std::size_t mostLines = 5;
    std::string text;
    for (std::size_t i = 0; i < std::min(mostLines, plan.problems.size()); ++i)
        text += (i > 0 ? "\n" : "") + plan.file + ": " + plan.problems[i];
    return text;
}

}  // namespace dravik
