#include "dravik/importer/ValveSettings.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>

#include "dravik/exchange/Cells.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr std::string_view positionCurve = "PVLPOS";

std::optional<double> NumberOf(const std::string& text) {
    return vorela::StrictNumber(TrimmedCell(text));
}

/// Datasets of a job, each once.
std::set<std::string> DatasetsOf(const JobPlan& job) {
    std::set<std::string> datasets;
    for (const FilePlan& file : job.files)
        datasets.insert(file.dataset);
    return datasets;
}

bool HasCurve(const JobPlan& job, const std::string& dataset, std::string_view curve) {
    return std::any_of(job.files.begin(), job.files.end(), [&](const FilePlan& file) {
        return file.dataset == dataset &&
               std::any_of(file.columns.begin(), file.columns.end(),
                           [&](const ColumnView& column) { return column.name == curve; });
    });
}

bool IsRecordedAgainstTime(const JobPlan& job, const std::string& dataset) {
    const auto first = std::find_if(job.files.begin(), job.files.end(),
                                    [&](const FilePlan& file) { return file.dataset == dataset; });
    return first == job.files.end() || first->plan.grid.rows == 0 ||
           first->plan.grid.indexKind == DK_INDEX_TIME;
}

bool IsOfTool(const std::string& column) {
    const std::vector<CurveDescription>& curves = ValveCurves();
    return std::any_of(curves.begin(), curves.end(), [&](const CurveDescription& curve) {
        return vorela::EqualIgnoringCase(curve.name, column);
    });
}

class ValveChecker {
  public:
    ValveChecker(const ValveControls& valve, JobPlan& job) : valve_(valve), job_(job) {}

    void Run() {
        CheckControls();
        for (const std::string& dataset : DatasetsOf(job_))
            valve_.way == ValveWay::recorded ? CheckRecorded(dataset) : CheckMade(dataset);
    }

  private:
    void Problem(std::string text) { job_.problems.push_back(std::move(text)); }

    void CheckControls() {
        const auto number = [&](const char* control, const std::string& text) {
            if (!text.empty() && !NumberOf(text))
                Problem(std::string("Valve, ") + control + " \"" + text + "\": a number");
        };
        if (valve_.way == ValveWay::schedule) {
            if (!(NumberOf(valve_.period).value_or(0.0) > 0.0))
                Problem("Valve, Period \"" + valve_.period + "\": seconds above 0");
            number("First", valve_.first);
        } else if (valve_.way == ValveWay::threshold) {
            number("Threshold", valve_.threshold);
            if (!valve_.hysteresis.empty() && !(NumberOf(valve_.hysteresis).value_or(-1.0) >= 0.0))
                Problem("Valve, Hysteresis \"" + valve_.hysteresis + "\": a number from 0 on");
        } else if (valve_.way == ValveWay::times) {
            std::error_code ignored;
            if (!std::filesystem::is_regular_file(valve_.times, ignored))
                Problem("Valve, File of times \"" + valve_.times + "\": there is no such file");
        }
    }

    void CheckRecorded(const std::string& dataset) {
        const bool joined = std::any_of(job_.files.begin(), job_.files.end(), [&](const FilePlan& file) {
            return file.dataset == dataset && &file == &job_.files.front() && file.target;
        });
        if (joined || !IsRecordedAgainstTime(job_, dataset))
            return;
        std::string lacking;
        for (const CurveDescription& curve : ValveCurves()) {
            if (!HasCurve(job_, dataset, curve.name))
                lacking += (lacking.empty() ? "" : ", ") + curve.name;
        }
        if (!HasCurve(job_, dataset, positionCurve))
            job_.notes.push_back("dataset " + dataset +
                                 " gets no valve curve PVLPOS, and only datasets with one can be selected: "
                                 "choose where the valve comes from");
        else if (!lacking.empty())
            job_.notes.push_back("dataset " + dataset + " gets no " + lacking +
                                 ", which tell its cycles: choose where the valve comes from");
    }

    void CheckMade(const std::string& dataset) {
        if (!IsRecordedAgainstTime(job_, dataset))
            return Problem("dataset " + dataset + " is recorded against depth: its valve has no times");
        for (const CurveDescription& curve : ValveCurves()) {
            if (HasCurve(job_, dataset, curve.name))
                Problem("curve " + curve.name + " of dataset " + dataset +
                        " is recorded and would be made too: choose recorded curves, leave it out, or give "
                        "it another name");
        }
        if (valve_.way != ValveWay::threshold)
            return;
        const std::string curve = FindThreshold(valve_, job_, dataset).curve;
        if (curve.empty())
            Problem("dataset " + dataset + ": no column has the role valve position (Valve, Curve)");
        else if (!HasCurve(job_, dataset, curve))
            Problem("dataset " + dataset + " has no curve " + curve + " (Valve, Curve)");
    }

    const ValveControls& valve_;
    JobPlan& job_;
};

}  // namespace

ValveWay SuggestedWay(const JobPlan& job, const std::string& dataset) {
    bool hasPosition = false;
    for (const FilePlan& file : job.files) {
        for (const ColumnView& column : file.columns) {
            if (file.dataset != dataset || column.role == Role::leaveOut)
                continue;
            if (IsOfTool(column.source))
                return ValveWay::recorded;
            hasPosition = hasPosition || column.role == Role::valvePosition;
        }
    }
    return hasPosition && IsRecordedAgainstTime(job, dataset) ? ValveWay::threshold : ValveWay::recorded;
}

void CheckValve(const ValveControls& valve, JobPlan& job) {
    ValveChecker(valve, job).Run();
}

ThresholdFound FindThreshold(const ValveControls& valve, const JobPlan& job, const std::string& dataset) {
    ThresholdFound found{valve.curve, 0.0};
    for (const FilePlan& file : job.files) {
        for (std::size_t i = 0; i < file.columns.size() && i < file.found.columns.size(); ++i) {
            const ColumnView& column = file.columns[i];
            const bool isIt = found.curve.empty() ? column.role == Role::valvePosition
                                                  : !column.name.empty() && column.name == found.curve;
            if (file.dataset != dataset || !isIt)
                continue;
            const PlannedColumn& planned = file.found.columns[i];
            return {column.name, planned.least + (planned.greatest - planned.least) / 2.0};
        }
    }
    return found;
}

std::optional<ValveRequest> ValveOf(const ValveControls& valve, const JobPlan& job,
                                    const std::string& dataset) {
    if (valve.way == ValveWay::recorded)
        return std::nullopt;
    ValveRequest source;
    source.dataset = dataset;
    if (valve.way == ValveWay::schedule) {
        source.periodSeconds = NumberOf(valve.period);
        source.firstSeconds = NumberOf(valve.first);
    } else if (valve.way == ValveWay::times) {
        source.times = valve.times;
    } else {
        const ThresholdFound found = FindThreshold(valve, job, dataset);
        source.from = found.curve;
        source.threshold = {NumberOf(valve.threshold).value_or(found.middle),
                            NumberOf(valve.hysteresis).value_or(0.0), valve.invert};
    }
    return source;
}

}  // namespace dravik
