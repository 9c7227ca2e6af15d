#include "follow/ActionQueue.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "db/AnalysisClaim.h"
#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/InputChoice.h"
#include "db/modDravik.h"
#include "general/DelimitedText.h"
#include "general/Ports.h"
#include "signal/SelectedDatasets.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"

namespace vorela {
namespace {

/// Passes that take up again what failed when the recording had ended already.
constexpr int mostPassesAfterTheEnd = 10;

std::optional<std::size_t> FirstPending() {
    const auto& datasets = CurrentSelection().datasets;
    for (std::size_t i = 0; i < datasets.size(); ++i)
        if (datasets[i].IsRecorded())
            return i;
    return std::nullopt;
}

/// All three run even when one fails: a spinner filter that cannot be had must not hold up the valve curve.
bool ExtendCurves(const Database& database, std::size_t index) {
    const bool filtered = CreateFilteredCurves(database, index, true);
    const bool valve = ReconstructValveCurve(database, index, true);
    const bool flow = FilterDatasetFlow(database, index, true);
    return filtered && valve && flow;
}

std::vector<std::string> DerivedCurves() {
    const CurveChoice& choice = CurrentSelection().choice;
    return {FilteredPressureName(choice), FilteredFlowName(choice), curve::valveSignal,
            DravikFilteredFlowName(choice)};
}

/// Curves that the extension has made are known from now on, and are told once.
void LearnOfNewCurves(const Database& database, std::size_t index) {
    const auto known = [&](const std::string& name) {
        return std::ranges::count(CurrentSelection().datasets[index].curves, name) > 0;
    };
    std::vector<std::string> absent = DerivedCurves();
    std::erase_if(absent, known);
    if (absent.empty() || !RefreshCommonCurves(&database))
        return;
    std::erase_if(absent, std::not_fn(known));
    if (!absent.empty())
        CurrentPorts().status->SetText("Following " + CurrentSelection().datasets[index].dataset + " made " +
                                       Joined(absent, ", "));
}

/// The end of what a pass has worked on, by database and dataset; of one selection.
struct Followed {
    std::uint64_t generation = 0;
    std::map<std::pair<std::string, std::string>, std::int32_t> ends;
};

Followed& CurrentlyFollowed() {
    static Followed followed;
    if (followed.generation != CurrentSelection().generation)
        followed = {CurrentSelection().generation, {}};
    return followed;
}

void NoteFollowed(const DatasetRecord& record) {
    CurrentlyFollowed().ends[{record.database, record.dataset}] = record.extentB;
}

/// The presentation is read before the extent: when it says that the recording has ended, the extent is the
/// last one.
bool ExtendToRecorded(const Database& database, std::size_t index) {
    auto& datasets = CurrentSelection().datasets;
    Presentation presentation;
    if (!GetPresentationInformation(database, datasets, index, presentation))
        return false;
    const Growth growth = UpdateDatasetInformation(database, datasets, index);
    DatasetRecord& record = datasets[index];
    // Nothing new and nothing owed from a pass that failed: the pass does nothing further for this dataset.
    if (growth == Growth::none && !record.extensionOwed) {
        NoteFollowed(record);
        return true;
    }
    record.extensionOwed = true;
    if (growth == Growth::failed)
        return false;
    // The selection told why nothing is derived; what is recorded is still followed.
    record.extensionOwed = ChoiceConflict().empty() && !ExtendCurves(database, index);
    if (!record.extensionOwed)
        NoteFollowed(record);
    LearnOfNewCurves(database, index);
    return !datasets[index].extensionOwed;
}

void RefreshSelectedTab(const ActionQueueView& view) {
    const int tab = view.selectedTab();
    if (tab < firstDatasetTab) {
        view.refreshGrid(tab);
        return;
    }
    const auto dataset = static_cast<std::size_t>(tab - firstDatasetTab);
    const auto& datasets = CurrentSelection().datasets;
    if (dataset < datasets.size() && datasets[dataset].IsRecorded())
        view.redrawPlot(dataset);
}

/// A pass that another process's analysis holds up says so until one goes through. True when the claim is
/// held.
bool ToldOfClaim(const AnalysisClaim& claim) {
    static std::string told;
    StatusPort& status = *CurrentPorts().status;
    if (!claim.IsHeld() && told != claim.Refusal())
        status.SetText(claim.Refusal() + "; this pass is made up for later");
    else if (claim.IsHeld() && !told.empty() && status.Text().starts_with(told))
        status.SetText("");
    told = claim.Refusal();
    return claim.IsHeld();
}

}  // namespace

std::optional<std::int32_t> FollowedTo(const DatasetRecord& record) {
    const auto& ends = CurrentlyFollowed().ends;
    const auto found = ends.find({record.database, record.dataset});
    return found == ends.end() ? std::nullopt : std::optional(found->second);
}

bool ExtendDataset(std::size_t index) {
    const AnalysisClaim claim({CurrentSelection().datasets[index].database});
    if (!ToldOfClaim(claim)) {
        CurrentSelection().datasets[index].extensionOwed = true;
        return false;
    }
    const bool extended = WithDatabase(index, ExtendToRecorded);
    if (index >= CurrentSelection().datasets.size())
        return false;
    DatasetRecord& record = CurrentSelection().datasets[index];
    record.failedPasses = extended ? 0 : record.failedPasses + 1;
    // The last samples are owed like all others: a dataset whose recording has ended stays pending until it
    // has them, or until it is plain that the fault does not pass.
    if (!extended && !record.IsRecorded() && record.failedPasses < mostPassesAfterTheEnd)
        record.pendingFlag = 1;
    return extended;
}

bool RunActionQueuePass(const ActionQueueView& view) {
    const std::optional<std::size_t> pending = FirstPending();
    if (!pending)
        return true;
    const bool extended = ExtendDataset(*pending);
    if (!CurrentSelection().datasets[*pending].IsRecorded())
        view.switchTimer(false);
    RefreshSelectedTab(view);
    // The pass switches the timer off with the dataset whose recording ended; another one that is still being
    // recorded gets its turn from the next tick on.
    if (FirstPending())
        view.switchTimer(true);
    return extended;
}

}  // namespace vorela
