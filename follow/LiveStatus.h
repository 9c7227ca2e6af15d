// How a recording and the work on it stand: what the status bar says of a level that is being recorded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace vorela {

struct LiveStatus {
    std::string level;
    /// What the recorder has written that no pass has worked on yet, in seconds of the record; nothing before
    /// the first pass and while the recorder's end cannot be read.
    std::optional<double> lag;
    std::int32_t cycles = 0;    ///< between two valve boundaries
    std::int32_t measured = 0;  ///< of these, with results
    /// To the next valve boundary by the last cycle's length (before there is one: the period of test), in
    /// seconds of the record; negative when it is overdue, nothing before the first boundary.
    std::optional<double> nextCycle;
};

/// Of a selected dataset that is being recorded; nothing of any other. Asks the database how far the recorder
/// is, without a message when that fails.
std::optional<LiveStatus> LiveStatusOf(std::size_t dataset);

/// "LEVEL2: 3 s behind, 12 cycles (11 measured), next in 45 s".
std::string LiveStatusText(const LiveStatus& status);

}  // namespace vorela
