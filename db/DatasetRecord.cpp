#include "db/DatasetRecord.h"

#include <algorithm>
#include <cstring>

#include "general/NumberText.h"

namespace vorela {
namespace {

// The stored record has no padding: the 32-bit fields lie at offsets 6, 10 and 14.
constexpr std::size_t recordingFlagAt = 0;
constexpr std::size_t indexKindAt = 2;
constexpr std::size_t trackCountAt = 4;
constexpr std::size_t recordingStartAt = 6;
constexpr std::size_t rangeStartAt = 10;
constexpr std::size_t rangeEndAt = 14;
constexpr std::size_t toolStringAt = 18;
constexpr std::size_t toolStringBytes = 14;

template <typename Field>
void Fetch(std::span<const std::byte, presentationBytes> stored, std::size_t at, Field& field) {
    std::memcpy(&field, stored.data() + at, sizeof(Field));
}

template <typename Field>
void Store(std::array<std::byte, presentationBytes>& stored, std::size_t at, const Field& field) {
    std::memcpy(stored.data() + at, &field, sizeof(Field));
}

}  // namespace

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

Presentation UnpackPresentation(std::span<const std::byte, presentationBytes> stored) {
    Presentation presentation;
    Fetch(stored, recordingFlagAt, presentation.recordingFlag);
    Fetch(stored, indexKindAt, presentation.indexKind);
    Fetch(stored, trackCountAt, presentation.trackCount);
    Fetch(stored, recordingStartAt, presentation.recordingStart);
    Fetch(stored, rangeStartAt, presentation.rangeStart);
    Fetch(stored, rangeEndAt, presentation.rangeEnd);
    std::array<char, toolStringBytes> text{};
    Fetch(stored, toolStringAt, text);
    const std::string whole(text.begin(), text.end());
    presentation.toolString = Trimmed(whole.substr(0, whole.find('\0')));
    return presentation;
}

std::array<std::byte, presentationBytes> PackPresentation(const Presentation& presentation) {
    std::array<std::byte, presentationBytes> stored{};
    Store(stored, recordingFlagAt, presentation.recordingFlag);
    Store(stored, indexKindAt, presentation.indexKind);
    Store(stored, trackCountAt, presentation.trackCount);
    Store(stored, recordingStartAt, presentation.recordingStart);
    Store(stored, rangeStartAt, presentation.rangeStart);
    Store(stored, rangeEndAt, presentation.rangeEnd);
    std::array<char, toolStringBytes> text{};
    text.fill(' ');
    std::memcpy(text.data(), presentation.toolString.data(),
                std::min(text.size(), presentation.toolString.size()));
    Store(stored, toolStringAt, text);
    return stored;
}

}  // namespace vorela
