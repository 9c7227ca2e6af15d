#include "follow/CurveChecks.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "db/AnalysisClaim.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/InputChoice.h"
#include "db/modDravik.h"
#include "follow/ActionQueue.h"
#include "general/modGeneral.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"

namespace vorela {
namespace {

constexpr const char* boxTitle = "Corvane Vorela";

bool Ask(const std::string& text) {
    return CurrentPorts().messages->AskYesNo(boxTitle, text);
}

void OfferFilteredCurves(const SelectDataView& view) {
    if (!FilteredCurvesExist() &&
        Ask("Vorela filtered spinner and pressure curves don't exist in all of the selected datasets.\r\r"
            "Do you want to create the filtered curves in the datasets?"))
        view.showFilteredCurvesDialog();
}

void OfferValveCurve() {
    if (!ValveSignalPresent() &&
        Ask("The Vorela reconstructed valve curve (PVLSIG) doesn't exist in all of the selected datasets.\r\r"
            "Do you want to create the PVLSIG curve in the datasets?"))
        WithAnalysisClaim([] { CreateReconstructedValveCurves(false); });
}

void OfferDravikFilteredFlow() {
    ResetFilterSlots();
    if (!FilteredFlowExists() &&
        Ask("The Dravik filtered flow curve (_f) doesn't exist in all of the selected datasets.\r\r"
            "Do you want to create the curve in the datasets?"))
        WithAnalysisClaim([] { CreateFilteredFlow(false); });
}

void WarnOfDravikFilters() {
    if (CurvesFilteredByDravik())
        CurrentPorts().messages->Show(
            MessageIcon::information, boxTitle,
            "The selected datasets contain pressure and flow curves that have been filtered by Dravik.\r"
            "This can adversely effect the phase angle calculation and distort Vorela's calculated "
            "outputs.\r\r"
            "Corvane recommends all Dravik filters are disabled for subsequent Vorela logs.");
}

std::vector<std::string>& Notes() {
    static std::vector<std::string> notes;
    return notes;
}

/// A curve that ends early may be one that another process is making just now.
std::string ObstacleTo(const Database& database, const AnalysisClaim& claim) {
    if (!IsWritable(database.Path()))
        return " and cannot be written";
    return claim.IsHeld() ? "" : ": " + claim.Refusal() + "; select again when it has finished";
}

/// Curves that an earlier session left before the end of what is recorded, because it was killed or because
/// more was recorded since, are completed by `make` unless there is an obstacle. Tells what became of them.
void Complete(const std::vector<CurveStanding>& curves, const std::string& obstacle,
              const std::function<bool()>& make) {
    const bool anyEndsEarly = std::ranges::count(curves, Standing::incomplete, &CurveStanding::standing) > 0;
    std::string outcome = " ended before the record did and was completed";
    if (!obstacle.empty())
        outcome = " ends before the record does" + obstacle;
    else if (anyEndsEarly && !make())
        outcome = " ends before the record does and could not be completed";
    for (const CurveStanding& curve : curves) {
        if (curve.standing == Standing::incomplete)
            Notes().push_back(curve.path + outcome);
        if (curve.standing == Standing::recorded)
            Notes().push_back(StandingText(curve));
    }
}

/// A derived curve may be filtered once more, but only the derived curves of the choice grow with a
/// recording.
void NoteDerivedInputs() {
    const Selection& selection = CurrentSelection();
    const DatasetRecord& first = selection.datasets.front();
    const DravikDatabase database(first.database);
    if (!database.IsOpen())
        return;
    for (const std::string& name : {selection.choice.pressure, selection.choice.flow}) {
        const std::string made = Item(database, ItemPath(first.dataset, name)).Info().made;
        if (!made.empty())
            Notes().push_back(name + " was itself derived (\"" + made +
                              "\"): it is filtered once more, and does not grow with a recording");
    }
}

bool CompleteCurves(const Database& database, std::size_t index) {
    const AnalysisClaim claim({CurrentSelection().datasets[index].database});
    const std::string obstacle = ObstacleTo(database, claim);
    if (FilteredCurvesExist()) {
        Complete(FilteredCurveStandings(database, index), obstacle,
                 [&] { return CreateFilteredCurves(database, index, false); });
        if (ValveSignalPresent())
            Complete({ValveSignalStanding(database, index)}, obstacle,
                     [&] { return ReconstructValveCurve(database, index, false); });
    }
    if (FilteredFlowExists())
        Complete({FilteredFlowStanding(database, index)}, obstacle,
                 [&] { return FilterDatasetFlow(database, index, false); });
    return true;
}

/// Curves of an earlier session are brought up to the recording here, where the user waits for the selection
/// anyway: the first tick would hold the window for as long as all that was recorded takes. Where the user
/// did not want the curves, nothing is made.
void CatchUpWithRecordings() {
    const bool allThere = FilteredCurvesExist() && ValveSignalPresent() && FilteredFlowExists();
    const auto& datasets = CurrentSelection().datasets;
    for (std::size_t i = 0; i < datasets.size(); ++i) {
        if (!datasets[i].IsRecorded())
            Attempt("Completing curves", false, [&] { return WithDatabase(i, CompleteCurves); });
        else if (allThere)
            ExtendDataset(i);  // reports; what failed is taken up by the next tick
    }
}

// Filtered curves first: the valve curve's cycles are measured on them.
void CheckCurves(const SelectDataView& view) {
    NoteDerivedInputs();
    OfferFilteredCurves(view);
    OfferValveCurve();
    OfferDravikFilteredFlow();
    WarnOfDravikFilters();
    CatchUpWithRecordings();
}

/// The acquisition system's filters lag: a curve that it filtered ends before the motor position of the same
/// record.
bool EndsBeforeValvePosition(const DatasetRecord& record, const CurveChoice& choice) {
    DravikDatabase database(record.database);
    if (!database.IsOpen())
        return false;
    const auto lastIndexOf = [&](const std::string& curve) {
        return Item(database, ItemPath(record.dataset, curve)).Info().extentLast;
    };
    const std::int32_t valveEnd = lastIndexOf(curve::valvePosition);
    const bool ends = lastIndexOf(choice.pressure) < valveEnd || lastIndexOf(choice.flow) < valveEnd;
    Attempt("Tidying up Curves Filtered", [&] { database.Close(); });
    return ends;
}

}  // namespace

bool CurvesFilteredByDravik() {
    return Attempt("Checking filters in curves", false, [] {
        const Selection& selection = CurrentSelection();
        for (const DatasetRecord& record : selection.datasets)
            if (EndsBeforeValvePosition(record, selection.choice))
                return true;
        return false;
    });
}

const std::vector<std::string>& CurveNotes() {
    return Notes();
}

bool SelectData(const SelectDataView& view) {
    return Attempt("Selecting data", false, [&] {
        Notes().clear();
        view.showSelectDialog();
        if (!view.plotDataCheck())
            return true;
        if (ChoiceIsUsable())  // else told once: no offer could be kept
            CheckCurves(view);
        view.updateMainWindow();
        for (const DatasetRecord& record : CurrentSelection().datasets)
            if (record.IsRecorded())
                view.switchTimerOn();
        return true;
    });
}

}  // namespace vorela
