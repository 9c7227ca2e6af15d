#include "plot/CurveOverview.h"

#include <algorithm>

namespace vorela {
namespace {

std::size_t Position(std::int64_t value) {
    return static_cast<std::size_t>(value);
}

/// Node `at` of a level grows by what its children gained.
void AddTo(std::vector<MinMax>& level, std::int64_t at, const MinMax& gained) {
    if (std::ssize(level) <= at)
        level.resize(Position(at) + 1);
    level[Position(at)].Add(gained);
}

}  // namespace

MinMax MinMaxOf(std::span<const float> samples) {
    // Several running pairs: the comparisons of one do not wait for those of the other, and compilers
    // vectorise them.
    constexpr std::size_t lanes = 8;
    MinMax partial[lanes];
    std::size_t i = 0;
    for (; i + lanes <= samples.size(); i += lanes)
        for (std::size_t lane = 0; lane < lanes; ++lane)
            partial[lane].Add(samples[i + lane]);
    MinMax all;
    for (; i < samples.size(); ++i)
        all.Add(samples[i]);
    for (const MinMax& p : partial)
        all.Add(p);
    return all;
}

void CurveOverview::Append(std::span<const float> samples) {
    while (!samples.empty()) {
        const auto room = Position(bucketSamples - size_ % bucketSamples);
        const std::size_t count = std::min(room, samples.size());
        const MinMax gained = MinMaxOf(samples.first(count));
        std::int64_t node = size_ / bucketSamples;
        AddTo(levels_[0], node, gained);
        for (std::size_t level = 1; std::ssize(levels_[level - 1]) > fanOut || level < levels_.size();
             ++level) {
            if (level == levels_.size()) {
                // The level below outgrew one node: the new level begins with what stands there.
                levels_.emplace_back();
                for (std::int64_t child = 0; child < std::ssize(levels_[level - 1]); ++child)
                    AddTo(levels_[level], child / fanOut, levels_[level - 1][Position(child)]);
            }
            node /= fanOut;
            AddTo(levels_[level], node, gained);
        }
        size_ += static_cast<std::int64_t>(count);
        samples = samples.subspan(count);
    }
}

void CurveOverview::Truncate(std::int64_t size) {
    std::int64_t nodes = std::clamp<std::int64_t>(size, 0, size_) / bucketSamples;
    size_ = nodes * bucketSamples;
    levels_[0].resize(Position(nodes));
    for (std::size_t level = 1; level < levels_.size(); ++level) {
        const std::vector<MinMax>& children = levels_[level - 1];
        const std::int64_t whole = nodes / fanOut;
        levels_[level].resize(Position(whole));
        for (std::int64_t child = whole * fanOut; child < nodes; ++child)
            AddTo(levels_[level], whole, children[Position(child)]);
        nodes = std::ssize(levels_[level]);
    }
}

MinMax CurveOverview::OfBuckets(std::int64_t firstBucket, std::int64_t endBucket) const {
    MinMax result;
    std::int64_t first = std::max<std::int64_t>(firstBucket, 0);
    std::int64_t end = std::min<std::int64_t>(endBucket, std::ssize(levels_[0]));
    for (std::size_t level = 0; first < end; ++level) {
        const std::vector<MinMax>& nodes = levels_[level];
        const bool top = level + 1 == levels_.size();
        // Ragged ends are taken from this level, the even middle from the ones above.
        for (; first < end && (top || first % fanOut != 0); ++first)
            result.Add(nodes[Position(first)]);
        for (; first < end && end % fanOut != 0; --end)
            result.Add(nodes[Position(end - 1)]);
        first /= fanOut;
        end /= fanOut;
    }
    return result;
}

std::size_t CurveOverview::Bytes() const {
    std::size_t bytes = 0;
    for (const auto& level : levels_)
        bytes += level.capacity() * sizeof(MinMax);
    return bytes;
}

}  // namespace vorela
