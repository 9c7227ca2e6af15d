// The registry-export format: [HKEY_...] headings over "Name"=data lines. A pure function of the file's
// bytes, so that odd files can be tried without a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Registry.h"

namespace vorela {

/// A value as stored: its type code (1 REG_SZ, 2 REG_EXPAND_SZ, 3 REG_BINARY, 4 REG_DWORD, …) and its bytes,
/// the terminating NUL of a text included. "hex(1):" gives a text's raw bytes.
struct RegistryValue {
    std::uint32_t type = 0;
    std::string data;
};

/// Key and value names are case-insensitive; the last of several equal names counts. Nothing when it is
/// missing or its line cannot be read.
std::optional<RegistryValue> FindRegistryValue(std::string_view fileBytes, RegistryRoot root,
                                               std::string_view subkey, std::string_view valueName);

}  // namespace vorela
