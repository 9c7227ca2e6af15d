#include "platform/Application.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "general/RunTimeError.h"

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

int OpenLockFile(const std::string& path) {
    return open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

}  // namespace

std::string ApplicationFolder() {
    // The system knows the path; resolving it again would need the right to look into every folder above.
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

std::string DefaultSettingsFilePath() {
    const std::string folder = ApplicationFolder();
    if (access(folder.c_str(), W_OK) == 0)
        return folder + "/Vorela.ini";
    const std::string configuration =
        EnvironmentOr("XDG_CONFIG_HOME", EnvironmentOr("HOME", "") + "/.config");
    std::error_code ignored;  // a folder that cannot be made shows at the first write
    std::filesystem::create_directories(configuration + "/Vorela", ignored);
    return configuration + "/Vorela/Vorela.ini";
}

std::optional<SingleInstance> SingleInstance::Acquire(const std::string& name) {
    const std::string file = "/" + name + "-" + std::to_string(getuid()) + ".lock";
    const std::string temporary = std::filesystem::temp_directory_path().string();
    // The session's own folder may be named without being there (another user's environment, no session).
    std::string path = EnvironmentOr("XDG_RUNTIME_DIR", temporary) + file;
    int descriptor = OpenLockFile(path);
    if (descriptor < 0)
        descriptor = OpenLockFile(path = temporary + file);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), path);
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        close(descriptor);
        return std::nullopt;
    }
    return SingleInstance(descriptor);
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
