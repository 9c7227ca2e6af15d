// The samples of a planned file in rising order of their index.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <vector>

#include "dravik/exchange/Plan.h"

namespace dravik {

/// One row: its index as the file has it (index units, shifted), a value for each curve, NaN for none.
struct Sample {
    double index = 0.0;
    std::vector<double> values;
};

class SampleReader {
  public:
    SampleReader(const TextFile& file, const ImportPlan& plan);
    /// From the lowest index on; false at the end.
    bool Next(Sample& sample);
    void Rewind();

  private:
    bool ReadOne(Sample& sample);
    bool NextFromEnd(Sample& sample);
    void ReadBlock(std::size_t checkpoint);
    void Convert(const Row& row, double index, Sample& sample) const;
    bool NextUnfilled(Sample& sample);
    bool NextFilled(Sample& sample);
    void FillBehind(const Sample& sample);

    const ImportPlan& plan_;
    std::unique_ptr<RowReader> rows_;
    TimeReader time_;
    std::vector<std::size_t> curveColumns_;
    Row row_;
    // falling rows: blocks of the file from the last to the first, each turned round
    std::vector<Sample> block_;
    std::size_t nextCheckpoint_ = 0;
    // bridging missing cells: rows wait until no value to come can still fill them
    std::deque<Sample> waiting_;
    std::vector<double> lastIndex_;
    std::vector<double> lastValue_;
    bool ended_ = false;
};

}  // namespace dravik
