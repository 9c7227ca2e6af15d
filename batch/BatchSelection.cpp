#include "batch/BatchSelection.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "batch/BatchStop.h"
#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/InputChoice.h"
#include "db/modDravik.h"
#include "db/modSelectData.h"
#include "follow/CurveChecks.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "interfaces/DKBase.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

std::vector<DatasetRecord>& Datasets() {
    return CurrentSelection().datasets;
}

bool HasCurve(const DatasetRecord& record, const std::string& name) {
    return std::find(record.curves.begin(), record.curves.end(), name) != record.curves.end();
}

const std::vector<std::string>& CurvesNeeded() {
    static const std::vector<std::string> names{curve::valvePosition, curve::valveCode,
                                                curve::valveChangeTimer, curve::valveTimer};
    return names;
}

std::vector<std::string> DatasetNames(const std::string& databasePath) {
    std::error_code ignored;
    if (!std::filesystem::exists(databasePath, ignored))
        throw Stop{exit_status::failed, databasePath + ": there is no such database"};
    return ItemsOf(Database(databasePath, OpenMode::existing), "");
}

std::string WhyLacking(const Database& database, const std::string& name, const CurveChoice& choice) {
    const auto dataset = Item::Find(database, name);
    if (!dataset || dataset->Info().indexKind != DK_INDEX_TIME)
        return "it is not recorded against time";
    std::vector<std::string> needed{choice.pressure, choice.flow};
    needed.insert(needed.end(), CurvesNeeded().begin(), CurvesNeeded().end());
    for (const std::string& curve : needed)
        if (!Item::Find(database, ItemPath(name, curve)))
            return "it has no curve " + curve;
    return {};
}

/// Why a dataset does not qualify; "" when it does. A damaged one is reported, which tells in the exit status
/// too, and does not keep the others out: nothing.
std::optional<std::string> WhyLeftOut(const Database& database, const std::string& name,
                                      const CurveChoice& choice) {
    return Attempt("Dataset " + name + " is left out", std::optional<std::string>{},
                   [&] { return std::optional(WhyLacking(database, name, choice)); });
}

void SayLeftOut(const std::string& name, const std::string& why) {
    Say("dataset " + name + " is left out: " + why);
}

std::vector<std::string> QualifyingDatasets(const std::string& databasePath, const CurveChoice& choice) {
    std::vector<std::string> names;
    const std::vector<std::string> all = DatasetNames(databasePath);
    const Database database(databasePath, OpenMode::existing);
    for (const std::string& name : all) {
        const std::optional<std::string> why = WhyLeftOut(database, name, choice);
        if (why && why->empty())
            names.push_back(name);
        else if (why)
            SayLeftOut(name, *why);
    }
    if (names.empty())
        throw Stop{exit_status::failed, databasePath + ": no dataset can be analysed"};
    return names;
}

std::vector<std::string> NamedDatasets(const BatchOptions& options) {
    const std::vector<std::string> all = DatasetNames(options.database);
    std::vector<std::string> names;
    for (const std::string& given : options.datasets) {
        const std::string name = Trimmed(given);
        if (std::find(all.begin(), all.end(), name) == all.end())
            throw Stop{exit_status::failed, options.database + ": there is no dataset " + name};
        if (std::find(names.begin(), names.end(), name) != names.end())
            throw Stop{exit_status::badUsage, "dataset " + name + " is named twice"};
        names.push_back(name);
    }
    return names;
}

std::size_t PositionOfCurve(const std::string& name, const char* option) {
    const auto& common = CurrentSelection().commonCurves;
    for (std::size_t i = 0; i < common.size(); ++i)
        if (common[i].name == name)
            return i;
    for (const DatasetRecord& record : Datasets())
        if (!HasCurve(record, name))
            throw Stop{exit_status::failed, "dataset " + record.dataset + " has no curve " + name +
                                                "; another one is chosen with " + option};
    throw Stop{exit_status::failed, "there is no common curve " + name};
}

/// Indices on the command line that name a level or interval which the selection does not have.
void CheckIndices(const BatchOptions& options) {
    const std::size_t levels = Datasets().size();
    const auto refuse = [](const std::string& what, std::size_t have, const char* of) {
        throw Stop{exit_status::badUsage, what + ": there are " + std::to_string(have) + " " + of};
    };
    if (options.level && *options.level > levels)
        refuse("--level " + std::to_string(*options.level), levels, "levels");
    if (options.interval && *options.interval > levels - 1)
        refuse("--interval " + std::to_string(*options.interval), levels - 1, "intervals");
    for (const SettingValue& setting : options.settings)
        if (const auto level = IndexOfKey(setting.key); level && *level >= levels)
            refuse("--set " + setting.section + "." + setting.key, levels, "levels, counted from 0");
}

/// The names of all datasets; nothing when they cannot be had. Without the messages of a failure.
std::optional<std::vector<std::string>> QuietDatasetNames(const std::string& path) {
    try {
        return ItemsOf(Database(path, OpenMode::existing), "");
    } catch (const RunTimeError&) {
        return std::nullopt;
    }
}

/// What a recorder, which makes file, tables and dataset one after the other, still owes; "" for a database
/// that has it all and for a file with which something else is wrong: whoever reads it tells.
std::string StillMissing(const BatchOptions& options) {
    std::error_code absent;
    if (std::filesystem::file_size(options.database, absent) == 0)
        return "it is empty";
    const auto names = absent ? std::nullopt : QuietDatasetNames(options.database);
    if (!names)
        return {};
    if (names->empty())
        return "it has no dataset";
    for (const std::string& wanted : options.datasets)
        if (std::find(names->begin(), names->end(), Trimmed(wanted)) == names->end())
            return "it has no dataset " + wanted;
    return {};
}

}  // namespace

bool WaitForDatasets(const BatchOptions& options, const std::function<bool()>& stopAsked) {
    constexpr timespec pause{0, 200'000'000};
    std::string told;
    for (std::string missing = StillMissing(options); !missing.empty(); missing = StillMissing(options)) {
        if (stopAsked())
            return false;
        if (told != missing)
            Say(options.database + ": " + missing + "; waiting for its recorder");
        told = missing;
        nanosleep(&pause, nullptr);
    }
    return true;
}

void SelectForBatch(const BatchOptions& options) {
    CurveChoice choice = CurrentSelection().choice;
    choice.pressure = options.pressure.value_or(choice.pressure);
    choice.flow = options.flow.value_or(choice.flow);
    const std::vector<std::string> names =
        options.datasets.empty() ? QualifyingDatasets(options.database, choice) : NamedDatasets(options);
    std::vector<DatasetRecord> records;
    Require(ReadDatasets(options.database, names, records));
    Require(AppendDatasets(std::move(records)));
    const std::size_t pressure = PositionOfCurve(choice.pressure, "--pressure");
    const std::size_t flow = PositionOfCurve(choice.flow, "--flow");
    for (const std::string& needed : CurvesNeeded())
        for (const DatasetRecord& record : Datasets())
            if (!HasCurve(record, needed))
                throw Stop{exit_status::failed, "dataset " + record.dataset + " has no curve " + needed};
    ChooseCurves(pressure, flow);
    if (const std::string conflict = ChoiceConflict(); !conflict.empty())
        throw Stop{exit_status::failed, conflict + "; --pressure and --flow choose others"};
    SortDatasets();
    ResizeIntervalArrays();
    CheckIndices(options);
}

void WarnOfInput() {
    for (const std::string& line : UnitWarnings())
        Say(line);
    if (CurvesFilteredByDravik())
        Say("pressure or flow were filtered by the acquisition system, which shifts phase: its filters "
            "should be off");
}

}  // namespace vorela
