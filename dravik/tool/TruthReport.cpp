// The truth behind a simulated test, as tables and as JSON.
#include <algorithm>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <numeric>

#include "dravik/exchange/CurveSource.h"
#include "dravik/tool/Simulator.h"
#include "dravik/tool/TextTable.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

std::string Significant(double value) {
    constexpr int digits = 9;
    std::array<char, 40> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                      std::chars_format::general, digits);
    return {buffer.data(), result.ptr};
}

/// The parameters that the analysis needs, in the order in which it keeps levels: deepest first.
std::string AnalysisSettings(const Simulation& simulation) {
    std::vector<std::size_t> order(simulation.levels.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return simulation.levels[a].depth > simulation.levels[b].depth;
    });
    std::string text;
    const auto add = [&](const std::string& key, double value) {
        text += " --set Parameters." + key + "=" + vorela::ShortestText(value);
    };
    add("Period", simulation.period / indexPerUnit);
    add("CasingID", simulation.well.casingId);
    add("TD", simulation.well.totalDepth);
    add("Compressibility", simulation.well.compressibility);
    add("Spinner", 3);
    add("Slope", simulation.spinnerSlope);
    add("DW", simulation.levels.front().layer.boreholeDiameter);
    for (std::size_t i = 0; i < order.size(); ++i) {
        const Layer& layer = simulation.levels[order[i]].layer;
        const std::string number = std::to_string(i);
        add(number + "Porosity", layer.porosity);
        add(number + "Viscosity", layer.viscosity);
        add(number + "CT", layer.compressibility);
        add(number + "Height", layer.height);
    }
    return text;
}

}  // namespace

std::string TruthText(const Simulation& simulation, const Truth& truth) {
    TextTable levels({"Level", "Depth ft", "HPI rps/psi", "Phase lag deg", "HPI bbl/day/psi"});
    for (const LevelTruth& level : truth.levels)
        levels.Add({level.dataset, vorela::ShortestText(level.depth), Significant(level.hpi),
                    Significant(level.phaseLag), Significant(level.downholeHpi)});
    TextTable layers({"Interval", "HPI bbl/day/psi", "Phase deg", "Permeability mD", "Skin", "Height ft"});
    for (const LayerTruth& layer : truth.layers)
        layers.Add({layer.label, Significant(layer.hpi), Significant(layer.phase),
                    vorela::ShortestText(layer.layer.permeability), vorela::ShortestText(layer.layer.skin),
                    vorela::ShortestText(layer.layer.height)});
    return levels.Text() + "\n" + layers.Text() + "\nThe same parameters for the analysis:\n " +
           AnalysisSettings(simulation) + "\n";
}

std::string TruthJson(const Simulation& simulation, const Truth& truth) {
    nlohmann::ordered_json json;
    json["period"] = simulation.period / indexPerUnit;
    json["levels"] = nlohmann::ordered_json::array();
    for (const LevelTruth& level : truth.levels)
        json["levels"].push_back({{"dataset", level.dataset},
                                  {"depth", level.depth},
                                  {"hpi", level.hpi},
                                  {"phaseLag", level.phaseLag},
                                  {"downholeHpi", level.downholeHpi},
                                  {"flowAmplitude", level.flowAmplitude},
                                  {"pressureAmplitude", level.pressureAmplitude}});
    json["layers"] = nlohmann::ordered_json::array();
    for (const LayerTruth& layer : truth.layers)
        json["layers"].push_back({{"label", layer.label},
                                  {"dataset", layer.dataset},
                                  {"isInterval", layer.isInterval},
                                  {"hpi", layer.hpi},
                                  {"phase", layer.phase},
                                  {"permeability", layer.layer.permeability},
                                  {"skin", layer.layer.skin},
                                  {"height", layer.layer.height},
                                  {"porosity", layer.layer.porosity},
                                  {"viscosity", layer.layer.viscosity},
                                  {"compressibility", layer.layer.compressibility}});
    return json.dump(2) + "\n";
}

}  // namespace dravik
