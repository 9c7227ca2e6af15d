#include "dravik/exchange/SampleReader.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dravik/exchange/CurveSource.h"

namespace dravik {

SampleReader::SampleReader(const TextFile& file, const ImportPlan& plan)
    : plan_(plan), rows_(plan.reading.open(file, true)), time_(plan.reading.time) {
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
        if (plan.columns[i].role == ColumnRole::curve)
            sources_.push_back({i, plan.columns[i].pascals});
    }
    Rewind();
}

void SampleReader::Rewind() {
    nextCheckpoint_ = plan_.reading.checkpoints.size();
    block_.clear();
    waiting_.clear();
    ended_ = false;
    lastIndex_.assign(sources_.size(), -std::numeric_limits<double>::infinity());
    lastValue_.assign(sources_.size(), 0.0);
    if (!plan_.reading.checkpoints.empty()) {
        rows_->Seek(plan_.reading.checkpoints.front().place);
        time_.Resume(plan_.reading.checkpoints.front().time);
    }
}

bool SampleReader::NextIndex(double& index) {
    RowTime time;
    while (rows_->Next(row_)) {
        if (!time_.Read(row_, time))
            continue;  // a plan with such a row forbids the import
        index = time.at[static_cast<std::size_t>(plan_.reading.order)] * indexPerUnit + plan_.reading.shift;
        return true;
    }
    return false;
}

bool SampleReader::ReadOne(Sample& sample) {
    if (!NextIndex(sample.index))
        return false;
    sample.values.resize(sources_.size());
    for (std::size_t i = 0; i < sources_.size(); ++i)
        sample.values[i] = Value(i);
    return true;
}

void SampleReader::ReadBlock(std::size_t checkpoint) {
    const std::vector<Checkpoint>& checkpoints = plan_.reading.checkpoints;
    rows_->Seek(checkpoints[checkpoint].place);
    time_.Resume(checkpoints[checkpoint].time);
    const bool last = checkpoint + 1 == checkpoints.size();
    Sample sample;
    while (ReadOne(sample)) {
        if (!last && row_.place.offset >= checkpoints[checkpoint + 1].place.offset)
            break;
        block_.push_back(sample);
    }
}

bool SampleReader::NextFromEnd(Sample& sample) {
    while (block_.empty() && nextCheckpoint_ > 0)
        ReadBlock(--nextCheckpoint_);
    if (block_.empty())
        return false;
    sample = std::move(block_.back());
    block_.pop_back();
    return true;
}

bool SampleReader::NextUnfilled(Sample& sample) {
    return plan_.timeBase.descending ? NextFromEnd(sample) : ReadOne(sample);
}

bool SampleReader::Next(Sample& sample) {
    return plan_.grid.fill > 0.0 ? NextFilled(sample) : NextUnfilled(sample);
}

/// Missing cells between two values not too far apart lie on the straight line between them (codes: keep the
/// earlier one).
void SampleReader::FillBehind(const Sample& sample) {
    for (std::size_t i = 0; i < sources_.size(); ++i) {
        const double value = sample.values[i];
        if (std::isnan(value))
            continue;
        const double gap = sample.index - lastIndex_[i];
        const double slope = plan_.columns[sources_[i].column].isCode ? 0.0 : (value - lastValue_[i]) / gap;
        for (auto row = waiting_.rbegin(); row != waiting_.rend() && gap <= plan_.grid.fill; ++row) {
            if (!std::isnan(row->values[i]))
                break;
            row->values[i] = lastValue_[i] + slope * (row->index - lastIndex_[i]);
        }
        lastIndex_[i] = sample.index;
        lastValue_[i] = value;
    }
}

bool SampleReader::NextFilled(Sample& sample) {
    const auto isWhole = [](const Sample& row) {
        return std::none_of(row.values.begin(), row.values.end(), [](double v) { return std::isnan(v); });
    };
    while (!ended_ &&
           (waiting_.empty() || (!isWhole(waiting_.front()) &&
                                 waiting_.back().index - waiting_.front().index <= plan_.grid.fill))) {
        Sample next;
        ended_ = !NextUnfilled(next);
        if (ended_)
            break;
        FillBehind(next);
        waiting_.push_back(std::move(next));
    }
    if (waiting_.empty())
        return false;
    sample = std::move(waiting_.front());
    waiting_.pop_front();
    return true;
}

}  // namespace dravik
