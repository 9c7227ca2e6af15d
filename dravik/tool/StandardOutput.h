#pragma once

#include <string_view>

namespace dravik {

/// Writes to standard output at once; a failure is a ToolError.
void WriteStandardOutput(std::string_view text);

}  // namespace dravik
