// What the user sees of an interactive run of filters: bar, status and percentage.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "general/modGeneral.h"

namespace vorela {

/// Progress of an interactive run over all its curves. Bar, status and percentage are put to rest at the end
/// of its life.
class FilterProgress {
  public:
    explicit FilterProgress(std::size_t curves);
    void BeginCurve(const std::string& what);
    /// Share of the current curve that is done, 0 … 1.
    void Update(double share);
    void EndCurve();
    void Finish();

  private:
    void ShowPercentage(int percent);

    double curves_;
    double finished_ = 0;
    std::int32_t told_ = 0;
    int shown_ = -1;
    ProgressScope scope_;
};

/// Runs `body` with a progress that is reset afterwards, whatever happened.
bool WithFilterProgress(std::size_t curves, const std::function<bool(FilterProgress&)>& body);

/// Shows the share of processed time indices of an interactive run: "0%" … "100%". Nothing takes it away.
void SetPercentageDisplay(std::function<void(const std::string& text)> show);

}  // namespace vorela
