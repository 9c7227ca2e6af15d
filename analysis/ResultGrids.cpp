#include "analysis/ResultGrids.h"

namespace vorela {
namespace {

/// A row of a two-column grid as it is set up.
struct CaptionRow {
    const char* caption;
    RowShade shade = RowShade::none;
};
constexpr RowShade rule = RowShade::buttonShadow;
constexpr RowShade section = RowShade::paleOrange;

constexpr std::array<CaptionRow, 21> levelRows{{
    {"", rule},
    {"Level information", section},
    {"Database"},
    {"Dataset"},
    {"Recording"},
    {"Number of cycles"},
    {"Cycle information", section},
    {"Cycle number"},
    {"Cycle period (seconds)"},
    {"Valve phase (degrees)"},
    {"Valve amplitude"},
    {"Pressure phase (degrees)"},
    {"Pressure amplitude (psi)"},
    {"Flow phase (degrees)"},
    {"Flow amplitude (rps)"},
    {"", rule},
    {"Level parameters", section},
    {"Period of test (seconds)"},
    {"Level outputs", section},
    {"Harmonic productivity index (rps/psi)"},
    {"Phase angle lag (degrees)"},
}};

constexpr std::array<CaptionRow, 21> intervalRows{{
    {"", rule},
    {"Interval information", section},
    {"Harmonic productivity index 1 (rps/psi)"},
    {"Harmonic productivity index 2 (rps/psi)"},
    {"Phase angle lag 1 (degrees)"},
    {"Phase angle lag 2 (degrees)"},
    {"Interval outputs", section},
    {"Harmonic productivity index (rps/psi)"},
    {"Phase angle (degrees)"},
    {"", rule},
    {"Reservoir parameters", section},
    {"Casing internal diameter (inches)"},
    {"Total open depth (ft)"},
    {"Level depth 1 (ft)"},
    {"Level depth 2 (ft)"},
    {"Period of test (seconds)"},
    {"Compressibility of fluid in well (1/psi)"},
    {"Spinner type"},
    {"Reservoir outputs", section},
    {"Harmonic productivity index (bbl/day/psi)"},
    {"Phase angle (degrees)"},
}};

constexpr std::array<CaptionRow, 16> quicklookRows{{
    {"", rule},
    {"Reservoir information", section},
    {"Harmonic productivity index (bbl/day/psi)"},
    {"Phase angle (degrees)"},
    {"Reservoir parameters", section},
    {"Porosity (v/v)"},
    {"Fluid viscosity (cP)"},
    {"Fluid compressibility (1/psi)"},
    {"Formation volume factor (rb/stb)"},
    {"Height (ft)"},
    {"Period of test (seconds)"},
    {"Borehole diameter (inches)"},
    {"Reservoir outputs", section},
    {"Permeability (mD)"},
    {"Skin factor"},
    {"Surface harmonic productivity index (bbl/day/psi)"},
}};

constexpr int levelCaptionWidth = 2800;      // twips
constexpr int intervalCaptionWidth = 3200;   // twips
constexpr int quicklookCaptionWidth = 3700;  // twips
constexpr int summaryLabelWidth = 1700;      // twips
constexpr int summaryValueWidth = 1200;      // twips

template <std::size_t Count>
ResultGrid TwoColumns(const std::array<CaptionRow, Count>& rows, int captionWidth) {
    ResultGrid grid;
    grid.widths = {captionWidth, 0};
    for (const CaptionRow& row : rows) {
        grid.cells.push_back({row.caption, ""});
        grid.shades.push_back(row.shade);
    }
    return grid;
}

ResultGrid EmptySummary() {
    ResultGrid grid;
    grid.widths.assign(SummaryCodes().size(), summaryValueWidth);
    grid.widths.front() = summaryLabelWidth;
    grid.cells.emplace_back(SummaryCodes().begin(), SummaryCodes().end());
    grid.shades.push_back(RowShade::none);
    return grid;
}

}  // namespace

const std::array<const char*, 4>& TabNames() {
    static constexpr std::array<const char*, 4> names{"Level", "Interval", "Quicklook", "Summary"};
    return names;
}

const std::array<const char*, 8>& SummaryCodes() {
    static constexpr std::array<const char*, 8> codes{
        "Depth Interval", "HPII", "THI", "HPIR", "THR", "k", "S", "HPIS"};
    return codes;
}

const std::array<const char*, 8>& SummaryMeanings() {
    static constexpr std::array<const char*, 8> meanings{
        "",
        "Harmonic productivity index for interval (rps/psi)",
        "Phase angle for interval (degrees)",
        "Harmonic productivity index for reservoir (bbl/day/psi)",
        "Phase angle for reservoir (degrees)",
        "Permeability for reservoir (mD)",
        "Skin factor for reservoir",
        "Surface harmonic productivity index for reservoir (bbl/day/psi)"};
    return meanings;
}

ResultGrid EmptyGrid(GridKind kind) {
    switch (kind) {
        case GridKind::level:
            return TwoColumns(levelRows, levelCaptionWidth);
        case GridKind::interval:
            return TwoColumns(intervalRows, intervalCaptionWidth);
        case GridKind::quicklook:
            return TwoColumns(quicklookRows, quicklookCaptionWidth);
        case GridKind::summary:
            break;
    }
    return EmptySummary();
}

const char* SetUpStep(GridKind kind) {
    switch (kind) {
        case GridKind::level:
            return "Setting up level flexgrid";
        case GridKind::interval:
        case GridKind::quicklook:
            return "Setting up signal flexgrid";
        case GridKind::summary:
            break;
    }
    return "Setting up summary flexgrid";
}

}  // namespace vorela
