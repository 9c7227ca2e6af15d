// Curves on one grid as CSV or LAS text, written in blocks.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "dravik/exchange/CurveSource.h"

namespace dravik {

/// Takes the text piece by piece.
using TextSink = std::function<void(std::string_view)>;

/// The shortest decimals that read back to the same single, sign of a zero included; "NaN" for what is not a
/// number.
void AppendSample(std::string& text, float value);
/// Hundredths with two decimals: 1234 is "12.34".
void AppendHundredths(std::string& text, std::int64_t hundredths);

/// What an import reads back to the same samples. Throws ExchangeError for a name or unit that a file cannot
/// hold. With `start` (Unix seconds) times are dates.
void WriteCsv(CurveSource& source, const TextSink& sink, std::optional<std::int32_t> start = {});
/// What an import reads back to the same samples. Reads the source twice: the NULL value is one that no
/// sample has.
void WriteLas(CurveSource& source, const std::string& dataset, bool wrapped, const TextSink& sink);

}  // namespace dravik
