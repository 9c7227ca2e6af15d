#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "dravik/exchange/CurvePlan.h"
#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/DatasetImport.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/exchange/LasPlan.h"
#include "dravik/exchange/PlanDraft.h"
#include "dravik/exchange/RowPass.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

constexpr double mostFillBytes = 24.0 * 1024.0 * 1024.0;
constexpr double shortestOrderLead = 20.0 * 86400.0 * indexPerUnit;

std::string TurnsText(std::int64_t turns) {
    return (turns == 1 ? "once" : std::to_string(turns) + " times") + " past ";
}

/// Plans one file.
class Planner {
  public:
    /// `before`: a plan whose pass over the rows may be taken over; null: none.
    Planner(const TextFile& file, const Choices& choices, const Progress& progress, const ImportPlan* before,
            ImportPlan& plan)
        : draft_{file, choices, plan, {}, {}},
          choices_(choices),
          progress_(progress),
          before_(before),
          plan_(plan) {}

    void Run() {
        plan_.encoding = draft_.file.TextEncoding().name;
        plan_.encodingChoice = choices_.encoding;
        plan_.version = draft_.file.Version();
        plan_.isLas = LooksLikeLas(draft_.file);
        if (plan_.isLas)
            las_ = PlanLas(draft_);
        if (plan_.isLas ? las_.has_value() : PlanTable(draft_))
            PassAndDecide();
        else
            NameColumns();
    }

  private:
    /// Of a table without a time: what a choice of its column can name.
    void NameColumns() {
        for (const NameAndUnit& name : draft_.names) {
            PlannedColumn column;
            column.source = name.name;
            column.unit = name.unit;
            plan_.columns.push_back(std::move(column));
        }
    }

    std::shared_ptr<const RowPassResult> Pass() const {
        if (before_ != nullptr && before_->pass && before_->version == plan_.version)
            return before_->pass;
        return std::make_shared<const RowPassResult>(
            PassOverRows(draft_.file, plan_.reading, draft_.names.size(), choices_, progress_));
    }

    void PassAndDecide() {
        plan_.pass = Pass();
        const RowPassResult& pass = *plan_.pass;
        plan_.rows = pass.rows;
        plan_.droppedRows = pass.droppedRows;
        for (const LeftOut& lines : pass.leftOut)
            draft_.Note("left out: " + lines.what + " (" +
                        (lines.count > 1 ? LinesText(lines.count) + " from line " : "line ") +
                        std::to_string(lines.firstLine) + ")");
        plan_.notes.insert(plan_.notes.end(), pass.notes.begin(), pass.notes.end());
        plan_.problems.insert(plan_.problems.end(), pass.problems.begin(), pass.problems.end());
        plan_.reading.checkpoints = pass.checkpoints;
        plan_.reading.shift = choices_.shift * indexPerUnit;
        PlanCurves(draft_.names, draft_.captions, draft_.TimeColumns(), pass.columns, choices_, plan_);
        DescribeTime(pass);
        if (pass.rows > 0 && !plan_.reading.time.columns.empty())
            DecideTime(pass);
        else if (pass.rows == 0)
            draft_.Problem("no rows");
    }

    void DescribeTime(const RowPassResult& pass) {
        const TimeRule& rule = plan_.reading.time;
        for (const std::size_t column : draft_.TimeColumns())
            plan_.timeColumns.push_back(draft_.names[column].name);
        plan_.timeUnit = rule.isNumber ? rule.unitName : "";
        if (pass.hasZone)
            plan_.zoneMinutes = static_cast<int>(std::lround(pass.last.firstZone / 60.0));
        plan_.clockOnly = !rule.isNumber && !pass.hasDate;
        plan_.timeFormat = rule.isEpoch    ? "epoch"
                           : rule.isNumber ? "number"
                           : pass.hasDate  ? "date"
                                           : "clock";
        TellZones();
        if (plan_.clockOnly && pass.last.turns != 0)
            draft_.Note("clocks without a date: " + TurnsText(std::abs(pass.last.turns)) +
                        (pass.minutesOnly ? "the full hour" : "midnight"));
    }

    /// A clock that was never set, a count from another day than 1970.
    void TellStrangeStart() {
        constexpr double daySeconds = 86400.0;
        constexpr double nanoseconds = 1e9;
        if (!plan_.start)
            return;
        const double stored = RecordingStart(plan_);
        if (std::abs(stored - *plan_.start) >= 1.0)
            draft_.Note("it starts at " + DateText(*plan_.start) + ", which the database stores as " +
                        DateText(stored) + " (--date-order, --time-format)");
        else if (stored > static_cast<double>(plan_.version.changed) / nanoseconds + daySeconds)
            draft_.Note("it starts at " + DateText(*plan_.start) +
                        ", after the file was written (--date-order, --time-format)");
    }

    /// Dates meet dates as they are written.
    void TellZones() {
        const std::optional<TargetGrid>& target = choices_.target;
        if (!target || !target->knowsZone || plan_.timeFormat != "date" ||
            target->zoneMinutes == plan_.zoneMinutes)
            return;
        const bool both = target->zoneMinutes && plan_.zoneMinutes;
        draft_.Note(both ? "the zones of file and dataset differ: times are taken as written (--shift)"
                    : plan_.zoneMinutes
                        ? "only the file's times have a zone: they are taken as written (--shift)"
                        : "only the dataset's start has a zone: times are taken as written (--shift)");
    }

    void DecideTime(const RowPassResult& pass) {
        const std::optional<DateOrder> order = SettleOrder(pass);
        if (!order)
            return;
        const auto index = static_cast<std::size_t>(*order);
        TimeRule& rule = plan_.reading.time;
        plan_.reading.order = *order;
        rule.orders = SetOf(*order);
        plan_.dateOrder = pass.hasDate ? DateOrderName(*order) : "";
        plan_.timeBase = pass.times[index];
        plan_.start = pass.start[index];
        TellStrangeStart();
        if (las_)
            CompareLasHeader(*las_, draft_);
        GridDecision decision =
            DecideGrid(plan_.timeBase, choices_, rule.indexKind, pass.zero[index] * indexPerUnit);
        plan_.grid = decision.grid;
        plan_.notes.insert(plan_.notes.end(), decision.notes.begin(), decision.notes.end());
        plan_.problems.insert(plan_.problems.end(), decision.problems.begin(), decision.problems.end());
        CheckFill();
    }

    /// Rows with missing cells wait for the value behind the gap: as many as the longest gap to fill has.
    void CheckFill() {
        const auto missing = [](const PlannedColumn& c) {
            return c.role == ColumnRole::curve && c.missing > 0;
        };
        if (choices_.fill <= 0.0 || std::none_of(plan_.columns.begin(), plan_.columns.end(), missing))
            return;
        const double rowBytes = 64.0 + 8.0 * static_cast<double>(plan_.columns.size());
        const double most = mostFillBytes / rowBytes * plan_.timeBase.medianStep / indexPerUnit;
        if (choices_.fill > most && static_cast<double>(plan_.rows) * rowBytes > mostFillBytes)
            draft_.Problem("--fill " + vorela::ShortestText(choices_.fill) +
                           " takes more rows than can be held: at most " +
                           vorela::ShortestText(std::floor(most)) + " for this file");
    }

    /// The order of day and month: what all rows leave possible, then the differences, then the span.
    std::optional<DateOrder> SettleOrder(const RowPassResult& pass) {
        std::vector<DateOrder> possible;
        for (const DateOrder order : {DateOrder::dmy, DateOrder::mdy, DateOrder::ymd}) {
            if ((pass.orders & SetOf(order)) != 0)
                possible.push_back(order);
        }
        if (possible.size() == 1 || !pass.hasDate || plan_.reading.time.isNumber)
            return pass.hasDate && !possible.empty() ? possible.front() : DateOrder::ymd;
        std::optional<DateOrder> found;
        if (pass.ordersAgree)
            found = possible.front();
        for (const DateOrder order : possible) {
            if (!found && IsShortest(order, possible, pass))
                found = order;
        }
        if (found)
            draft_.Note("dates are read as " + DateOrderName(*found) + " (--date-order)");
        else
            draft_.Problem("dates may be of several orders (--date-order ymd|dmy|mdy)");
        return found;
    }

    static bool IsShortest(DateOrder order, const std::vector<DateOrder>& possible,
                           const RowPassResult& pass) {
        const auto span = [&](DateOrder o) {
            const TimeBaseSummary& times = pass.times[static_cast<std::size_t>(o)];
            return times.latest - times.earliest;
        };
        const TimeBaseSummary& own = pass.times[static_cast<std::size_t>(order)];
        return own.disorder == 0 && std::all_of(possible.begin(), possible.end(), [&](DateOrder other) {
                   return other == order || span(order) + shortestOrderLead <= span(other);
               });
    }

    PlanDraft draft_;
    const Choices& choices_;
    const Progress& progress_;
    const ImportPlan* before_;
    ImportPlan& plan_;
    std::optional<LasHeader> las_;
};

ImportPlan PlanFile(const std::string& file, const Choices& choices, const Progress& progress,
                    const ImportPlan* before) {
    ImportPlan plan;
    plan.file = file;
    try {
        const TextFile text(file, choices.encoding);
        Planner(text, choices, progress, before, plan).Run();
    } catch (const ExchangeError& error) {
        plan.problems.push_back(error.what());
    }
    return plan;
}

}  // namespace

ImportPlan PlanImport(const std::string& file, const Choices& choices, const Progress& progress) {
    return PlanFile(file, choices, progress, nullptr);
}

bool IsCurrent(const ImportPlan& plan) {
    try {
        return TextFile(plan.file, plan.encodingChoice).Version() == plan.version;
    } catch (const ExchangeError&) {
        return false;
    }
}

ImportPlan PlanAgain(const ImportPlan& before, const Choices& choices, const Progress& progress) {
    return PlanFile(before.file, choices, progress, &before);
}

}  // namespace dravik
