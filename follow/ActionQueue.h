// The timer pass: follows the first selected dataset that is still being recorded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace vorela {

struct DatasetRecord;

inline constexpr int actionQueueIntervalMs = 1000;

/// Tabs count from 1: the four grids, then one for each dataset.
inline constexpr int firstDatasetTab = 5;

/// What a pass needs from the window.
struct ActionQueueView {
    std::function<int()> selectedTab;
    std::function<void(int tab)> refreshGrid;  ///< before firstDatasetTab: that grid only
    std::function<void(std::size_t dataset)> redrawPlot;
    std::function<void(bool on)> switchTimer;
};

/// One pass. False when a step of it failed (its report has been shown).
bool RunActionQueuePass(const ActionQueueView& view);

/// Brings dataset `index` up to what has been recorded: presentation, extent, filtered curves, valve curve
/// and cycles, filtered flow. The pass's work, and vorela-batch's. False when a step failed or another
/// process is analysing the database (the status text names it); the next call takes it up again.
bool ExtendDataset(std::size_t index);

/// The last index (hundredths of a second) of a selected dataset that a pass has worked on; nothing before
/// the first one.
std::optional<std::int32_t> FollowedTo(const DatasetRecord& record);

}  // namespace vorela
