// The classic run-time error: what a routine's body throws and what ReportError shows.
#pragma once

#include <string>

namespace vorela {

/// Thrown inside a routine's body; trapped by Attempt() (modGeneral.h), never seen by callers.
/// `number` follows the classic list below, `source` names the component that raised it.
struct RunTimeError {
    int number = 0;
    std::string source;
    std::string description;
};

namespace error_number {
inline constexpr int invalidProcedureCall = 5;
inline constexpr int overflow = 6;
inline constexpr int outOfMemory = 7;
inline constexpr int subscriptOutOfRange = 9;
inline constexpr int divisionByZero = 11;
inline constexpr int typeMismatch = 13;
inline constexpr int internalError = 51;
inline constexpr int fileNotFound = 53;
inline constexpr int deviceIo = 57;
inline constexpr int diskFull = 61;
inline constexpr int permissionDenied = 70;
inline constexpr int pathNotFound = 76;
}  // namespace error_number

}  // namespace vorela
