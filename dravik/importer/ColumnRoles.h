// What a column of a recording stands for, and which curve of a level it becomes.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dravik/exchange/Plan.h"

namespace dravik {

enum class Role : std::uint8_t { time, pressure, flow, valvePosition, depth, other, leaveOut };

/// The roles that a user may give, in the order of their list.
inline constexpr std::array<Role, 6> givenRoles{Role::pressure, Role::flow,  Role::valvePosition,
                                                Role::depth,    Role::other, Role::leaveOut};
const char* RoleText(Role role);

/// The curve that a role makes: ZG, RTC, PVLPOS, ADPTH; "" where the column keeps its own name.
std::string_view CurveOfRole(Role role);

/// Roles from names and units, one a column. No role but `other` and `leaveOut` is given twice, nor one of
/// `taken`; `taken` grows by those given.
std::vector<Role> SuggestRoles(const ImportPlan& plan, std::vector<Role>& taken);

}  // namespace dravik
