#include "plot/CurveSamples.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <list>
#include <map>
#include <utility>
#include <vector>

#include "db/DatasetRecord.h"
#include "general/modGeneral.h"

namespace vorela {

struct KeptCurve {
    std::uint64_t id = 0;  ///< of its blocks
    ItemInfo info;
    CurveOverview overview;
    std::map<std::int64_t, std::uint64_t> blockHashes;  ///< of blocks read, by number
    std::optional<RunTimeError> fault;
    bool faultTaken = false;
};

namespace {

constexpr float missing = std::numeric_limits<float>::quiet_NaN();
/// Blocks in memory: 32 MB, ten redraws' worth of samples that the overview does not answer for.
constexpr std::size_t mostBlocks = 1024;
/// Curves longer than this many blocks show a progress bar while their overview is built.
constexpr std::int64_t longCurveBlocks = 500;
constexpr std::int64_t spotCheckParts = 2;
/// What a coarse picture looks at in each column: one place, since each is a read of its own and the whole
/// picture follows soon.
constexpr std::int64_t glimpseSamples = 32;

using SharedBlock = std::shared_ptr<const std::vector<float>>;

/// Blocks of samples, the least recently used given up first.
class BlockStore {
  public:
    using Key = std::pair<std::uint64_t, std::int64_t>;  ///< curve, block number

    /// Null when it is not here. A reader keeps the block it looks at alive.
    SharedBlock Find(const Key& key) {
        const auto found = index_.find(key);
        if (found == index_.end())
            return nullptr;
        order_.splice(order_.begin(), order_, found->second);
        return found->second->samples;
    }
    void Insert(const Key& key, SharedBlock samples) {
        if (order_.size() >= mostBlocks) {
            index_.erase(order_.back().key);
            order_.pop_back();
        }
        order_.push_front({key, std::move(samples)});
        index_[key] = order_.begin();
    }
    /// Forgets a curve's blocks from a number on.
    void DropFrom(const Key& first) {
        auto at = index_.lower_bound(first);
        while (at != index_.end() && at->first.first == first.first) {
            order_.erase(at->second);
            at = index_.erase(at);
        }
    }
    void Clear() {
        index_.clear();
        order_.clear();
    }
    std::size_t Bytes() const { return order_.size() * PlotCurveReader::blockSamples * sizeof(float); }

  private:
    struct Entry {
        Key key;
        SharedBlock samples;
    };
    std::list<Entry> order_;
    std::map<Key, std::list<Entry>::iterator> index_;
};

struct Keep {
    std::uint64_t generation = 0;
    std::uint64_t lastId = 0;
    std::map<std::string, std::shared_ptr<KeptCurve>> curves;
    BlockStore blocks;
};
Keep& CurrentKeep() {
    static Keep keep;
    return keep;
}

std::uint64_t Mixed(std::uint64_t hash, std::uint64_t bits) {
    hash = (hash ^ bits) * 0x100000001B3U;
    return hash ^ hash >> 29U;
}

std::uint64_t HashOf(std::span<const float> samples) {
    // Several running hashes, two samples at a time: the multiplication of one does not wait for the others.
    constexpr std::size_t lanes = 8;
    std::array<std::uint64_t, lanes> partial{};
    std::array<std::uint64_t, lanes> pairs;
    std::size_t i = 0;
    for (; i + 2 * lanes <= samples.size(); i += 2 * lanes) {
        std::memcpy(pairs.data(), samples.data() + i, sizeof pairs);
        for (std::size_t lane = 0; lane < lanes; ++lane)
            partial[lane] = Mixed(partial[lane], pairs[lane]);
    }
    std::uint64_t hash = 0x9E3779B97F4A7C15U + samples.size();
    for (; i < samples.size(); ++i)
        hash = Mixed(hash, std::bit_cast<std::uint32_t>(samples[i]));
    for (const std::uint64_t part : partial)
        hash = Mixed(hash, part);
    return hash;
}

/// The sample, or `missing` where there is none or it is no number. Looks at the exponent, so that the
/// compiler can do many at once.
float Usable(float sample, std::uint8_t present) {
    constexpr std::uint32_t exponent = 0x7F800000U;
    const bool finite = (std::bit_cast<std::uint32_t>(sample) & exponent) != exponent;
    return finite && present != 0 ? sample : missing;
}

std::int64_t CountOf(const ItemInfo& info) {
    return info.IsEmpty() ? 0 : (std::int64_t{info.extentLast} - info.firstIndex) / info.step + 1;
}

/// Positions that cannot have changed since `before` was read. A recorded curve only grows at its end; a
/// derived one may write again what lay beyond its valid span.
std::int64_t UnchangedPositions(const ItemInfo& before, const ItemInfo& now) {
    if (before.step != now.step || before.firstIndex != now.firstIndex || before.made != now.made ||
        before.extentFirst != now.extentFirst || now.extentLast < before.extentLast ||
        now.validLast < before.validLast)
        return 0;
    const bool marked = !before.made.empty() && before.validLast >= before.validFirst;
    if (!marked || before.validLast >= before.extentLast)
        return CountOf(before);
    const bool same = before.extentLast == now.extentLast && before.validLast == now.validLast;
    return same ? CountOf(before) : (std::int64_t{before.validLast} - before.firstIndex) / before.step + 1;
}

void DropFromPosition(KeptCurve& kept, std::int64_t position) {
    // A block that was cut by the end of the curve is read again.
    const std::int64_t number = position / PlotCurveReader::blockSamples;
    kept.blockHashes.erase(kept.blockHashes.lower_bound(number), kept.blockHashes.end());
    CurrentKeep().blocks.DropFrom({kept.id, number});
    kept.overview.Truncate(position);
}

}  // namespace

std::optional<PlotCurveReader> PlotCurveReader::Attach(const Database& database, const std::string& dataset,
                                                       const std::string& curve, bool verify) {
    Keep& keep = CurrentKeep();
    if (keep.generation != CurrentSelection().generation) {
        ForgetKeptCurves();
        keep.generation = CurrentSelection().generation;
    }
    const std::string path = ItemPath(dataset, curve);
    const std::string key = database.Path() + '\n' + path;
    const std::optional<Item> item = Item::Find(database, path);
    if (!item || item->Info().step <= 0) {
        keep.curves.erase(key);
        return std::nullopt;
    }
    std::shared_ptr<KeptCurve>& kept = keep.curves[key];
    if (!kept) {
        kept = std::make_shared<KeptCurve>();
        kept->id = ++keep.lastId;
        kept->info = item->Info();
    }
    PlotCurveReader reader(database, dataset, curve, kept);
    reader.Refresh(item->Info(), verify);
    return reader;
}

PlotCurveReader::PlotCurveReader(const Database& database, std::string dataset, std::string curve,
                                 std::shared_ptr<KeptCurve> kept)
    : database_(&database), dataset_(std::move(dataset)), curve_(std::move(curve)), kept_(std::move(kept)) {}
PlotCurveReader::PlotCurveReader(PlotCurveReader&&) noexcept = default;
PlotCurveReader::~PlotCurveReader() = default;

void PlotCurveReader::Refresh(const ItemInfo& now, bool verify) {
    const std::int64_t unchanged = UnchangedPositions(kept_->info, now);
    if (unchanged < CountOf(now))
        DropFromPosition(*kept_, unchanged);
    kept_->info = now;
    if (unchanged > 0 && !(verify && !SpotChecksHold()))
        return;
    DropFromPosition(*kept_, 0);
    kept_->fault.reset();
    kept_->faultTaken = false;
}

bool PlotCurveReader::SpotChecksHold() {
    const auto& hashes = kept_->blockHashes;
    // First, middle and last of the blocks that were read.
    for (std::int64_t i = 0; i <= spotCheckParts && !hashes.empty(); ++i) {
        const auto [number, hash] = *hashes.lower_bound(hashes.rbegin()->first * i / spotCheckParts);
        if (HashOf(ReadBlock(number)) != hash)
            return false;
    }
    return true;
}

const ItemInfo& PlotCurveReader::Info() const {
    return kept_->info;
}
std::int64_t PlotCurveReader::Count() const {
    return CountOf(kept_->info);
}

std::int64_t PlotCurveReader::PositionAtOrAfter(double index) const {
    return static_cast<std::int64_t>(std::ceil((index - Info().firstIndex) / Info().step));
}

double PlotCurveReader::IndexOf(std::int64_t position) const {
    return Info().firstIndex + static_cast<double>(position) * Info().step;
}

std::span<const float> PlotCurveReader::ReadBlock(std::int64_t number) {
    const std::int64_t first = number * blockSamples;
    return ReadGrid(first, std::clamp<std::int64_t>(Count() - first, 0, blockSamples));
}

std::span<const float> PlotCurveReader::ReadGrid(std::int64_t first, std::int64_t samples) {
    const auto count = static_cast<std::size_t>(samples);
    values_.resize(count);
    present_.resize(count);
    try {
        if (!reader_)
            reader_.emplace(*database_, dataset_, curve_, Between::linear);
        reader_->ReadGrid(static_cast<std::int32_t>(Info().firstIndex + first * Info().step), values_,
                          present_);
        std::transform(values_.begin(), values_.end(), present_.begin(), values_.begin(), Usable);
    } catch (const RunTimeError& error) {
        // The rest of the curve is worth seeing: the line breaks here, and whoever draws says so once.
        values_.assign(count, missing);
        kept_->fault = error;
    }
    return values_;
}

std::span<const float> PlotCurveReader::Block(std::int64_t number) {
    if (number == heldNumber_)
        return *held_;
    BlockStore& blocks = CurrentKeep().blocks;
    SharedBlock found = blocks.Find({kept_->id, number});
    if (!found) {
        const std::span<const float> read = ReadBlock(number);
        kept_->blockHashes.try_emplace(number, HashOf(read));
        found = std::make_shared<const std::vector<float>>(read.begin(), read.end());
        blocks.Insert({kept_->id, number}, found);
    }
    heldNumber_ = number;
    held_ = std::move(found);
    return *held_;
}

float PlotCurveReader::Sample(std::int64_t position) {
    if (position < 0 || position >= Count())
        return missing;
    return Block(position / blockSamples)[static_cast<std::size_t>(position % blockSamples)];
}

std::optional<double> PlotCurveReader::At(double index) {
    const double position = (index - Info().firstIndex) / Info().step;
    if (!(position >= 0 && position <= static_cast<double>(Count() - 1)))
        return std::nullopt;
    const auto before = static_cast<std::int64_t>(std::floor(position));
    const double beyond = position - static_cast<double>(before);
    const double value = Sample(before);
    if (std::isnan(value))
        return std::nullopt;
    if (beyond == 0.0)
        return value;
    const double next = Sample(before + 1);
    if (std::isnan(next))
        return std::nullopt;
    return value + (next - value) * beyond;
}

MinMax PlotCurveReader::Of(std::int64_t first, std::int64_t end) {
    MinMax result;
    first = std::max<std::int64_t>(first, 0);
    end = std::min(end, Count());
    while (first < end) {
        const std::int64_t number = first / blockSamples;
        const std::int64_t stop = std::min(end, (number + 1) * blockSamples);
        const auto at = static_cast<std::size_t>(first - number * blockSamples);
        result.Add(MinMaxOf(Block(number).subspan(at, static_cast<std::size_t>(stop - first))));
        first = stop;
    }
    return result;
}

const CurveOverview& PlotCurveReader::Overview() {
    const std::int64_t firstBlock = kept_->overview.Size() / blockSamples;
    const std::int64_t lastBlock = (Count() - 1) / blockSamples;
    std::optional<ProgressScope> progress;
    if (OverviewIsLong())
        progress.emplace(static_cast<std::int32_t>(firstBlock), static_cast<std::int32_t>(lastBlock));
    while (!GrowOverview(1))
        if (progress)
            progress->Update(static_cast<std::int32_t>(kept_->overview.Size() / blockSamples));
    return kept_->overview;
}

bool PlotCurveReader::GrowOverview(std::int64_t blocks) {
    CurveOverview& overview = kept_->overview;
    for (; blocks > 0 && overview.Size() < Count(); --blocks) {
        const std::int64_t number = overview.Size() / blockSamples;
        const std::span<const float> read = ReadBlock(number);
        kept_->blockHashes.try_emplace(number, HashOf(read));
        overview.Append(read.subspan(static_cast<std::size_t>(overview.Size() - number * blockSamples)));
    }
    return overview.Size() >= Count();
}

double PlotCurveReader::OverviewShare() const {
    return Count() > 0 ? static_cast<double>(kept_->overview.Size()) / static_cast<double>(Count()) : 1;
}

bool PlotCurveReader::OverviewIsLong() const {
    return (Count() - kept_->overview.Size()) / blockSamples > longCurveBlocks;
}

MinMax PlotCurveReader::Glimpse(std::int64_t first, std::int64_t end) {
    first = std::max<std::int64_t>(first, 0);
    end = std::min(end, Count());
    if (first >= end)
        return {};
    return MinMaxOf(ReadGrid(first, std::min(glimpseSamples, end - first)));
}

std::optional<RunTimeError> PlotCurveReader::TakeFault() {
    if (!kept_->fault || kept_->faultTaken)
        return std::nullopt;
    kept_->faultTaken = true;
    return kept_->fault;
}

void ForgetKeptCurves() {
    CurrentKeep().curves.clear();
    CurrentKeep().blocks.Clear();
}

std::size_t KeptCurveBytes() {
    std::size_t bytes = CurrentKeep().blocks.Bytes();
    for (const auto& [key, kept] : CurrentKeep().curves)
        bytes += kept->overview.Bytes();
    return bytes;
}

}  // namespace vorela
