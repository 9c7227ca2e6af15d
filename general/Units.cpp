#include "general/Units.h"

#include <cctype>
#include <span>
#include <string>
#include <utility>

namespace vorela {
namespace {

using Factor = std::pair<std::string_view, double>;

constexpr double standardGravity = 9.80665;
constexpr double pascalsPerMetreOfWater = 1000.0 * standardGravity;
constexpr double cubicMetresPerBarrel = 0.158987294928;
constexpr double cubicMetresPerGallon = cubicMetresPerBarrel / 42.0;
constexpr double secondsPerDay = 86400.0;
constexpr double minutesPerDay = 1440.0;

constexpr Factor pascals[] = {{"psi", pascalsPerPsi},
                              {"psia", pascalsPerPsi},
                              {"psig", pascalsPerPsi},
                              {"pa", 1.0},
                              {"hpa", 100.0},
                              {"kpa", 1000.0},
                              {"mpa", 1e6},
                              {"mbar", 100.0},
                              {"bar", 1e5},
                              {"bara", 1e5},
                              {"barg", 1e5},
                              {"atm", 101325.0},
                              {"kgf/cm2", 10000.0 * standardGravity},
                              {"mh2o", pascalsPerMetreOfWater},
                              {"mws", pascalsPerMetreOfWater},
                              {"mwc", pascalsPerMetreOfWater},
                              {"cmh2o", pascalsPerMetreOfWater * 0.01},
                              {"fth2o", pascalsPerMetreOfWater* metresPerFoot},
                              {"inh2o", pascalsPerMetreOfWater * 0.0254},
                              {"mmhg", 133.322387415},
                              {"torr", 101325.0 / 760.0}};

constexpr Factor cubicMetresPerDay[] = {{"bbl/day", cubicMetresPerBarrel},
                                        {"bbl/d", cubicMetresPerBarrel},
                                        {"bpd", cubicMetresPerBarrel},
                                        {"m3/day", 1.0},
                                        {"m3/d", 1.0},
                                        {"m3/h", 24.0},
                                        {"m3/s", secondsPerDay},
                                        {"l/s", secondsPerDay / 1000.0},
                                        {"l/min", minutesPerDay / 1000.0},
                                        {"gal/min", minutesPerDay* cubicMetresPerGallon},
                                        {"gpm", minutesPerDay* cubicMetresPerGallon}};

/// Lower case, raised digits and marks of powers spelled out, no blanks and brackets.
std::string KeyOf(std::string_view unit) {
    std::string key;
    for (std::size_t i = 0; i < unit.size(); ++i) {
        const auto c = static_cast<unsigned char>(unit[i]);
        if (c == 0xC2 && i + 1 < unit.size()) {
            const auto next = static_cast<unsigned char>(unit[++i]);
            key += next == 0xB2 ? '2' : next == 0xB3 ? '3' : '?';
        } else if (std::string_view(" ^()[]").find(unit[i]) == std::string_view::npos) {
            key += static_cast<char>(std::tolower(c));
        }
    }
    return key;
}

std::optional<double> FactorOf(std::string_view key, std::span<const Factor> factors) {
    for (const auto& [name, factor] : factors)
        if (name == key)
            return factor;
    return std::nullopt;
}

}  // namespace

std::optional<double> PascalsPer(std::string_view key) {
    return FactorOf(key, pascals);
}

std::optional<double> PsiPer(std::string_view unit) {
    const std::optional<double> factor = PascalsPer(KeyOf(unit));
    return factor ? std::optional(*factor / pascalsPerPsi) : std::nullopt;
}

std::optional<double> BarrelsPerDayPer(std::string_view unit) {
    const std::optional<double> factor = FactorOf(KeyOf(unit), cubicMetresPerDay);
    return factor ? std::optional(*factor / cubicMetresPerBarrel) : std::nullopt;
}

bool IsRevolutionsPerSecond(std::string_view unit) {
    return KeyOf(unit) == "rps";
}

}  // namespace vorela
