// Numbers too small for the type that they are read into.
#pragma once

#include <optional>
#include <string>

namespace vorela {

/// A decimal number that std::from_chars finds out of range: its nearest double when it is too small, nothing
/// when it is too large.
std::optional<double> TooSmallNumber(const std::string& number);

}  // namespace vorela
