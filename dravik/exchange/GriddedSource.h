// The curves of a planned file on their even grid, streamed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/Plan.h"
#include "dravik/exchange/SampleReader.h"

namespace dravik {

/// Reads the file once where blocks are asked for in rising order; going back begins again. Memory is bounded
/// by the blocks: Read no more than BlockRows() at once.
class GriddedSource final : public CurveSource {
  public:
    /// The plan must permit the import. Throws ExchangeError when the file has become unreadable.
    explicit GriddedSource(ImportPlan plan, const Progress& progress = {});

    void Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
              std::uint8_t* present) override;
    std::int64_t NextRow(std::int64_t row) const override;
    std::int64_t BlockRows() const override { return blockRows_; }
    const ImportPlan& Plan() const { return plan_; }

  private:
    /// What a place of the grid has got so far.
    struct Cell {
        double sum = 0.0;
        std::uint32_t count = 0;
    };
    void DescribeCurves();
    void Restart();
    void MoveWindow(std::int64_t first, std::int64_t count);
    void FillWindow();
    void FillWindowDirectly();
    void PutDirectly(std::size_t place);
    bool TakeSample();
    double PlaceOf(double index) const;
    void PutBetween(std::int64_t last);
    void PutRow(std::int64_t row, const std::vector<double>& values);
    void AddToMean();
    void Set(std::size_t curve, std::int64_t row, double value);
    bool InWindow(std::int64_t row) const {
        return row >= windowFirst_ && row < windowFirst_ + windowRows_ + margin;
    }

    /// Rows behind the window that means may reach into.
    static constexpr std::int64_t margin = 4;

    ImportPlan plan_;
    Progress progress_;
    TextFile file_;
    SampleReader samples_;
    std::vector<bool> isCode_;
    std::size_t fileCurves_ = 0;
    std::int64_t blockRows_ = 0;
    std::int64_t windowFirst_ = 0;
    std::int64_t windowRows_ = 0;
    std::vector<std::vector<Cell>> window_;
    Sample previous_;
    Sample current_;
    bool havePrevious_ = false;
    bool haveCurrent_ = false;
    bool ended_ = false;
    bool isDirect_ = false;  ///< every row has a place of its own and nothing lies between
    double perStep_ = 0.0;
    double previousPlace_ = 0.0;
    double currentPlace_ = 0.0;
    std::int64_t nextRow_ = 0;  ///< of the grid, not yet put
};

}  // namespace dravik
