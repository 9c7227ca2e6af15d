#include "plotview/LevelViews.h"

#include "db/DatasetRecord.h"

namespace vorela {
namespace {

constexpr int stepsOfOneGestureMs = 500;

}  // namespace

LevelView& LevelViews::Of(std::size_t dataset) {
    if (generation_ != CurrentSelection().generation) {
        levels_.clear();
        generation_ = CurrentSelection().generation;
    }
    return levels_[dataset];
}

void LevelViews::Leave(ViewStep step, std::size_t dataset, const PlotView& now) {
    const bool goesOn = step != ViewStep::other && step == last_ && sinceLast_.isValid() &&
                        sinceLast_.elapsed() < stepsOfOneGestureMs;
    last_ = step;
    sinceLast_.start();
    if (!goesOn)
        Of(dataset).history.Leave(now);
}

}  // namespace vorela
