#include "dravik/tool/StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "dravik/tool/ToolError.h"

namespace dravik {

void WriteStandardOutput(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw ToolError(std::string("standard output: cannot be written: ") + std::strerror(errno));
}

}  // namespace dravik
