// Files are written beside their final name and renamed, so a reader sees the old content or the new, never
// half.
#pragma once

#include <filesystem>
#include <string_view>

namespace vorela {

/// Writes `bytes` to `path`, replacing what was there. Throws RunTimeError naming the file: disk full (61),
/// permission denied (70), path not found (76) or device I/O (57); then the old file stands untouched and
/// nothing is left beside it. A symbolic link keeps pointing at the file that it names; permissions of an
/// existing file stay.
void WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes);

}  // namespace vorela
