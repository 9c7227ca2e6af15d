// What stops a command of the tool.
#pragma once

#include <stdexcept>
#include <string>

namespace dravik {

/// The command failed: one line for the user that names the file, line, dataset or curve. Exit status 1.
struct ToolError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What was asked for makes no sense (a list of another length, a file name with an unknown ending). Exit
/// status 2.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace dravik
