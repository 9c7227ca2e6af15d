// Units that recordings come in: of time, depth and pressure with their factors, others by name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace dravik {

/// Seconds in one of a unit of time (ms, s, min, h, d and their spellings).
std::optional<double> SecondsPer(std::string_view unit);

/// Feet in one of a unit of depth (ft, m, in, .1IN and their spellings).
std::optional<double> FeetPer(std::string_view unit);

/// Pascals in one of a unit of pressure other than psi.
std::optional<double> PascalsPer(std::string_view unit);
bool IsPsi(std::string_view unit);
/// A pressure in Pa as psi.
double PsiOfPascals(double pascals);

/// Whether a text is a unit that loggers write: the above and the usual ones of other quantities. Brackets
/// round it are ignored.
bool IsKnownUnit(std::string_view text);

/// A column's caption without and with its unit.
struct NameAndUnit {
    std::string name;
    std::string unit;
};

/// Takes the unit off a caption: "Level (m)", "Level [m]", "Level(m)", "Level, m", "Level/m", "Level_psi".
NameAndUnit SplitUnit(std::string_view caption);

/// A unit without brackets and blanks round it.
std::string BareUnit(std::string_view text);

/// Words that name a time axis, and a depth axis.
bool NamesTime(std::string_view name);
bool NamesDepth(std::string_view name);
/// Words that name a counter of rows.
bool NamesCounter(std::string_view name);

}  // namespace dravik
