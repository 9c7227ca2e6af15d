// The header of a LAS file of any version.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/TextFile.h"

namespace dravik {

struct LasCurve {
    std::string mnemonic;
    std::string unit;
};

struct LasHeader {
    std::string version;
    std::optional<bool> wrapped;
    char delimiter = ' ';  ///< a blank, a comma or a tab
    std::optional<double> null;
    std::optional<double> stop;
    std::optional<double> step;
    std::string indexUnit;  ///< of STRT
    std::vector<LasCurve> curves;
    std::vector<std::string> dataNames;  ///< words behind ~A
    Place data;                          ///< first line behind the ~A line
    std::size_t curvesLine = 0;
};

/// Whether the head holds a ~V, ~W, ~C or ~A line.
bool LooksLikeLas(const TextFile& file);

/// Throws ExchangeError for a file without data section.
LasHeader ReadLasHeader(const TextFile& file);

}  // namespace dravik
