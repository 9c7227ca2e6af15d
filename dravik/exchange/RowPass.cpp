#include "dravik/exchange/RowPass.h"

#include <cmath>
#include <optional>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/CurveSource.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

constexpr std::uint64_t checkpointBytes = std::uint64_t{1024} * 1024;
constexpr double daySeconds = 86400.0;

class RowPass {
  public:
    RowPass(const TextFile& file, const ReadingRules& rules, std::size_t columns, const Choices& choices,
            const Progress& progress)
        : file_(file),
          rules_(rules),
          choices_(choices),
          progress_(progress),
          rows_(rules.open(file, false)),
          time_(rules.time) {
        result_.columns.resize(columns);
        result_.orders = allDateOrders;
    }

    RowPassResult Run() {
        Row row;
        while (rows_->Next(row)) {
            if (row.place.offset >= nextMark_)
                MarkPlace(row);
            TakeTime(row);
            for (std::size_t i = 0; i < result_.columns.size(); ++i)
                result_.columns[i].Add(row.states[i], row.values[i], row.Cell(i), row.Line());
            ++result_.rows;
        }
        Finish();
        return std::move(result_);
    }

  private:
    /// The reader of times stands before the row.
    void MarkPlace(const Row& row) {
        nextMark_ = row.place.offset + checkpointBytes;
        result_.checkpoints.push_back({row.place, time_.Now()});
        if (progress_ && !progress_(row.place.offset, 2 * file_.End()))
            throw ImportStopped{};
    }

    void TakeTime(const Row& row) {
        RowTime time;
        if (!time_.Read(row, time))
            return Refuse(row, "", WhyNoTime());
        if (!begun_)
            BeginTimes(row, time);
        const auto possible = static_cast<DateOrderSet>(result_.orders & time.orders);
        if (possible == 0)
            return Refuse(row, "the date ", " is impossible in the order of those before");
        result_.orders = possible;
        if (possible == SetOf(DateOrder::ymd))
            bases_.front()->Add(IndexOf(time.at.front()), row.Line());
        else
            AddToEach(possible, time, row.Line());
    }

    double IndexOf(double time) const { return (time + choices_.shift) * indexPerUnit; }

    void AddToEach(DateOrderSet possible, const RowTime& time, std::size_t line) {
        std::optional<double> first;
        for (std::size_t i = 0; i < dateOrders; ++i) {
            if ((possible & SetOf(static_cast<DateOrder>(i))) == 0)
                continue;
            bases_[i]->Add(IndexOf(time.at[i]), line);
            result_.ordersAgree = result_.ordersAgree && (!first || std::abs(time.at[i] - *first) < 1e-6);
            first = time.at[i];
        }
    }

    /// Only the first few are told; the rest would say the same.
    void Refuse(const Row& row, const std::string& what, const std::string& why) {
        const std::string line = std::to_string(row.Line());
        if (result_.problems.size() < 3)
            result_.problems.push_back("line " + line + ": " + what +
                                       QuotedCell(row.Cell(rules_.time.columns.front())) + why +
                                       " (--leave-out " + line + ")");
    }

    std::string WhyNoTime() const {
        if (!rules_.time.format.empty())
            return " does not fit --time-format " + rules_.time.format;
        return begun_ ? " is no time like those before" : " is no time that is known (--time-format FMT)";
    }

    /// The first row tells where the grid of an existing dataset lies among the file's times.
    void BeginTimes(const Row& row, const RowTime& time) {
        begun_ = true;
        startStamp_ = StartOf(row);
        for (std::size_t i = 0; i < dateOrders; ++i) {
            TimeBaseOptions options;
            options.step = choices_.step;
            options.fill = choices_.fill * indexPerUnit;
            if (choices_.target) {
                options.step = choices_.target->step;
                options.phase = choices_.target->firstIndex + TargetZero(i, time.at[i]) * indexPerUnit;
            }
            bases_[i].emplace(options);
        }
    }

    /// Unix seconds of the first row's clock, where numbers tell the steps.
    std::optional<double> StartOf(const Row& row) const {
        Stamp stamp;
        std::array<StampCache, 2> stamps;
        if (rules_.time.startColumns.empty() ||
            !ReadStamp(row, rules_.time, rules_.time.startColumns, stamps, stamp) || !stamp.hasDate)
            return std::nullopt;
        for (std::size_t i = 0; i < dateOrders; ++i) {
            const auto order = static_cast<DateOrder>(i);
            if ((stamp.orders & SetOf(order)) != 0)
                return static_cast<double>(DayOf(stamp, order).value_or(0)) * daySeconds + stamp.clockSeconds;
        }
        return std::nullopt;
    }

    /// Unix seconds of the file's time 0; nothing where only clocks or plain numbers are known.
    std::optional<double> BaseOf(std::size_t order) const {
        const TimeReader::State& state = time_.Now();
        if (rules_.time.isEpoch)
            return state.epochStart + rules_.time.epochShift;
        if (!rules_.time.isNumber && time_.HasDate())
            return static_cast<double>(state.firstDay[order]) * daySeconds;
        return std::nullopt;
    }

    bool IsPlain() const {
        return rules_.time.isNumber && !rules_.time.isEpoch && rules_.time.startColumns.empty();
    }

    double TargetZero(std::size_t order, double firstTime) const {
        const std::optional<double> base = BaseOf(order);
        if (base && choices_.target->hasStart)
            return choices_.target->start - *base;
        return IsPlain() ? 0.0 : std::floor(firstTime + 1e-6);
    }

    /// Plain numbers stay as they stand; all else counts from the whole second of the earliest row.
    void SetZero(std::size_t order) {
        const TimeBaseSummary& times = result_.times[order];
        const std::optional<double> base = BaseOf(order);
        const double earliest = times.earliest / indexPerUnit;
        double zero = IsPlain() ? 0.0 : std::floor(earliest + 1e-6);
        if (choices_.target)
            zero = TargetZero(order, (times.first / indexPerUnit) - choices_.shift);
        else if (startStamp_)
            zero = std::round(times.first) / indexPerUnit;
        result_.zero[order] = zero;
        if (startStamp_)
            result_.start[order] = *startStamp_;
        else if (base)
            result_.start[order] = *base + zero;
    }

    void Finish() {
        for (std::size_t i = 0; i < dateOrders && begun_; ++i) {
            result_.times[i] = bases_[i]->Finish();
            SetZero(i);
        }
        result_.last = time_.Now();
        result_.hasDate = time_.HasDate();
        result_.hasZone = time_.HasZone();
        result_.minutesOnly = time_.MinutesOnly();
        result_.problems.insert(result_.problems.begin(), rows_->Problems().begin(), rows_->Problems().end());
        result_.notes = rows_->Notes();
        result_.leftOut = rows_->LinesLeftOut();
        result_.droppedRows = rows_->RowsLeftOut();
    }

    const TextFile& file_;
    const ReadingRules& rules_;
    const Choices& choices_;
    const Progress& progress_;
    std::unique_ptr<RowReader> rows_;
    TimeReader time_;
    std::array<std::optional<TimeBase>, dateOrders> bases_;
    std::uint64_t nextMark_ = 0;
    bool begun_ = false;
    std::optional<double> startStamp_;
    RowPassResult result_;
};

}  // namespace

RowPassResult PassOverRows(const TextFile& file, const ReadingRules& rules, std::size_t columns,
                           const Choices& choices, const Progress& progress) {
    return RowPass(file, rules, columns, choices, progress).Run();
}

}  // namespace dravik
