#include "db/AnalysisClaim.h"

#include <cstdint>
#include <map>
#include <utility>

#include "db/DatasetRecord.h"
#include "general/Ports.h"
#include "platform/DravikLibraries.h"

namespace vorela {
namespace {

struct HeldClaim {
    std::int32_t claim = 0;  ///< of the database library; 0: the file was not there
    int holders = 0;
};

std::map<std::string, HeldClaim>& HeldClaims() {
    static std::map<std::string, HeldClaim> claims;
    return claims;
}

/// "" when it is held now.
std::string Take(const std::string& database) {
    HeldClaim& held = HeldClaims()[database];
    if (held.holders++ > 0)
        return {};
    const DkBaseApi& api = LoadedLibraries().database;
    std::int32_t holder = 0;
    const std::int32_t status = api.DBclaimA(database.c_str(), "analysis", &held.claim, &holder);
    if (status == DK_OK || status == DK_DISK_ERROR)
        return {};
    HeldClaims().erase(database);
    if (status != DK_EXISTS)
        return database + " cannot be claimed for an analysis: " + api.DBlastdetail();
    return database + " is being analysed by " +
           (holder == 0 ? "another process" : "process " + std::to_string(holder));
}

void GiveBack(const std::string& database) {
    const auto held = HeldClaims().find(database);
    if (held == HeldClaims().end() || --held->second.holders > 0)
        return;
    if (held->second.claim != 0)
        LoadedLibraries().database.DBunclaim(held->second.claim);
    HeldClaims().erase(held);
}

}  // namespace

AnalysisClaim::AnalysisClaim(const std::vector<std::string>& databases) {
    for (const std::string& database : databases) {
        refusal_ = Take(database);
        if (!refusal_.empty())
            break;
        claimed_.push_back(database);
    }
    if (!IsHeld())
        for (const std::string& database : std::exchange(claimed_, {}))
            GiveBack(database);
}

AnalysisClaim::~AnalysisClaim() {
    for (const std::string& database : claimed_)
        GiveBack(database);
}

bool WithAnalysisClaim(const std::function<void()>& work) {
    std::vector<std::string> databases;
    for (const DatasetRecord& record : CurrentSelection().datasets)
        databases.push_back(record.database);
    const AnalysisClaim claim(databases);
    if (claim.IsHeld())
        work();
    else
        CurrentPorts().messages->Show(
            MessageIcon::exclamation, "Vorela",
            claim.Refusal() + ".\rNothing was done; try again when it has finished.");
    return claim.IsHeld();
}

}  // namespace vorela
