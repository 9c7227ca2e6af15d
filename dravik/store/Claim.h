// Claims on parts of a database file that last as long as the process that made them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dravik::store {

/// A number for EndClaim. Throws StoreError; DK_EXISTS after putting the holder's process number (0: unknown)
/// into `holder`.
std::int32_t TakeClaim(const std::string& path, std::string_view what, std::int32_t& holder);
void EndClaim(std::int32_t claim);

}  // namespace dravik::store
