#include "general/AtomicFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "general/RunTimeError.h"

namespace vorela {
namespace {

constexpr std::string_view partMark = ".part-";
constexpr std::size_t randomLetters = 6;
/// With mark and random letters this stays below what file systems take for a name.
constexpr std::size_t longestStem = 240;

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

std::filesystem::path FolderOf(const std::filesystem::path& path) {
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

/// The names that the system gives to a process's open files (/dev/stdout, /dev/fd/3) are symbolic links too,
/// but no place for a file.
bool IsOpenFilesName(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::string folder = std::filesystem::canonical(FolderOf(path), ignored).string();
    return std::filesystem::is_symlink(path, ignored) && (folder == "/dev" || folder.starts_with("/proc/"));
}

/// What the temporary files of a target begin with, folder excluded.
std::string PartStem(const std::filesystem::path& target) {
    return target.filename().string().substr(0, longestStem).append(partMark);
}

bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Whether `name` means the open file.
bool StillNamed(int descriptor, const std::string& name) {
    struct stat opened {};
    struct stat named {};
    return fstat(descriptor, &opened) == 0 && lstat(name.c_str(), &named) == 0 && IsSameFile(opened, named);
}

/// A writer holds the lock of its file until the file has its final name: one that can be locked under its
/// temporary name has lost its writer.
void RemoveIfDead(const std::string& name) {
    struct stat status {};
    if (lstat(name.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid())
        return;
    const int descriptor = open(name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return;
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0 && StillNamed(descriptor, name))
        unlink(name.c_str());
    close(descriptor);
}

void RemoveDeadParts(const std::filesystem::path& target) {
    const std::filesystem::path folder = FolderOf(target);
    const std::string stem = PartStem(target);
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    while (const dirent* entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string_view name(entry->d_name);
        if (name.size() == stem.size() + randomLetters && name.starts_with(stem))
            RemoveIfDead((folder / name).string());
    }
}

mode_t ModeFor(const std::filesystem::path& target) {
    struct stat old {};
    if (lstat(target.c_str(), &old) == 0 && S_ISREG(old.st_mode))
        return old.st_mode & 07777;
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

AtomicFile::AtomicFile(std::filesystem::path target) : target_(std::move(target)) {
    struct stat status {};
    const bool exists = stat(target_.c_str(), &status) == 0;
    if ((exists && !S_ISREG(status.st_mode)) || IsOpenFilesName(target_)) {
        descriptor_ = open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0)
            ThrowFor(errno, target_);
        return;
    }
    std::error_code ignored;
    if (exists && !std::filesystem::is_symlink(target_, ignored) && access(target_.c_str(), W_OK) != 0)
        ThrowFor(errno, target_);
    RemoveDeadParts(target_);
    OpenBeside();
}

void AtomicFile::OpenBeside() {
    for (;;) {
        temporary_ = (FolderOf(target_) / PartStem(target_)).string() + std::string(randomLetters, 'X');
        descriptor_ = mkostemp(temporary_.data(), O_CLOEXEC | O_NOFOLLOW);  // O_EXCL is its nature
        if (descriptor_ < 0) {
            temporary_.clear();
            ThrowFor(errno, target_);
        }
        // Somebody who cleans up may have come between creation and lock. Where files cannot be locked nobody
        // cleans up.
        if (flock(descriptor_, LOCK_EX) != 0 || StillNamed(descriptor_, temporary_))
            return;
        close(std::exchange(descriptor_, -1));
    }
}

AtomicFile::~AtomicFile() {
    if (!temporary_.empty())
        unlink(temporary_.c_str());
    if (descriptor_ >= 0)
        close(descriptor_);
}

void AtomicFile::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            ThrowFor(errno, target_);
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

void AtomicFile::Commit() {
    if (!temporary_.empty()) {
        if (fchmod(descriptor_, ModeFor(target_)) != 0 || fsync(descriptor_) != 0 ||
            rename(temporary_.c_str(), target_.c_str()) != 0)
            ThrowFor(errno, target_);
        temporary_.clear();
    }
    if (close(std::exchange(descriptor_, -1)) != 0)
        ThrowFor(errno, target_);
}

void WriteFileAtomically(const std::filesystem::path& path, std::string_view bytes) {
    AtomicFile file(path);
    file.Write(bytes);
    file.Commit();
}

bool NameSameFile(const std::filesystem::path& one, const std::filesystem::path& other) {
    struct stat first {};
    struct stat second {};
    const bool firstExists = stat(one.c_str(), &first) == 0;
    const bool secondExists = stat(other.c_str(), &second) == 0;
    if (firstExists && secondExists)
        return S_ISREG(first.st_mode) && IsSameFile(first, second);
    std::error_code ignored;
    return !firstExists && !secondExists && one.filename() == other.filename() &&
           std::filesystem::equivalent(FolderOf(one), FolderOf(other), ignored);
}

std::string InputNamedBy(const std::string& output, const std::vector<std::string>& inputs) {
    for (const std::string& input : inputs)
        if (!input.empty() && NameSameFile(output, input))
            return input;
    return {};
}

}  // namespace vorela
