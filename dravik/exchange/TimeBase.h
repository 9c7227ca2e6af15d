// How even the times of all rows are: median step, gaps, rows out of order, and whether they lie on a grid of
// whole hundredths. One pass, bounded memory. Everything in index units (hundredths of a second or foot).
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace dravik {

struct TimeBaseOptions {
    std::optional<std::int16_t> step;  ///< grid step asked for
    std::optional<double> phase;       ///< a place of the grid asked for
    double fill = 0.0;                 ///< longest gap to bridge
};

struct TimeBaseSummary {
    std::size_t rows = 0;
    double first = 0.0;  ///< of the first row read
    double earliest = 0.0;
    double latest = 0.0;
    double medianStep = 0.0;  ///< 0: fewer than two different times
    double shortestStep = 0.0;
    double longestStep = 0.0;
    bool descending = false;
    std::size_t stepsOff = 0;  ///< by over half of the median, gaps of whole steps aside
    std::size_t gaps = 0;      ///< steps over 1.5 medians
    std::size_t gapsToFill = 0;
    std::size_t disorder = 0;  ///< rows not behind the one before
    std::size_t disorderLine = 0;
    std::size_t disorderAfter = 0;  ///< line of the row before that one
    double longestBack = 0.0;
    double gridStep = 0.0;  ///< whole hundredths
    double origin = 0.0;    ///< a place of the grid
    bool onGrid = false;    ///< every row on a place of its own
    bool mostOnGrid = false;
    double largestDistance = 0.0;  ///< of a row from its nearest place
};

class TimeBase {
  public:
    explicit TimeBase(const TimeBaseOptions& options) : options_(options) {}
    void Add(double index, std::size_t line);
    const TimeBaseSummary& Finish();
    /// How far rows may lie off a grid's places to count as lying on them.
    static double Tolerance(double step);

  private:
    struct Sample {
        double index;
        std::size_t line;
    };
    void Begin();
    void FindMedian();
    void FindOrigin(double step);
    bool HoldsMost(double step, double origin) const;
    void Track(const Sample& sample);
    void TrackStep(const Sample& sample);
    void TrackGrid(const Sample& sample, double step);

    TimeBaseOptions options_;
    TimeBaseSummary summary_;
    std::vector<Sample> head_;
    bool begun_ = false;
    bool havePrevious_ = false;
    Sample previous_{};
    double previousPlace_ = 0.0;
    double perStep_ = 0.0;  ///< a product costs a fraction of a quotient
    double perMedian_ = 0.0;
    double tolerance_ = 0.0;  ///< Tolerance(gridStep)
};

}  // namespace dravik
