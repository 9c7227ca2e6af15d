// Progress of a run over a curve: bar ticks and a status text with the time index reached.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "general/modGeneral.h"

namespace vorela {

/// Shows an interactive run and stays silent for an extension. May be told of every sample: it passes on
/// about two hundred of them, ten for each tick of the bar.
class RunProgress {
  public:
    /// `status`: what is being done; first and last time index in hundredths of a second.
    RunProgress(bool shown, std::string status, std::int32_t first, std::int32_t last)
        : status_(std::move(status)), stride_((std::int64_t{last} - first) / updates + 1), next_(first) {
        if (shown)
            scope_ = std::make_unique<ProgressScope>(first, last);
    }

    void At(std::int32_t index) {
        if (scope_ == nullptr || index < next_)
            return;
        next_ = index + stride_;
        scope_->Update(index);
        CurrentPorts().status->SetText(status_ + " " + std::to_string(index));
    }

  private:
    static constexpr std::int64_t updates = 200;

    std::string status_;
    std::int64_t stride_;
    std::int64_t next_;
    std::unique_ptr<ProgressScope> scope_;
};

}  // namespace vorela
