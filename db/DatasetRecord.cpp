#include "db/DatasetRecord.h"

#include <algorithm>

namespace vorela {

Selection& CurrentSelection() {
    static Selection selection;
    return selection;
}

void SelectCycle(CycleRecord& cycles, std::int32_t cycleNumber) {
    cycles.windowSelected = cycleNumber == windowCycleNumber;
    cycles.selectedCycle = cycles.windowSelected ? std::max(cycles.count, 1) : cycleNumber;
}

void ResetCycles(CycleRecord& cycles, std::int32_t selectedCycle) {
    cycles = CycleRecord{};
    SelectCycle(cycles, selectedCycle);
}

void AppendCycle(CycleRecord& cycles) {
    ++cycles.count;
    const std::size_t elements = static_cast<std::size_t>(cycles.count) + 1;
    cycles.start.resize(elements);
    cycles.period.resize(elements);
    cycles.valve.resize(elements);
    cycles.pressure.resize(elements);
    cycles.flow.resize(elements);
    cycles.ratio.resize(elements);
    cycles.phaseLag.resize(elements);
    cycles.analysed.resize(elements);
    if (cycles.windowSelected)
        cycles.selectedCycle = cycles.count;
}

}  // namespace vorela
