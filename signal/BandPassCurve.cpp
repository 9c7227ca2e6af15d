#include "signal/BandPassCurve.h"

#include <algorithm>
#include <array>
#include <map>
#include <tuple>
#include <utility>

#include "general/CheckedMath.h"

namespace vorela {

KernelDesign DesignFor(double period, std::int16_t filterN, std::int16_t step) {
    constexpr const char* source = "modFilteredCurves";
    const double frequency = CheckedDivide(1.0, period, source);
    return {static_cast<float>(CheckedDivide(frequency, step, source) / 2.0),
            static_cast<float>(2.0 * CheckedDivide(frequency, step, source)),
            RoundTo<std::int16_t>(filterN * period * step, source)};
}

std::shared_ptr<const OverlapAddKernel> SharedKernel(const KernelDesign& design) {
    using Key = std::tuple<float, float, std::int16_t>;
    static std::map<Key, std::weak_ptr<const OverlapAddKernel>> kernels;
    std::erase_if(kernels, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<const OverlapAddKernel>& known = kernels[{design.fc1, design.fc2, design.length}];
    std::shared_ptr<const OverlapAddKernel> kernel = known.lock();
    if (!kernel) {
        kernel =
            std::make_shared<const OverlapAddKernel>(BandPassKernel(design.fc1, design.fc2, design.length));
        known = kernel;
    }
    return kernel;
}

BandPassCurve::BandPassCurve(std::shared_ptr<const OverlapAddKernel> kernel) : filter_(std::move(kernel)) {}

std::int64_t BandPassCurve::FinalEnd() const {
    // The output before the pair in progress is kept back: with no sample after it it is blanked.
    return std::max<std::int64_t>(filter_.FirstProvisional() - 1 - Delay(), 0);
}

CurveFilter::Span BandPassCurve::ValidSpanOf(std::int64_t count) const {
    // One sample more at the end than at the start: the one whose response ends with the very last input.
    return {std::min(Delay(), count), std::max<std::int64_t>(count - Delay() - 1, 0) - 1};
}

void BandPassCurve::NoteGaps(std::span<const std::uint8_t> present) {
    const auto length = static_cast<std::int64_t>(filter_.Kernel().Length());
    for (std::size_t i = 0; i < present.size(); ++i) {
        if (present[i] != 0)
            continue;
        const std::int64_t gap = Fed() + static_cast<std::int64_t>(i);
        if (!blocked_.empty() && gap <= blocked_.back().end)
            blocked_.back().end = gap + length;
        else
            blocked_.push_back({gap, gap + length});
    }
}

void BandPassCurve::Feed(std::span<const float> values, std::span<const std::uint8_t> present,
                         const Sink& sink) {
    NoteGaps(present);
    filled_.resize(values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        filled_[i] = held_ = present[i] != 0 ? values[i] : held_;
    filter_.Feed(filled_, [&](std::int64_t first, std::span<const float> outputs) {
        HandOut(first, outputs.first(outputs.size() - 1), sink);
        lastOfPair_ = outputs.back();
        while (!blocked_.empty() && blocked_.front().end < first + std::ssize(outputs))
            blocked_.pop_front();
    });
}

void BandPassCurve::Finish(const Sink& sink) {
    const Span valid = ValidSpan();
    const std::int64_t tail = std::max(valid.last + 1, valid.first);
    filter_.Provisional([&](std::int64_t first, std::span<const float> outputs) {
        HandOut(first, outputs.first(outputs.size() - 1), sink);
    });
    HandOutZeros(zeroEnd_.first, valid.first, sink);
    HandOutZeros(tail, Fed(), sink);
    zeroEnd_ = {tail, Fed() - 1};
}

void BandPassCurve::HandOut(std::int64_t firstOutput, std::span<const float> outputs, const Sink& sink) {
    if (firstOutput > 0)
        HandOutUnblocked(firstOutput - 1, std::span(&lastOfPair_, 1), sink);
    HandOutUnblocked(firstOutput, outputs, sink);
}

void BandPassCurve::HandOutUnblocked(std::int64_t firstOutput, std::span<const float> outputs,
                                     const Sink& sink) {
    // An output is a full response, and outside the blanked start, from twice the delay on.
    std::int64_t at = std::max(firstOutput, 2 * Delay());
    const std::int64_t end = firstOutput + std::ssize(outputs);
    const auto handOut = [&](std::int64_t runEnd) {
        if (at < runEnd)
            sink(at - Delay(), outputs.subspan(static_cast<std::size_t>(at - firstOutput),
                                               static_cast<std::size_t>(runEnd - at)));
    };
    for (const Blocked& blocked : blocked_) {
        const std::int64_t from = std::max(blocked.begin, at);
        const std::int64_t to = std::min(blocked.end, end);
        if (from >= to)
            continue;
        handOut(from);
        if (from - Delay() <= zeroEnd_.last && to - Delay() > zeroEnd_.first)
            needsFreshStart_ = true;
        at = to;
    }
    handOut(end);
}

void BandPassCurve::HandOutZeros(std::int64_t begin, std::int64_t end, const Sink& sink) const {
    constexpr std::array<float, 1024> zeros{};
    for (std::int64_t at = begin; at < end; at += std::ssize(zeros))
        sink(at, std::span(zeros).first(static_cast<std::size_t>(std::min(end - at, std::ssize(zeros)))));
}

}  // namespace vorela
