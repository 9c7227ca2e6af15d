#include "dravik/importer/ColumnRoles.h"

#include <algorithm>
#include <initializer_list>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/Units.h"

namespace dravik {
namespace {

bool ContainsOne(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(),
                       [&](std::string_view word) { return text.find(word) != std::string_view::npos; });
}

bool IsOne(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::find(words.begin(), words.end(), text) != words.end();
}

bool IsFlowUnit(const std::string& unit) {
    return IsOne(LowerCase(BareUnit(unit)), {"rps", "rpm", "hz", "m/s", "l/s", "l/min", "m3/h", "m3/s", "gpm",
                                             "bbl/d", "bbl/day", "cps"});
}

/// The pressure of the air is not the well's.
bool IsOfTheAir(std::string_view name) {
    return ContainsOne(name, {"baro", "atm", "air", "luft", "surface", "ambient"});
}

Role LikelyRole(const PlannedColumn& column) {
    const std::string name = LowerCase(column.source);
    if (ContainsOne(name, {"pvlpos", "valve", "ventil", "modulator"}))
        return Role::valvePosition;
    if (IsOne(name, {"pvlid", "pvlidt", "pvlt"}) || IsOfTheAir(name))
        return Role::other;
    // "Depth gauge (psi)" is no depth.
    if (IsPsi(column.unit) || PascalsPer(column.unit))
        return Role::pressure;
    if (name == "adpth" || NamesDepth(name))
        return Role::depth;
    if (IsOne(name, {"zg", "p"}) || ContainsOne(name, {"press", "druck"}))
        return Role::pressure;
    if (IsFlowUnit(column.unit) || IsOne(name, {"rtc", "q"}) ||
        ContainsOne(name, {"flow", "spin", "fluss", "rate"}))
        return Role::flow;
    return Role::other;
}

}  // namespace

const char* RoleText(Role role) {
    switch (role) {
        case Role::time:
            return "time";
        case Role::pressure:
            return "pressure";
        case Role::flow:
            return "flow";
        case Role::valvePosition:
            return "valve position";
        case Role::depth:
            return "depth";
        case Role::other:
            return "other";
        case Role::leaveOut:
            break;
    }
    return "leave out";
}

std::string_view CurveOfRole(Role role) {
    switch (role) {
        case Role::pressure:
            return "ZG";
        case Role::flow:
            return "RTC";
        case Role::valvePosition:
            return "PVLPOS";
        case Role::depth:
            return "ADPTH";
        default:
            return {};
    }
}

std::vector<Role> SuggestRoles(const ImportPlan& plan, std::vector<Role>& taken) {
    std::vector<Role> roles;
    for (const PlannedColumn& column : plan.columns) {
        Role role = column.role == ColumnRole::time     ? Role::time
                    : column.kind != ColumnKind::number ? Role::leaveOut
                                                        : LikelyRole(column);
        if (!CurveOfRole(role).empty()) {
            if (std::find(taken.begin(), taken.end(), role) != taken.end())
                role = Role::other;
            else
                taken.push_back(role);
        }
        roles.push_back(role);
    }
    return roles;
}

}  // namespace dravik
