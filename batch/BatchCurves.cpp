#include "batch/BatchCurves.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "batch/BatchStop.h"
#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/modGeneral.h"
#include "signal/CurveCoverage.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

std::vector<DatasetRecord>& Datasets() {
    return CurrentSelection().datasets;
}

/// Which derived curves of a dataset have to be made.
struct ToMake {
    bool filtered = false;
    bool valve = false;
    bool dravikFlow = false;
    std::string firstMissing;
};

/// Tells how a curve stands and whether it has to be made. One that was made in another way than the
/// parameters say is taken as it is.
bool HasToBeMade(const CurveStanding& curve, ToMake& toMake) {
    if (curve.standing == Standing::missing && toMake.firstMissing.empty())
        toMake.firstMissing = curve.path;
    if (const std::string text = StandingText(curve); !text.empty())
        Say(text + (curve.standing == Standing::madeOtherwise ? "; --recreate makes it anew" : ""));
    return curve.standing == Standing::missing || curve.standing == Standing::incomplete;
}

/// Whether the valve signal gets to its end shows when the cycles have been found.
ToMake CurvesToMake(std::size_t dataset) {
    ToMake toMake;
    const Database database(Datasets()[dataset].database, OpenMode::existing);
    for (const CurveStanding& curve : FilteredCurveStandings(database, dataset))
        toMake.filtered = HasToBeMade(curve, toMake) || toMake.filtered;
    const std::string& name = Datasets()[dataset].dataset;
    toMake.valve = !Item::Find(database, ItemPath(name, curve::valveSignal));
    if (toMake.valve && toMake.firstMissing.empty())
        toMake.firstMissing = ItemPath(name, curve::valveSignal);
    toMake.dravikFlow = HasToBeMade(FilteredFlowStanding(database, dataset), toMake);
    return toMake;
}

/// Everything anew, unless that would replace a recording.
std::vector<ToMake> RecreationPlan(const BatchOptions& options) {
    if (!IsWritable(options.database))
        throw Stop{exit_status::failed, options.database + " is read only: --recreate cannot be done"};
    const CurveChoice& choice = CurrentSelection().choice;
    try {
        RefuseToReplaceRecordings({FilteredPressureName(choice), FilteredFlowName(choice), curve::valveSignal,
                                   DravikFilteredFlowName(choice)});
    } catch (const RunTimeError& refusal) {
        throw Stop{exit_status::failed, "--recreate: " + refusal.description};
    }
    return std::vector<ToMake>(Datasets().size(), ToMake{true, true, true, ""});
}

/// What is to be made in every dataset; nothing in a database that cannot be written but has all curves.
std::vector<ToMake> Plan(const BatchOptions& options) {
    if (options.recreate)
        return RecreationPlan(options);
    std::vector<ToMake> plan;
    for (std::size_t i = 0; i < Datasets().size(); ++i)
        plan.push_back(CurvesToMake(i));
    if (IsWritable(options.database))
        return plan;
    for (const ToMake& toMake : plan)
        if (!toMake.firstMissing.empty())
            throw Stop{exit_status::failed,
                       options.database + " is read only and has no curve " + toMake.firstMissing};
    return std::vector<ToMake>(Datasets().size());
}

void SayFilter() {
    if (CurrentParameters().bandPass == 0)
        return;
    std::string line;
    for (const char c : GetPassBand(CurrentParameters().filterN).text + "\n") {
        if (c != '\n' && c != '\r')
            line += c;
        else if (!line.empty())
            Say(std::exchange(line, {}));
    }
}

bool FindCycles(const Database& database, std::size_t dataset, bool makeSignal, bool writable) {
    ResetDatasetCycles(dataset);
    if (!makeSignal) {
        if (!FindValveCycles(database, dataset))
            return false;
        ToMake ignored;
        if (!HasToBeMade(ValveSignalStanding(database, dataset), ignored) || !writable)
            return true;
    }
    return ReconstructValveCurve(database, dataset, false);
}

}  // namespace

void MakeCurvesAndCycles(const BatchOptions& options,
                         const std::function<void(std::size_t dataset)>& cyclesFound) {
    const std::vector<ToMake> plan = Plan(options);
    const bool writable = IsWritable(options.database);
    if (std::any_of(plan.begin(), plan.end(), [](const ToMake& toMake) { return toMake.filtered; }))
        SayFilter();
    for (std::size_t i = 0; i < plan.size(); ++i)
        if (plan[i].filtered)
            Require(WithDatabase(i, CreateFilteredCurves, false));
    for (std::size_t i = 0; i < plan.size(); ++i) {
        Require(WithDatabase(i, FindCycles, plan[i].valve, writable));
        cyclesFound(i);
    }
    ResetFilterSlots();
    for (std::size_t i = 0; i < plan.size(); ++i)
        if (plan[i].dravikFlow)
            Require(WithDatabase(i, FilterDatasetFlow, false));
    Require(RefreshCommonCurves());
}

}  // namespace vorela
