// How a database file comes into being.
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "dravik/store/Format.h"
#include "dravik/store/StoreError.h"

namespace dravik::store {
namespace {

constexpr std::size_t longestPath = 4096;
/// What makers' files are called: the database's name hidden, this, and a number by chance.
constexpr std::string_view makersMark = ".making-";

std::string MakersBegin(const std::string& name) {
    constexpr std::size_t longest = 200;  // a file's name may have 255 bytes
    return "." + name.substr(0, longest) + std::string(makersMark);
}

[[noreturn]] void FailAt(const std::string& path) {
    throw StoreError{DK_DISK_ERROR, path + ": " + std::strerror(errno)};
}

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Number() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }

  private:
    int number_;
};

/// The bytes of an empty database.
std::string EmptyDatabase() {
    Connection connection(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY);
    PrepareEmptyFile(connection);
    connection.Execute("BEGIN");
    CreateTables(connection);
    connection.Execute("COMMIT");
    sqlite3_int64 size = 0;
    const std::unique_ptr<unsigned char, decltype(&sqlite3_free)> bytes(
        sqlite3_serialize(connection.Handle(), "main", &size, 0), sqlite3_free);
    if (bytes == nullptr)
        throw StoreError{DK_NO_MEMORY, "out of memory"};
    return {reinterpret_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)};
}

/// A file that its maker holds locked as long as it lives: what can be locked by another was left by a dead
/// one.
class MakersFile {
  public:
    MakersFile(const std::filesystem::path& folder, const std::string& name) {
        do {
            unsigned long long chance = 0;
            if (getrandom(&chance, sizeof chance, 0) != sizeof chance)
                FailAt(folder);
            path_ = folder / (MakersBegin(name) + std::to_string(chance));
            file_ = std::make_unique<Descriptor>(
                open(path_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, 0644));
            if (!file_->IsOpen() && errno != EEXIST)
                FailAt(path_);
        } while (!file_->IsOpen() || !IsHeld());
    }
    ~MakersFile() { unlink(path_.c_str()); }
    MakersFile(const MakersFile&) = delete;
    MakersFile& operator=(const MakersFile&) = delete;

    void Fill(const std::string& bytes) {
        for (std::string_view left = bytes; !left.empty();) {
            const ssize_t count = write(file_->Number(), left.data(), left.size());
            if (count < 0 && errno != EINTR)
                FailAt(path_);
            left.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        if (fsync(file_->Number()) != 0)
            FailAt(path_);
    }

    /// True also when there is something by that name already.
    bool LinkTo(const std::string& path) {
        if (link(path_.c_str(), path.c_str()) == 0 || errno == EEXIST)
            return true;
        // A file system without hard links.
        if (errno != EPERM && errno != ENOTSUP && errno != ENOSYS && errno != EMLINK)
            return false;
        return renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0 ||
               errno == EEXIST;
    }

  private:
    /// False when another maker took it for left over before it was locked.
    bool IsHeld() {
        struct stat about {};
        return flock(file_->Number(), LOCK_EX | LOCK_NB) == 0 && fstat(file_->Number(), &about) == 0 &&
               about.st_nlink > 0;
    }
    std::filesystem::path path_;
    std::unique_ptr<Descriptor> file_;
};

void RemoveLeftovers(const std::filesystem::path& folder, const std::string& name) {
    const std::string begin = MakersBegin(name);
    std::error_code ignored;
    for (std::filesystem::directory_iterator at(folder, ignored), end; at != end; at.increment(ignored)) {
        if (!at->path().filename().string().starts_with(begin))
            continue;
        const Descriptor left(open(at->path().c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (left.IsOpen() && flock(left.Number(), LOCK_EX | LOCK_NB) == 0)
            unlink(at->path().c_str());
    }
}

}  // namespace

std::string CheckedPath(const std::string& path) {
    if (path.empty())
        throw StoreError{DK_NOT_UNDERSTOOD, "the database path is empty"};
    if (path.size() > longestPath)
        throw StoreError{DK_MAXIMUM, "the database path is too long"};
    std::string plain = path.front() == '/' ? path : "./" + path;
    for (const char* suffix : {"", "-journal"}) {
        struct stat about {};
        if (stat((plain + suffix).c_str(), &about) == 0 && !S_ISREG(about.st_mode))
            throw StoreError{DK_DISK_ERROR, plain + suffix + ": this is not a file"};
    }
    if (access((plain + "-wal").c_str(), F_OK) == 0)
        throw StoreError{DK_DISK_ERROR, plain + "-wal: there is a write-ahead log, which is not ours"};
    return plain;
}

void MakeDatabaseFile(const std::string& path) {
    const std::filesystem::path whole(path);
    const std::filesystem::path folder = whole.parent_path();
    const std::string name = whole.filename();
    RemoveLeftovers(folder, name);
    MakersFile file(folder, name);
    file.Fill(EmptyDatabase());
    if (!file.LinkTo(path))
        FailAt(path);
    const Descriptor directory(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.IsOpen())
        fsync(directory.Number());
}

}  // namespace dravik::store
