#include "platform/Application.h"

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace vorela {
namespace {

std::string EnvironmentOr(const char* name, const std::string& fallback) {
    const char* value = std::getenv(name);
    return value && *value ? value : fallback;
}

bool IsInstalled(const std::string& program) {
    const std::string path = EnvironmentOr("PATH", "/usr/bin:/bin");
    for (std::size_t from = 0; from <= path.size();) {
        const std::size_t to = std::min(path.find(':', from), path.size());
        if (access((path.substr(from, to - from) + "/" + program).c_str(), X_OK) == 0)
            return true;
        from = to + 1;
    }
    return false;
}

/// A regular file of this user's own; -1 with errno for anything else.
int OpenLockFile(const std::string& path) {
    // Not blocking: the place may be taken by a named pipe.
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600);
    struct stat file {};
    if (descriptor >= 0 &&
        (fstat(descriptor, &file) != 0 || !S_ISREG(file.st_mode) || file.st_uid != geteuid())) {
        close(descriptor);
        errno = EPERM;
        return -1;
    }
    return descriptor;
}

}  // namespace

std::string ApplicationFolder() {
    // The system knows the path; resolving it again would need the right to look into every folder above.
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

std::string StartFolder() {
    const std::string folder = EnvironmentOr("PWD", "/");
    std::error_code gone;
    return folder != "/" && std::filesystem::is_directory(folder, gone) ? folder
                                                                        : EnvironmentOr("HOME", folder);
}

std::string FromStart(const std::string& typed) {
    return (std::filesystem::path(StartFolder()) / typed).lexically_normal().string();
}

std::string SharedFolder() {
    return std::filesystem::path(ApplicationFolder()).parent_path().string() + "/share/vorela";
}

bool IsInstalled() {
    std::error_code ignored;  // a folder that cannot be looked into is none of an installation
    return std::filesystem::path(ApplicationFolder()).filename() == "bin" &&
           std::filesystem::is_directory(SharedFolder(), ignored);
}

std::string DefaultSettingsFilePath() {
    const std::string folder = ApplicationFolder();
    if (!IsInstalled() && access(folder.c_str(), W_OK) == 0)
        return folder + "/Vorela.ini";
    const std::string configuration =
        EnvironmentOr("XDG_CONFIG_HOME", EnvironmentOr("HOME", "") + "/.config");
    std::error_code ignored;  // a folder that cannot be made shows at the first write
    std::filesystem::create_directories(configuration + "/Vorela", ignored);
    return configuration + "/Vorela/Vorela.ini";
}

std::vector<std::string> SingleInstance::Places(const std::string& name) {
    std::vector<std::string> places;
    const passwd* const user = getpwuid(geteuid());
    if (user != nullptr && user->pw_dir != nullptr && *user->pw_dir == '/') {
        const std::filesystem::path folder = std::filesystem::path(user->pw_dir) / ".config" / "Vorela";
        std::error_code ignored;  // a home that cannot be written is passed by
        std::filesystem::create_directories(folder, ignored);
        places.push_back((folder / (name + ".lock")).string());
    }
    for (const char* folder : {"/var/tmp/", "/tmp/"})
        places.push_back(folder + name + "-" + std::to_string(geteuid()) + ".lock");
    return places;
}

std::string SingleInstance::Place(const std::string& name) {
    for (const std::string& place : Places(name)) {
        const int descriptor = OpenLockFile(place);
        if (descriptor < 0)
            continue;
        close(descriptor);
        return place;
    }
    return "";
}

std::optional<SingleInstance> SingleInstance::AcquireAt(const std::vector<std::string>& places) {
    int error = ENOENT;
    for (const std::string& place : places) {
        const int descriptor = OpenLockFile(place);
        if (descriptor < 0) {
            error = errno;
            continue;
        }
        if (flock(descriptor, LOCK_EX | LOCK_NB) == 0)
            return SingleInstance(descriptor);
        error = errno;
        close(descriptor);
        if (error == EWOULDBLOCK)
            return std::nullopt;
    }
    throw std::system_error(error, std::generic_category(), places.empty() ? "lock" : places.back());
}

SingleInstance::SingleInstance(SingleInstance&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

SingleInstance& SingleInstance::operator=(SingleInstance&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

// The lock file itself stays: removing it would let a third instance lock a new file while a second waits on
// the old.
SingleInstance::~SingleInstance() {
    if (descriptor_ >= 0)
        close(descriptor_);
}

bool StartSystemInformation() {
    struct Tool {
        const char* program;
        std::array<const char*, 3> arguments;
    };
    static constexpr std::array<Tool, 5> tools{{
        {"kinfocenter", {nullptr}},
        {"hardinfo2", {nullptr}},
        {"hardinfo", {nullptr}},
        {"gnome-control-center", {"system", nullptr}},
        {"xfce4-about", {nullptr}},
    }};
    for (const Tool& tool : tools) {
        if (!IsInstalled(tool.program))
            continue;
        std::array<char*, 4> arguments{const_cast<char*>(tool.program), const_cast<char*>(tool.arguments[0]),
                                       const_cast<char*>(tool.arguments[1]), nullptr};
        pid_t child = 0;
        if (posix_spawnp(&child, tool.program, nullptr, nullptr, arguments.data(), environ) == 0)
            return true;
    }
    return false;
}

}  // namespace vorela
