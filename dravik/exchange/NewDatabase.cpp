#include "dravik/exchange/NewDatabase.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "dravik/exchange/Datasets.h"

namespace dravik {
namespace {

/// Never over a file that is there.
bool GiveName(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // Some file systems know no such renaming.
    return errno == EINVAL && ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

}  // namespace

NewDatabase::NewDatabase(std::string path) : path_(std::move(path)), work_(path_) {
    std::error_code ignored;
    const auto status = std::filesystem::symlink_status(path_, ignored);
    if (status.type() == std::filesystem::file_type::not_found)
        work_ += ".new-" + std::to_string(::getpid());
}

NewDatabase::~NewDatabase() {
    if (work_ == path_)
        return;
    ::unlink(work_.c_str());
    ::unlink((work_ + "-journal").c_str());
}

void NewDatabase::Publish() {
    if (work_ == path_)
        return;
    if (!GiveName(work_, path_))
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
