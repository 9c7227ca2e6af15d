// Permeability and skin of the intervals from the exact solution for a well of finite radius, with their
// uncertainty: beside the quicklook, which stays as it is. Computed only when asked for, from the unfiltered
// curves and the cycles found; nothing of the other records is written.
#pragma once

#include <cstddef>
#include <deque>
#include <future>
#include <string>
#include <vector>

#include "analysis/ExactTypes.h"
#include "general/SettingsTable.h"

namespace vorela {

/// The choices in force, kept in the settings section `[Exact]`.
ExactSettings& CurrentExactSettings();
/// A stored value that cannot be is taken as the default.
void ReadExactSettings();
void WriteExactSettings();
/// What the command line can set of it.
SettingsSection ExactSettingsSection();
/// What choices that are each in range may have wrong together; "" when nothing.
std::string ExactSettingsFault(const ExactSettings& settings);

/// Analyses levels on threads of their own, beside whatever the caller does meanwhile: who finds the cycles
/// of one level after the other need not wait for all. Levels are read one after the other by Start, since
/// the database is of one thread; no more of them are in memory than there are processors.
class ExactLevels {
  public:
    explicit ExactLevels(const ExactSettings& settings) : settings_(settings) {}
    /// Of the dataset at this position, by its cycles as they stand. Never throws what the level is at fault
    /// for: that is said in the level.
    void Start(std::size_t dataset);
    /// The levels in the order of their starts, when all are done.
    std::vector<ExactLevel> Take();

  private:
    void TakeFirst();
    ExactSettings settings_;
    std::vector<ExactLevel> done_;
    std::deque<std::future<ExactLevel>> working_;
};

/// The results from the selection's levels, all of them in their order.
ExactResults ExactResultsOf(std::vector<ExactLevel> levels, const ExactSettings& settings);

/// The results for the selection as it stands. Each curve is read once, in one block. What fails costs its
/// own level and interval, and is said there; nothing is shown and nothing is thrown. Calling it again as a
/// recording goes on gives what one call over the final data gives.
ExactResults ComputeExact(const ExactSettings& settings);

/// What the results rest on, the samples apart: it changes with the selection, its cycles, the parameters and
/// the choices, and when a recording ends.
struct ExactInputState {
    std::vector<std::string> names;
    std::vector<double> numbers;
    bool operator==(const ExactInputState&) const = default;
};
ExactInputState CurrentExactInputs();

}  // namespace vorela
