#include "signal/FilterProgress.h"

#include <memory>
#include <utility>

namespace vorela {
namespace {

constexpr const char* tidyingUp = "Tidying up Create Filter";
constexpr const char* initialisingStatus = "Initialising information";
constexpr const char* updatingStatus = "Updating Information";

/// Steps of the bar.
constexpr std::int32_t whole = 1000;

std::function<void(const std::string&)>& PercentageDisplay() {
    static std::function<void(const std::string&)> show;
    return show;
}

}  // namespace

FilterProgress::FilterProgress(std::size_t curves) : curves_(static_cast<double>(curves)), scope_(0, whole) {
    CurrentPorts().status->SetText(initialisingStatus);
    ShowPercentage(0);
}

void FilterProgress::BeginCurve(const std::string& what) {
    CurrentPorts().status->SetText("Filtering " + what);
}

void FilterProgress::Update(double share) {
    const auto done = static_cast<std::int32_t>((finished_ + share) / curves_ * whole);
    // The bar takes one tick at a call, a block may be worth several.
    for (; told_ <= done; told_ += whole / 20)
        scope_.Update(told_);
    ShowPercentage(done / (whole / 100));
}

void FilterProgress::EndCurve() {
    finished_ += 1.0;
    Update(0.0);
}

void FilterProgress::Finish() {
    ShowPercentage(100);
    CurrentPorts().status->SetText(updatingStatus);
}

void FilterProgress::ShowPercentage(int percent) {
    if (percent != shown_ && PercentageDisplay())
        PercentageDisplay()(std::to_string(percent) + "%");
    shown_ = percent;
}

bool WithFilterProgress(std::size_t curves, const std::function<bool(FilterProgress&)>& body) {
    auto progress = std::make_unique<FilterProgress>(curves);
    const bool done = body(*progress);
    if (done)
        progress->Finish();
    return Attempt(tidyingUp, [&] { progress.reset(); }) && done;
}

void SetPercentageDisplay(std::function<void(const std::string& text)> show) {
    PercentageDisplay() = std::move(show);
}

}  // namespace vorela
