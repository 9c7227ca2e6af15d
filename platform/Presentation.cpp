#include "platform/Presentation.h"

#include <cstring>

#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr std::size_t toolStringAt = 18;

/// The numbers of the record with their places: it has no padding.
template <typename Record, typename Visit>
void ForEachNumber(Record& record, Visit&& visit) {
    visit(0, record.recordingFlag);
    visit(2, record.indexKind);
    visit(4, record.trackCount);
    visit(6, record.recordingStart);
    visit(10, record.rangeStart);
    visit(14, record.rangeEnd);
}

}  // namespace

Presentation UnpackPresentation(std::span<const std::byte, presentationBytes> stored) {
    Presentation presentation;
    ForEachNumber(presentation, [&](std::size_t at, auto& number) {
        std::memcpy(&number, stored.data() + at, sizeof number);
    });
    std::string text(presentationBytes - toolStringAt, ' ');
    std::memcpy(text.data(), stored.data() + toolStringAt, text.size());
    presentation.toolString = Trimmed(text.substr(0, text.find('\0')));
    return presentation;
}

std::array<std::byte, presentationBytes> PackPresentation(const Presentation& presentation) {
    std::array<std::byte, presentationBytes> stored{};
    ForEachNumber(presentation, [&](std::size_t at, const auto& number) {
        std::memcpy(stored.data() + at, &number, sizeof number);
    });
    std::string text = presentation.toolString;
    text.resize(presentationBytes - toolStringAt, ' ');
    std::memcpy(stored.data() + toolStringAt, text.data(), text.size());
    return stored;
}

}  // namespace vorela
