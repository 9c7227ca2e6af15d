// Samples of plotted curves, kept in memory between redraws: blocks of samples that were looked at lately,
// and for wide views an overview of minima and maxima that grows with the curve. No handle of the database is
// kept.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "db/Curves.h"
#include "general/RunTimeError.h"
#include "plot/CurveOverview.h"

namespace vorela {

/// What is kept of one curve. Shared by the readers of that curve.
struct KeptCurve;

/// A plotted curve while its database is open. Positions count grid samples from the curve's first index.
/// Kept data are dropped when the curve was made anew (its attributes or spot checks of its samples differ)
/// and with the selection.
class PlotCurveReader {
  public:
    static constexpr std::int64_t blockSamples = 8192;

    /// Nothing when the dataset has no such curve. Throws RunTimeError when it cannot be attached. `verify`:
    /// some kept samples are compared with the database, for a curve that was made anew with the same
    /// attributes.
    static std::optional<PlotCurveReader> Attach(const Database& database, const std::string& dataset,
                                                 const std::string& curve, bool verify);
    PlotCurveReader(PlotCurveReader&&) noexcept;
    PlotCurveReader& operator=(PlotCurveReader&&) = delete;
    ~PlotCurveReader();

    const ItemInfo& Info() const;
    /// Number of grid positions up to the last sample written.
    std::int64_t Count() const;
    /// The first position at or after a time index, not limited to the curve.
    std::int64_t PositionAtOrAfter(double index) const;
    double IndexOf(std::int64_t position) const;

    /// The sample at a position; NaN for a gap, outside the curve, and where the database cannot be read.
    float Sample(std::int64_t position);
    /// Linear between neighbouring samples; nothing where one that is needed is missing.
    std::optional<double> At(double index);
    /// Minimum and maximum of exactly the positions first … end (excluded).
    MinMax Of(std::int64_t first, std::int64_t end);
    /// Minima and maxima of the whole curve; built at the first use, extended later.
    const CurveOverview& Overview();
    /// Takes at most `blocks` more blocks into the overview. True when nothing is left to take.
    bool GrowOverview(std::int64_t blocks);
    /// Share of the curve that the overview has, 0 … 1.
    double OverviewShare() const;
    /// True while building the overview would make a viewer wait.
    bool OverviewIsLong() const;
    /// Minimum and maximum of a few of the positions first … end (excluded), read past the kept blocks: what
    /// a coarse picture needs of a long record.
    MinMax Glimpse(std::int64_t first, std::int64_t end);

    /// What made samples unreadable, once: nothing when all were read or it was taken before.
    std::optional<RunTimeError> TakeFault();

  private:
    PlotCurveReader(const Database& database, std::string dataset, std::string curve,
                    std::shared_ptr<KeptCurve> kept);
    std::span<const float> Block(std::int64_t number);
    std::span<const float> ReadBlock(std::int64_t number);
    std::span<const float> ReadGrid(std::int64_t first, std::int64_t samples);
    void Refresh(const ItemInfo& now, bool verify);
    bool SpotChecksHold();

    const Database* database_;
    std::string dataset_;
    std::string curve_;
    std::shared_ptr<KeptCurve> kept_;
    std::optional<CurveReader> reader_;  ///< attached at the first sample that is not in memory
    std::vector<float> values_;
    std::vector<std::uint8_t> present_;
    std::int64_t heldNumber_ = -1;  ///< block that `held_` shows
    std::shared_ptr<const std::vector<float>> held_;
};

/// Forgets all kept samples.
void ForgetKeptCurves();
/// Memory held for kept curves, bytes.
std::size_t KeptCurveBytes();

}  // namespace vorela
