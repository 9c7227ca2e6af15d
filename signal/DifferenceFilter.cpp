#include "signal/DifferenceFilter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "db/IndexUnits.h"
#include "general/CheckedMath.h"

namespace vorela {
namespace {

constexpr const char* source = "DifferenceFilter";
/// Offsets are taken to a millionth of an index unit: a period's decimal fraction is not exact in binary, and
/// a half period of 2.05 s is 205 units.
constexpr double offsetsPerUnit = 1e6;
constexpr std::int64_t blockSamples = 4096;

float Combined(double a, double b, double c) {
    return static_cast<float>((a - 2.0 * b + c) / 4.0);
}

double Between(double before, double after, double fraction) {
    return before + (after - before) * fraction;
}

}  // namespace

void DifferenceFilter::Stretch::Append(std::span<const float> moreValues,
                                       std::span<const std::uint8_t> morePresent) {
    values.insert(values.end(), moreValues.begin(), moreValues.end());
    present.insert(present.end(), morePresent.begin(), morePresent.end());
}

void DifferenceFilter::Stretch::DropBefore(std::int64_t position) {
    const std::int64_t count = std::clamp<std::int64_t>(position - begin, 0, std::ssize(values));
    values.erase(values.begin(), values.begin() + count);
    present.erase(present.begin(), present.begin() + count);
    begin += count;
}

DifferenceFilter::Offset DifferenceFilter::OffsetOf(double indexUnits, std::int16_t step) {
    const double samples = RoundHalfEven(indexUnits * offsetsPerUnit) / offsetsPerUnit / step;
    const double below = std::floor(samples);
    return {static_cast<std::int64_t>(below), samples - below};
}

DifferenceFilter::DifferenceFilter(std::int32_t firstIndex, std::int16_t step, double periodSeconds,
                                   int passes)
    : firstIndex_(firstIndex), step_(step), length_(IndexUnitsIn(passes * periodSeconds)) {
    // Periods beyond any index would not even count in samples.
    if (!(periodSeconds > 0.0 && periodSeconds < 1e12) || step <= 0)
        throw RunTimeError{error_number::invalidProcedureCall, source,
                           "The period of test and the sampling step have to be positive"};
    half_ = OffsetOf(IndexUnitsIn(periodSeconds / 2), step);
    full_ = OffsetOf(IndexUnitsIn(periodSeconds), step);
    reach_ = full_.whole + full_.Next();
    const auto count = static_cast<std::size_t>(std::max(passes, 1));
    layers_.resize(count);
    finalEnd_.resize(count);
}

double DifferenceFilter::LastIndex() const {
    return static_cast<double>(firstIndex_ + (Fed() - 1) * step_);
}

std::int64_t DifferenceFilter::LastPosition(std::int64_t count) const {
    if (count == 0)
        return -1;
    const double end = RoundHalfEven(static_cast<double>(firstIndex_ + (count - 1) * step_) - length_);
    return end < firstIndex_ ? 0
                             : std::min(count - 1, (static_cast<std::int64_t>(end) - firstIndex_) / step_);
}

CurveFilter::Span DifferenceFilter::ValidSpanOf(std::int64_t count) const {
    const std::int64_t firstPass =
        std::max<std::int64_t>(std::min(LastPosition(count) + 1, count - reach_), 0);
    return {0, std::max<std::int64_t>(firstPass - (std::ssize(layers_) - 1) * reach_, 0) - 1};
}

void DifferenceFilter::Feed(std::span<const float> values, std::span<const std::uint8_t> present,
                            const Sink& sink) {
    layers_.front().Append(values, present);
    std::int64_t end = std::min(LastPosition(Fed()) + 1, Fed() - reach_);
    for (std::size_t j = 0; j < layers_.size(); ++j) {
        end = std::max(end, finalEnd_[j]);
        const Stretch settled = Pass(layers_[j], finalEnd_[j], end, j > 0);
        if (j + 1 < layers_.size())
            layers_[j + 1].Append(settled.values, settled.present);
        else
            PutPresent(settled, sink);
        layers_[j].DropBefore(end);
        finalEnd_[j] = end;
        end -= reach_;
    }
}

void DifferenceFilter::Finish(const Sink& sink) {
    RoundTo<std::int32_t>(LastIndex() - length_, source);
    const std::int64_t end = LastPosition(Fed()) + 1;
    Stretch tail = Pass(layers_[0], finalEnd_[0], std::max(end, finalEnd_[0]), false);
    for (std::size_t j = 1; j < layers_.size(); ++j) {
        Stretch before = layers_[j];
        before.Append(tail.values, tail.present);
        tail = Pass(before, finalEnd_[j], std::max(end, finalEnd_[j]), true);
    }
    // Only what has changed since the last time: a long tail costs no writing for every new sample.
    Stretch changed = tail;
    for (std::int64_t at = std::max(tail.begin, tail_.begin); at < std::min(tail.End(), tail_.End()); ++at) {
        const auto now = static_cast<std::size_t>(at - tail.begin);
        const auto then = static_cast<std::size_t>(at - tail_.begin);
        if (tail_.present[then] != 0 && std::bit_cast<std::uint32_t>(tail.values[now]) ==
                                            std::bit_cast<std::uint32_t>(tail_.values[then]))
            changed.present[now] = 0;
    }
    PutPresent(changed, sink);
    tail_ = std::move(tail);
}

void DifferenceFilter::PutPresent(const Stretch& stretch, const Sink& sink) {
    const auto there = [](std::uint8_t flag) { return flag != 0; };
    for (auto from = stretch.present.begin();;) {
        from = std::find_if(from, stretch.present.end(), there);
        if (from == stretch.present.end())
            return;
        const auto to = std::find_if_not(from, stretch.present.end(), there);
        const std::int64_t at = from - stretch.present.begin();
        sink(stretch.begin + at,
             std::span(stretch.values)
                 .subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(to - from)));
        from = to;
    }
}

DifferenceFilter::Stretch DifferenceFilter::Pass(const Stretch& from, std::int64_t begin, std::int64_t end,
                                                 bool keepWithoutInputs) const {
    Stretch result;
    result.begin = begin;
    result.values.resize(static_cast<std::size_t>(end - begin));
    result.present.assign(result.values.size(), 1);
    const auto passInto = [&](std::int64_t at, std::int64_t passEnd) {
        const bool possible = AllThere(from, at, passEnd);
        if (possible)
            PassBlock(
                from, at,
                std::span(result.values)
                    .subspan(static_cast<std::size_t>(at - begin), static_cast<std::size_t>(passEnd - at)));
        return possible;
    };
    for (std::int64_t at = begin; at < end; at += blockSamples) {
        const std::int64_t blockEnd = std::min(at + blockSamples, end);
        const bool whole = passInto(at, blockEnd);
        for (std::int64_t k = at; k < blockEnd && !whole; ++k) {
            if (passInto(k, k + 1))
                continue;
            // In place: the value of the pass before stays where it is, if there is one.
            const auto here = static_cast<std::size_t>(k - begin);
            const auto there = static_cast<std::size_t>(k - from.begin);
            const bool kept = keepWithoutInputs && from.present[there] != 0;
            result.values[here] = kept ? from.values[there] : 0.0F;
            result.present[here] = kept ? 1 : 0;
        }
    }
    for (const float value : result.values)
        CheckedFinite(value, source);
    return result;
}

bool DifferenceFilter::AllThere(const Stretch& from, std::int64_t begin, std::int64_t end) const {
    const auto range = [&](std::int64_t first, std::int64_t last) {
        return last <= from.End() && std::memchr(from.present.data() + (first - from.begin), 0,
                                                 static_cast<std::size_t>(last - first)) == nullptr;
    };
    return range(begin, end) && range(begin + half_.whole, end + half_.whole + half_.Next()) &&
           range(begin + full_.whole, end + full_.whole + full_.Next());
}

void DifferenceFilter::PassBlock(const Stretch& from, std::int64_t begin, std::span<float> result) const {
    const float* const a = from.values.data() + (begin - from.begin);
    const float* const b = a + half_.whole;
    const float* const c = a + full_.whole;
    const std::size_t count = result.size();
    if (half_.fraction == 0.0 && full_.fraction == 0.0) {
        for (std::size_t k = 0; k < count; ++k)
            result[k] = Combined(a[k], b[k], c[k]);
        return;
    }
    // A neighbour is looked at only where it counts: at the end of the stretch there may be none.
    const float* const afterB = b + half_.Next();
    const float* const afterC = c + full_.Next();
    for (std::size_t k = 0; k < count; ++k)
        result[k] = Combined(a[k], Between(b[k], afterB[k], half_.fraction),
                             Between(c[k], afterC[k], full_.fraction));
}

}  // namespace vorela
