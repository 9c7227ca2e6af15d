// Arithmetic that stops with a run-time error where the classic run time would: division by zero, a logarithm
// of a non-positive number, 16-bit and 32-bit overflow. NaN and infinity never travel on silently.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

#include "general/RunTimeError.h"

namespace vorela {

/// The value itself when it is finite; throws overflow (6) otherwise.
inline double CheckedFinite(double value, const char* source) {
    if (!std::isfinite(value))
        throw RunTimeError{error_number::overflow, source, "Overflow"};
    return value;
}

/// numerator / denominator; throws division by zero (11) when the denominator is exactly 0, overflow (6) when
/// the quotient is not finite.
inline double CheckedDivide(double numerator, double denominator, const char* source) {
    if (denominator == 0.0)
        throw RunTimeError{error_number::divisionByZero, source, "Division by zero"};
    return CheckedFinite(numerator / denominator, source);
}

/// ln(value); throws invalid procedure call (5) unless value > 0.
inline double CheckedLog(double value, const char* source) {
    if (!(value > 0.0))
        throw RunTimeError{error_number::invalidProcedureCall, source, "Invalid procedure call or argument"};
    return CheckedFinite(std::log(value), source);
}

/// The nearest integer as a double, halves to the even neighbour, whatever the thread's rounding mode.
inline double RoundHalfEven(double value) {
    const double below = std::floor(value);
    const double fraction = value - below;
    if (fraction < 0.5)
        return below;
    if (fraction > 0.5)
        return below + 1.0;
    return std::fmod(below, 2.0) == 0.0 ? below : below + 1.0;
}

/// The nearest integer, halves to even; throws overflow (6) when it does not fit (or is NaN).
template <typename Integer>
Integer RoundTo(double value, const char* source) {
    static_assert(std::is_integral_v<Integer> && sizeof(Integer) <= 4);
    const double rounded = RoundHalfEven(value);
    if (!(rounded >= static_cast<double>(std::numeric_limits<Integer>::min()) &&
          rounded <= static_cast<double>(std::numeric_limits<Integer>::max())))
        throw RunTimeError{error_number::overflow, source, "Overflow"};
    return static_cast<Integer>(rounded);
}

/// A 64-bit intermediate result narrowed to `Integer`; throws overflow (6) when it does not fit.
template <typename Integer>
Integer CheckedNarrow(std::int64_t value, const char* source) {
    static_assert(std::is_integral_v<Integer> && sizeof(Integer) <= 4);
    if (value < std::numeric_limits<Integer>::min() || value > std::numeric_limits<Integer>::max())
        throw RunTimeError{error_number::overflow, source, "Overflow"};
    return static_cast<Integer>(value);
}

/// container[index]; throws subscript out of range (9) instead of reading outside.
template <typename Container>
decltype(auto) CheckedAt(Container& container, std::int64_t index, const char* source) {
    if (index < 0 || index >= static_cast<std::int64_t>(container.size()))
        throw RunTimeError{error_number::subscriptOutOfRange, source, "Subscript out of range"};
    return container[static_cast<std::size_t>(index)];
}

}  // namespace vorela
