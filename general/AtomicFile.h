// Files are written beside their final name and renamed, so a reader sees the old content or the new, never
// half.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vorela {

/// A file on its way to its final name. Every failure throws RunTimeError naming the file: disk full (61),
/// permission denied (70), path not found (76) or device I/O (57); then the old file stands untouched and
/// nothing is left beside it.
///
/// The bytes go into "NAME.part-XXXXXX" in the same folder, which is locked (flock) as long as its writer
/// lives; what writers that were killed left beside the same name is removed. A symbolic link that has the
/// final name is replaced, not followed; permissions of an existing file stay. A device, a pipe and what lies
/// behind /dev/stdout cannot be replaced by a file: the bytes go into it.
class AtomicFile {
  public:
    explicit AtomicFile(std::filesystem::path target);
    /// Removes what was written unless Commit() was reached.
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void Write(std::string_view bytes);
    /// Puts the file in place of an old one. Once.
    void Commit();

  private:
    void OpenBeside();

    std::filesystem::path target_;
    std::string temporary_;  ///< empty when the bytes go straight into a device
    int descriptor_ = -1;
};

/// Writes `bytes` to `path`, replacing what was there. Throws as AtomicFile does.
void WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes);

/// Whether two paths name one regular file, by whatever names and links; a file that is not there yet is
/// known by its folder and name. Devices and pipes are nobody's file.
bool NameSameFile(const std::filesystem::path& one, const std::filesystem::path& other);

/// The first of `inputs` that `output` names; "" when it names none.
std::string InputNamedBy(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace vorela
