// The running program and its desktop: its folder, single instance, files and tools that the desktop opens.
#pragma once

#include <optional>
#include <string>

namespace vorela {

/// Folder of the running executable, without a trailing separator.
std::string ApplicationFolder();

/// <application folder>/Vorela.ini when that folder is writable, otherwise Vorela/Vorela.ini in the user's
/// configuration folder ($XDG_CONFIG_HOME or ~/.config), whose folder is made.
std::string DefaultSettingsFilePath();

/// Held while the program runs; a second instance of the same user does not get it. Released with the object,
/// also when the process dies.
class SingleInstance {
  public:
    /// Nothing when another instance holds it.
    static std::optional<SingleInstance> Acquire(const std::string& name);
    SingleInstance(SingleInstance&& other) noexcept;
    SingleInstance& operator=(SingleInstance&& other) noexcept;
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;
    ~SingleInstance();

  private:
    explicit SingleInstance(int descriptor) : descriptor_(descriptor) {}
    int descriptor_ = -1;
};

/// Starts the first system-information tool of the desktop that is installed; false when there is none.
bool StartSystemInformation();

}  // namespace vorela
