// What a viewer did to the plots of the levels, with the way back.
#pragma once

#include <QElapsedTimer>
#include <cstddef>
#include <cstdint>
#include <map>

#include "plot/PlotView.h"

namespace vorela {

/// What changed the view: turns of one wheel or presses of one key are one step of the history.
enum class ViewStep { other, wheel, key, drag };

/// Of one level.
struct LevelView {
    ViewChoice choice;
    ViewHistory history;
};

class LevelViews {
  public:
    /// Of a dataset of the selection. Another selection begins afresh.
    LevelView& Of(std::size_t dataset);
    /// The present view joins the history, but once for a turn of the wheel or a held key.
    void Leave(ViewStep step, std::size_t dataset, const PlotView& now);
    /// The next step does not go on with the last one.
    void EndGesture() { last_ = ViewStep::other; }

  private:
    std::map<std::size_t, LevelView> levels_;
    std::uint64_t generation_ = 0;  ///< of the selection that the levels belong to
    ViewStep last_ = ViewStep::other;
    QElapsedTimer sinceLast_;
};

}  // namespace vorela
