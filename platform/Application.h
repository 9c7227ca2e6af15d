// The running program and its desktop: its folder, single instance, files and tools that the desktop opens.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vorela {

/// Folder of the running executable, without a trailing separator.
std::string ApplicationFolder();

/// Where the user stood when he started the program ($PWD, which stays when the program goes to its own
/// folder); the home folder where a desktop started it.
std::string StartFolder();
/// The absolute path of a file whose name the user typed: a relative one means a file in the start folder.
std::string FromStart(const std::string& typed);

/// <prefix>/share/vorela for a program in <prefix>/bin: what an installation shares between its programs.
std::string SharedFolder();
/// Whether the program runs from such an installation and not from a folder that holds all of it.
bool IsInstalled();

/// <application folder>/Vorela.ini when that folder is writable, otherwise Vorela/Vorela.ini in the user's
/// configuration folder ($XDG_CONFIG_HOME or ~/.config), whose folder is made. An installed program is
/// shared: its settings are the user's, also when that is the administrator, who could write beside it.
std::string DefaultSettingsFilePath();

/// Held while the program runs; a second instance of the same user does not get it, whatever the environment
/// of either. Released with the object, also when the process dies.
class SingleInstance {
  public:
    /// Nothing when another instance of this user holds it. Throws std::system_error when no lock can be had.
    static std::optional<SingleInstance> Acquire(const std::string& name) { return AcquireAt(Places(name)); }
    /// The same at the first of `places` that is, or can be made, a file of this user's own: what another
    /// user holds or has laid there says nothing about this user's instances.
    static std::optional<SingleInstance> AcquireAt(const std::vector<std::string>& places);
    /// Lock files by order of preference: in the home folder that the system has on record, which nobody else
    /// writes and nothing tidies up, then in the folders for temporary files.
    static std::vector<std::string> Places(const std::string& name);
    /// The lock file that Acquire takes or finds taken; "" when none can be had.
    static std::string Place(const std::string& name);
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
