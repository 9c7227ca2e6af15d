// The C interface of Smooth32 over the filters of RunningFilter.h.
#include "interfaces/Smooth32.h"

#include <cmath>
#include <exception>
#include <limits>
#include <map>
#include <memory>

#include "dravik/filter/RunningFilter.h"

namespace {

struct Slot {
    dravik::FilterDefinition definition;
    std::unique_ptr<dravik::RunningFilter> filter;  ///< null until prepared
    std::int32_t lag = 0;
};

std::map<std::int32_t, Slot>& Slots() {
    static std::map<std::int32_t, Slot> slots;
    return slots;
}

Slot* Find(std::int32_t handle) {
    const auto found = Slots().find(handle);
    return found == Slots().end() ? nullptr : &found->second;
}

/// Handles are not used again while the 32-bit range lasts: a stale handle stays a bad one.
std::int32_t NewHandle() {
    static std::int32_t last = 0;
    do
        last = last == std::numeric_limits<std::int32_t>::max() ? 1 : last + 1;
    while (Slots().contains(last));
    return last;
}

bool Prepare(Slot& slot, std::int32_t unitsPerSecond, std::int16_t step) {
    const auto samples = dravik::FilterSampleCount(slot.definition, unitsPerSecond, step);
    if (!samples)
        return false;
    const std::int64_t lag = (*samples - 1) / 2 * step;
    if (lag > std::numeric_limits<std::int32_t>::max())
        return false;
    slot.filter = dravik::MakeRunningFilter(slot.definition.shape, static_cast<std::size_t>(*samples));
    slot.lag = static_cast<std::int32_t>(lag);
    return true;
}

}  // namespace

int32_t CreateSOFilter(const char* /*name*/, const char* definition, int32_t /*reserved1*/,
                       int32_t /*reserved2*/) {
    try {
        if (definition == nullptr)
            return 0;
        const auto parsed = dravik::ParseFilterDefinition(definition);
        if (!parsed)
            return 0;
        const std::int32_t handle = NewHandle();
        Slots()[handle].definition = *parsed;
        return handle;
    } catch (const std::exception&) {
        return 0;
    }
}

int32_t InitSOFilter(int32_t filter, int32_t unitsPerSecond, int16_t step) {
    Slot* slot = Find(filter);
    if (slot == nullptr || unitsPerSecond <= 0 || step <= 0)
        return 0;
    try {
        return Prepare(*slot, unitsPerSecond, step) ? 1 : 0;
    } catch (const std::exception&) {  // out of memory
        return 0;
    }
}

int32_t GetSOFilterLag(int32_t filter) {
    const Slot* slot = Find(filter);
    return slot == nullptr ? 0 : slot->lag;
}

int32_t ApplySOFilter(int32_t filter, double* value) {
    const Slot* slot = Find(filter);
    if (slot == nullptr || slot->filter == nullptr || value == nullptr)
        return 0;
    if (!(std::abs(*value) <= dravik::largestFilterValue))  // true for NaN as well
        return 0;
    *value = slot->filter->Push(*value);
    return 1;
}

void DestroySOFilter(int32_t filter) {
    Slots().erase(filter);
}
