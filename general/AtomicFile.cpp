#include "general/AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "general/RunTimeError.h"

namespace vorela {
namespace {

[[noreturn]] void ThrowFor(int code, const std::filesystem::path& path) {
    int number = error_number::deviceIo;
    if (code == ENOSPC || code == EDQUOT)
        number = error_number::diskFull;
    else if (code == EACCES || code == EPERM || code == EROFS)
        number = error_number::permissionDenied;
    else if (code == ENOENT || code == ENOTDIR)
        number = error_number::pathNotFound;
    throw RunTimeError{number, "Vorela", path.string() + ": " + std::strerror(code)};
}

void WriteAllTo(int descriptor, std::string_view bytes, const std::filesystem::path& path) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            ThrowFor(errno, path);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// A device or pipe cannot be replaced by a file: the bytes go into it.
void WriteToDevice(const std::filesystem::path& path, std::string_view bytes) {
    const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor < 0)
        ThrowFor(errno, path);
    try {
        WriteAllTo(descriptor, bytes, path);
    } catch (...) {
        close(descriptor);
        throw;
    }
    if (close(descriptor) != 0)
        ThrowFor(errno, path);
}

/// The open temporary file beside the final name; removed unless it was renamed into place.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::filesystem::path& target) : target_(target) {
        std::string pattern = target.string() + ".XXXXXX";
        descriptor_ = mkostemp(pattern.data(), O_CLOEXEC);
        if (descriptor_ < 0)
            ThrowFor(errno, target);
        name_ = pattern;
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (descriptor_ >= 0)
            close(descriptor_);
        if (!name_.empty())
            unlink(name_.c_str());
    }

    void Write(std::string_view bytes) { WriteAllTo(descriptor_, bytes, target_); }

    void RenameIntoPlace() {
        struct stat old {};
        const bool replaces = stat(target_.c_str(), &old) == 0;
        const mode_t mask = umask(0);
        umask(mask);
        if (fchmod(descriptor_, replaces ? old.st_mode & 07777 : 0666 & ~mask) != 0 ||
            fsync(descriptor_) != 0)
            ThrowFor(errno, target_);
        const int closed = close(descriptor_);
        descriptor_ = -1;
        if (closed != 0 || rename(name_.c_str(), target_.c_str()) != 0)
            ThrowFor(errno, target_);
        name_.clear();
    }

  private:
    std::filesystem::path target_;
    std::string name_;
    int descriptor_ = -1;
};

}  // namespace

void WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
    std::error_code ignored;
    const std::filesystem::path target =
        std::filesystem::is_symlink(path, ignored) ? std::filesystem::canonical(path) : path;
    if (std::filesystem::exists(target, ignored) && access(target.c_str(), W_OK) != 0)
        ThrowFor(errno, target);
    if (std::filesystem::exists(target, ignored) && !std::filesystem::is_regular_file(target, ignored)) {
        WriteToDevice(target, bytes);
        return;
    }
    TemporaryFile file(target);
    file.Write(bytes);
    file.RenameIntoPlace();
}

}  // namespace vorela
