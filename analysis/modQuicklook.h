// Quicklook reservoir outputs: permeability, skin factor and surface productivity index in closed form.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vorela {

struct QuicklookRecord {
    std::string label;
    std::optional<double> reservoirHpi, reservoirPhase;    ///< bbl/day/psi, degrees
    double porosity = 0;                                   ///< v/v
    double viscosity = 0;                                  ///< cP
    double compressibility = 0;                            ///< 1/psi
    double b0 = 0;                                         ///< rb/stb
    double height = 0;                                     ///< ft
    double period = 0;                                     ///< s
    double boreholeDiameter = 0;                           ///< in
    std::optional<double> permeability, skin, surfaceHpi;  ///< mD, –, bbl/day/psi; empty where not reached
};
/// Same indexing as CurrentIntervals(): entry 0 blank.
std::vector<QuicklookRecord>& CurrentQuicklook();
/// Step "Getting quicklook information". False after a report.
bool GetQuicklookInformation();

namespace step {
inline constexpr const char* gettingQuicklookInformation = "Getting quicklook information";
}  // namespace step

}  // namespace vorela
