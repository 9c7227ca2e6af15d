#include "batch/BatchCurves.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "batch/BatchStop.h"
#include "db/Curves.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "general/modGeneral.h"
#include "signal/modDFilt.h"
#include "signal/modFilteredCurves.h"
#include "signal/modModulator.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

constexpr double indexUnitsPerSecond = 100.0;

std::vector<DatasetRecord>& Datasets() {
    return CurrentSelection().datasets;
}

/// A derived curve as it should be.
struct Expected {
    std::string input;
    std::string output;
    std::string made;  ///< what its description begins with
    double tail;       ///< index units by which it may end before its input does
};

std::vector<Expected> FilteredCurves() {
    const CurveChoice& choice = CurrentSelection().choice;
    const ParameterSet& parameters = CurrentParameters();
    const double tail = parameters.filterN * parameters.period * indexUnitsPerSecond;
    return {{choice.pressure, FilteredPressureName(choice), FilterDescription(), tail},
            {choice.flow, FilteredFlowName(choice), FilterDescription(), tail}};
}

Expected DravikFlow() {
    const CurveChoice& choice = CurrentSelection().choice;
    const ParameterSet& parameters = CurrentParameters();
    return {choice.flow, DravikFilteredFlowName(choice), FilterDefinition(parameters.dFilt, parameters.dLen),
            parameters.dLen * indexUnitsPerSecond};
}

enum class Standing { good, missing, incomplete };

/// How a derived curve stands. One that was made in another way than the parameters say is taken as it is,
/// and told.
Standing StandingOf(const Database& database, const std::string& dataset, const Expected& expected) {
    const auto item = Item::Find(database, ItemPath(dataset, expected.output));
    if (!item)
        return Standing::missing;
    const ItemInfo& info = item->Info();
    if (!info.made.starts_with(expected.made)) {
        Say(item->Path() + " was made by \"" + info.made + "\", the parameters say \"" + expected.made +
            "\"; --recreate makes it anew");
        return Standing::good;
    }
    const Item input(database, ItemPath(dataset, expected.input));
    const double end = info.extentLast + expected.tail + 2.0 * input.Info().step;
    return info.IsEmpty() || end < input.Info().extentLast ? Standing::incomplete : Standing::good;
}

/// Which derived curves of a dataset have to be made.
struct ToMake {
    bool filtered = false;
    bool valve = false;
    bool dravikFlow = false;
    std::string firstMissing;
};

ToMake CurvesToMake(const DatasetRecord& record) {
    const Database database(record.database);
    if (!database.IsOpen())
        throw Stop{};
    ToMake toMake;
    const auto wanted = [&](const Expected& expected) {
        const Standing standing = StandingOf(database, record.dataset, expected);
        if (standing == Standing::missing && toMake.firstMissing.empty())
            toMake.firstMissing = expected.output;
        if (standing == Standing::incomplete)
            Say(ItemPath(record.dataset, expected.output) + " ends before the record does");
        return standing != Standing::good;
    };
    for (const Expected& expected : FilteredCurves())
        toMake.filtered = wanted(expected) || toMake.filtered;
    toMake.valve = !Item::Find(database, ItemPath(record.dataset, curve::valveSignal));
    if (toMake.valve && toMake.firstMissing.empty())
        toMake.firstMissing = curve::valveSignal;
    toMake.dravikFlow = wanted(DravikFlow());
    return toMake;
}

/// What is to be made in every dataset; nothing in a database that cannot be written but has all curves.
std::vector<ToMake> Plan(const BatchOptions& options) {
    if (options.recreate) {
        if (!IsWritable(options.database))
            throw Stop{exit_status::failed, options.database + " is read only: --recreate cannot be done"};
        return std::vector<ToMake>(Datasets().size(), ToMake{true, true, true, ""});
    }
    std::vector<ToMake> plan;
    for (const DatasetRecord& record : Datasets())
        plan.push_back(CurvesToMake(record));
    if (IsWritable(options.database))
        return plan;
    for (std::size_t i = 0; i < plan.size(); ++i)
        if (!plan[i].firstMissing.empty())
            throw Stop{exit_status::failed, options.database + " is read only and dataset " +
                                                Datasets()[i].dataset + " has no curve " +
                                                plan[i].firstMissing};
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

/// The valve signal that is there ends before the last cycle found.
bool ValveSignalIsIncomplete(const DatasetRecord& record) {
    const CycleRecord& cycles = record.cycles;
    if (cycles.count == 0)
        return false;
    const Database database(record.database);
    if (!database.IsOpen())
        throw Stop{};
    const Item item(database, ItemPath(record.dataset, curve::valveSignal));
    return item.Info().validLast < cycles.start[static_cast<std::size_t>(cycles.count) - 1];
}

void FindCycles(std::size_t dataset, bool makeSignal, bool writable) {
    ResetDatasetCycles(dataset);
    if (!makeSignal) {
        Require(FindValveCycles(dataset));
        if (!ValveSignalIsIncomplete(Datasets()[dataset]))
            return;
        Say(ItemPath(Datasets()[dataset].dataset, curve::valveSignal) + " ends before the record does");
        if (!writable)
            return;
    }
    Require(ReconstructValveCurve(dataset, false));
}

}  // namespace

void MakeCurvesAndCycles(const BatchOptions& options) {
    const std::vector<ToMake> plan = Plan(options);
    const bool writable = IsWritable(options.database);
    if (std::any_of(plan.begin(), plan.end(), [](const ToMake& toMake) { return toMake.filtered; }))
        SayFilter();
    for (std::size_t i = 0; i < plan.size(); ++i)
        if (plan[i].filtered)
            Require(CreateFilteredCurves(i, false));
    for (std::size_t i = 0; i < plan.size(); ++i)
        FindCycles(i, plan[i].valve, writable);
    ResetFilterSlots();
    for (std::size_t i = 0; i < plan.size(); ++i)
        if (plan[i].dravikFlow)
            Require(FilterDatasetFlow(i, false));
    Require(RefreshCommonCurves());
}

}  // namespace vorela
