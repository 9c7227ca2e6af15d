// The selections made last, kept in the settings section [Recent]: databases, levels and the chosen curves.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vorela {

inline constexpr std::size_t mostRecentSelections = 6;

struct RecentLevel {
    std::string database;  ///< full path
    std::string dataset;
    bool operator==(const RecentLevel&) const = default;
};

struct RecentSelection {
    std::vector<RecentLevel> levels;  ///< deepest first
    std::string pressure;
    std::string flow;
    bool operator==(const RecentSelection&) const = default;
};

/// Latest first. What is incomplete in the settings file is left out.
std::vector<RecentSelection> RecentSelections();

/// Puts the selection in use first, in place of an entry with the same levels or of the oldest one. Nothing
/// while no level is selected.
void RememberSelection();

/// "well.dkb: LEVEL2, LEVEL1"; more than three levels as "LEVEL2, LEVEL1 and 4 more". A second database
/// follows after a semicolon.
std::string RecentCaption(const RecentSelection& recent);

/// Selects these levels and curves as the dialog's OK does. False after a message; then the selection is as
/// it was.
bool SelectRecent(const RecentSelection& recent);

}  // namespace vorela
