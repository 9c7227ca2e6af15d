// The samples of a planned file in rising order of their index.
#pragma once

#include <cstddef>
#include <deque>
#include <limits>
#include <memory>
#include <vector>

#include "dravik/exchange/Plan.h"
#include "dravik/exchange/Units.h"

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

    /// Whether the rows rise and no cell waits for a later one: they can be taken one by one, by NextIndex
    /// and Value alone.
    bool IsDirect() const { return !plan_.timeBase.descending && plan_.grid.fill <= 0.0; }
    /// The index of the file's next row; false at the end.
    bool NextIndex(double& index);
    /// Of that row, NaN for none.
    double Value(std::size_t curve) const {
        const Source& source = sources_[curve];
        if (row_.states[source.column] != CellState::number)
            return std::numeric_limits<double>::quiet_NaN();
        const double value = row_.values[source.column];
        return source.pascals > 0.0 ? PsiOfPascals(value * source.pascals) : value;
    }

  private:
    struct Source {
        std::size_t column = 0;
        double pascals = 0.0;  ///< of one of its unit, where it becomes psi
    };
    bool ReadOne(Sample& sample);
    bool NextFromEnd(Sample& sample);
    void ReadBlock(std::size_t checkpoint);
    bool NextUnfilled(Sample& sample);
    bool NextFilled(Sample& sample);
    void FillBehind(const Sample& sample);

    const ImportPlan& plan_;
    std::unique_ptr<RowReader> rows_;
    TimeReader time_;
    std::vector<Source> sources_;  ///< of the curves
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
