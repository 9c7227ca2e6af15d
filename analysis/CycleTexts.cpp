#include "analysis/CycleTexts.h"

#include "db/DatasetRecord.h"
#include "db/InputChoice.h"
#include "general/NumberText.h"

namespace vorela {

std::vector<std::string> EntryTexts(const CycleRecord& cycles, std::size_t entry) {
    // The window is taken as one period of whatever length: it has no measured one.
    const bool isWindow = cycles.IsWindow(static_cast<std::int32_t>(entry) + 1);
    std::vector<std::string> texts{isWindow ? std::string() : FormatNumber(cycles.period[entry])};
    const auto put = [&](const Harmonic& harmonic, bool known) {
        texts.push_back(known ? FormatNumber(harmonic.phase) : std::string());
        texts.push_back(known ? FormatNumber(harmonic.magnitude) : std::string());
    };
    const bool analysed = cycles.analysed[entry] != 0;
    put(cycles.valve[entry], analysed || cycles.valve[entry].magnitude > 0.0);
    put(cycles.pressure[entry], analysed);
    put(cycles.flow[entry], analysed);
    return texts;
}

std::string SelectedCycleText(const CycleRecord& cycles) {
    return cycles.ShowsWindow() ? windowText : std::to_string(cycles.selectedCycle);
}

std::vector<std::string> CycleChoices(std::size_t dataset) {
    std::vector<std::string> choices;
    if (dataset >= CurrentSelection().datasets.size())
        return choices;
    const CycleRecord& cycles = CurrentSelection().datasets[dataset].cycles;
    for (std::int32_t n = 1; n <= cycles.RealCycles(); ++n)
        choices.push_back(std::to_string(n));
    if (cycles.count > 0)
        choices.emplace_back(windowText);
    return choices;
}

std::string MissingCyclesText(std::size_t dataset) {
    const DatasetRecord& record = CurrentSelection().datasets.at(dataset);
    if (record.cycles.RealCycles() > 0)
        return {};
    if (const std::string conflict = ChoiceConflict(); !conflict.empty())
        return conflict + ".\n\nChoose the curves that were recorded: File, Select Data...";
    if (record.cycleSource == CycleSource::none)
        return "No cycles of " + record.dataset +
               " have been measured yet.\n\nAction, Calculate cycle info... measures them.";
    return record.dataset +
           " has no whole cycle yet.\n\nA cycle lies between two times at which the valve comes to position "
           "3: "
           "wait for the recording, or check the valve's curves.";
}

std::vector<std::vector<std::string>> CycleInformationRows(std::size_t dataset) {
    std::vector<std::vector<std::string>> rows{{"Cycle", "Period", "Valve phase", "Pres. phase", "Flow phase",
                                                "Valve mag.", "Pres. mag.", "Flow mag."}};
    const std::vector<std::string> names = CycleChoices(dataset);
    for (std::size_t entry = 0; entry < names.size(); ++entry) {
        const std::vector<std::string> texts = EntryTexts(CurrentSelection().datasets[dataset].cycles, entry);
        rows.push_back({names[entry], texts[0], texts[1], texts[3], texts[5], texts[2], texts[4], texts[6]});
    }
    return rows;
}

}  // namespace vorela
