// The curves of a dataset as the source of an export.
#pragma once

#include <string>
#include <vector>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/Datasets.h"

namespace dravik {

/// The curves of a dataset that share a grid, from the first sample of any to the last of any.
class DatasetSource final : public CurveSource {
  public:
    /// `names`: the curves wanted, in this order; empty: all. Throws ToolError for an unknown curve and for
    /// curves whose grids do not fit together (naming both).
    DatasetSource(const Database& database, const std::string& dataset,
                  const std::vector<std::string>& names);
    void Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
              std::uint8_t* present) override;

  private:
    void FitGrid(const Database& database, const std::string& dataset, const std::vector<NamedItem>& curves);

    std::vector<Item> items_;
};

}  // namespace dravik
