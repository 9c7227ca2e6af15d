// Reading the registry: on this platform a text file in the registry-export format.
#pragma once

#include <string>
#include <string_view>

namespace vorela {

enum class RegistryRoot { classesRoot = 1, currentUser, localMachine, users };

/// The file in use: the first of $VORELA_REGISTRY (a relative one from the folder that the program was
/// started in), <application folder>/vorela.reg, that of an installation elsewhere than in /usr
/// (<prefix>/etc/vorela/vorela.reg), /etc/vorela/vorela.reg that exists; "" when there is none.
std::string RegistryFilePath();

/// The text of a REG_SZ value up to its first NUL; "" when key or value cannot be read and for every other
/// type (REG_EXPAND_SZ and REG_BINARY among them). Step string "Cannot read registry".
std::string ReadRegistryString(RegistryRoot root, std::string_view subkey, std::string_view valueName);

}  // namespace vorela
