// The options of `dravik import`.
#pragma once

#include <CLI/CLI.hpp>

namespace dravik {

/// Adds the command; its run sets `status` to `refused` when a dry run finds a file that cannot be imported.
void AddImportCommand(CLI::App& app, int& status, int refused);

}  // namespace dravik
