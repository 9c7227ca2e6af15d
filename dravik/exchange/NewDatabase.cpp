#include "dravik/exchange/NewDatabase.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "dravik/exchange/Datasets.h"

namespace dravik {
namespace {

constexpr std::string_view workMark = ".new-";

std::string JournalOf(const std::string& path) {
    return path + "-journal";
}

/// The process that a work file of `database` belongs to; 0 for any other name.
pid_t OwnerOf(const std::string& name, const std::string& database) {
    const std::string front = database + std::string(workMark);
    pid_t owner = 0;
    if (!name.starts_with(front))
        return 0;
    const char* const end = name.data() + name.size();
    const auto read = std::from_chars(name.data() + front.size(), end, owner);
    return read.ec == std::errc() && read.ptr == end && owner > 0 ? owner : 0;
}

bool IsAlive(pid_t process) {
    return ::kill(process, 0) == 0 || errno != ESRCH;
}

/// An empty file or a database of this program that nobody holds a lock on: a process of another machine on a
/// shared folder is not found by its number.
bool IsOurs(const std::string& path) {
    constexpr off_t applicationIdAt = 68;
    constexpr std::string_view applicationId = "DRKB";
    const int file = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    struct stat status {};
    std::array<char, applicationId.size()> id{};
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool isFree = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
                        ::fcntl(file, F_GETLK, &lock) == 0 && lock.l_type == F_UNLCK;
    const bool ours =
        isFree && (status.st_size == 0 ||
                   (::pread(file, id.data(), id.size(), applicationIdAt) == static_cast<ssize_t>(id.size()) &&
                    std::string_view(id.data(), id.size()) == applicationId));
    if (file >= 0)
        ::close(file);
    return ours;
}

/// What a process that was killed has left beside the database.
void RemoveLeftovers(const std::filesystem::path& database) {
    std::error_code ignored;
    const std::filesystem::path folder =
        database.has_parent_path() ? database.parent_path() : std::filesystem::path(".");
    std::vector<std::string> dead;
    for (std::filesystem::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        const pid_t owner = OwnerOf(entry->path().filename().string(), database.filename().string());
        if (owner != 0 && !IsAlive(owner) && IsOurs(entry->path().string()))
            dead.push_back(entry->path().string());
    }
    // The journal first: alone it would never be found again.
    for (const std::string& path : dead) {
        ::unlink(JournalOf(path).c_str());
        ::unlink(path.c_str());
    }
}

}  // namespace

bool GiveNewName(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Some file systems know no such renaming.
    return errno == EINVAL && ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

NewDatabase::NewDatabase(std::string path) : path_(std::move(path)), work_(path_) {
    RemoveLeftovers(path_);
    std::error_code ignored;
    const auto status = std::filesystem::symlink_status(path_, ignored);
    if (status.type() == std::filesystem::file_type::not_found)
        work_ += std::string(workMark) + std::to_string(::getpid());
}

NewDatabase::~NewDatabase() {
    if (work_ == path_)
        return;
    ::unlink(work_.c_str());
    ::unlink(JournalOf(work_).c_str());
}

void NewDatabase::Publish() {
    if (work_ == path_)
        return;
    if (!GiveNewName(work_, path_))
        throw DatasetError(path_ + ": cannot be made: " + std::strerror(errno));
    work_ = path_;
}

std::string NewDatabase::Shown(std::string message) const {
    for (std::size_t at = message.find(work_); work_ != path_ && at != std::string::npos;
         at = message.find(work_, at + path_.size()))
        message.replace(at, work_.size(), path_);
    return message;
}

}  // namespace dravik
