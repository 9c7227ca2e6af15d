#include "db/CommonCurves.h"

#include <algorithm>

#include "db/DatasetReading.h"
#include "db/modDravik.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* checkingDatasets = "Checking datasets";
constexpr const char* checkingValveCurves = "Checking for Vorela curves";

constexpr const char* noCommonCurves = "There are no common curves in the selected datasets";
constexpr const char* noValveCurve = "Vorela valve curve is not in all datasets";

bool HasCurve(const DatasetRecord& record, const std::string& name) {
    return std::find(record.curves.begin(), record.curves.end(), name) != record.curves.end();
}

std::string UnitOfCurve(const DatasetRecord& record, std::size_t position) {
    return position < record.curveAttributes.size() ? record.curveAttributes[position].unit : std::string();
}

/// Curves that every dataset has, in the order of the first one. The depth curve comes last: the first of the
/// list tells how far a dataset reaches, and a depth curve may hold one sample only.
std::vector<CommonCurve> CommonCurvesOf(const std::vector<const DatasetRecord*>& records) {
    std::vector<CommonCurve> common;
    if (records.empty())
        return common;
    const DatasetRecord& first = *records.front();
    for (std::size_t i = 0; i < first.curves.size(); ++i) {
        const std::string& name = first.curves[i];
        if (std::all_of(records.begin(), records.end(),
                        [&](const auto* record) { return HasCurve(*record, name); }))
            common.push_back({name, UnitOfCurve(first, i)});
    }
    std::stable_partition(common.begin(), common.end(),
                          [](const auto& entry) { return entry.name != curve::depth; });
    return common;
}

/// The choice is one of curves: when the list changes, the positions follow the names.
void FollowChosenNames() {
    CurveChoice& choice = CurrentSelection().choice;
    if (const auto position = CommonPosition(choice.pressure))
        choice.pressureIndex = static_cast<std::int16_t>(*position);
    if (const auto position = CommonPosition(choice.flow))
        choice.flowIndex = static_cast<std::int16_t>(*position);
}

}  // namespace

void TakeExtent(DatasetRecord& record, const std::vector<CommonCurve>& common) {
    if (common.empty())
        return;
    const auto found = std::find(record.curves.begin(), record.curves.end(), common.front().name);
    const auto position = static_cast<std::size_t>(found - record.curves.begin());
    if (position >= record.curveAttributes.size())
        return;
    const CurveAttributes& attributes = record.curveAttributes[position];
    // Samples that the record knows of now without a pass having seen them are owed to the derived curves.
    if (record.extentA != attributes.extentFirst || record.extentB != attributes.extentLast)
        record.extensionOwed = true;
    record.extentA = attributes.extentFirst;
    record.extentB = attributes.extentLast;
    record.step = attributes.step;
}

std::optional<std::size_t> CommonPosition(const std::string& name) {
    const auto& common = CurrentSelection().commonCurves;
    const auto found =
        std::find_if(common.begin(), common.end(), [&](const auto& entry) { return entry.name == name; });
    if (found == common.end())
        return std::nullopt;
    return static_cast<std::size_t>(found - common.begin());
}

void TakeExtentsAnew(const Database* held) {
    Selection& selection = CurrentSelection();
    for (DatasetRecord& record : selection.datasets) {
        ReadCurvesAgain(record, held);
        TakeExtent(record, selection.commonCurves);
    }
}

void FollowCommonCurves(const Database* held) {
    const std::vector<CommonCurve> before = CurrentSelection().commonCurves;
    std::string ignored;
    CheckDatasets({}, ignored);
    FollowChosenNames();
    const std::vector<CommonCurve>& now = CurrentSelection().commonCurves;
    if (!now.empty() && (before.empty() || before.front().name != now.front().name))
        TakeExtentsAnew(held);
}

bool CheckDatasets(const std::vector<DatasetRecord>& newRecords, std::string& message) {
    return Attempt(checkingDatasets, false, [&] {
        Selection& selection = CurrentSelection();
        std::vector<const DatasetRecord*> all;
        all.reserve(selection.datasets.size() + newRecords.size());
        for (const DatasetRecord& record : selection.datasets)
            all.push_back(&record);
        for (const DatasetRecord& record : newRecords)
            all.push_back(&record);
        selection.commonCurves = CommonCurvesOf(all);
        if (selection.commonCurves.empty())
            message = noCommonCurves;
        return !selection.commonCurves.empty();
    });
}

bool CheckForValveCurves(const std::vector<DatasetRecord>& newRecords, std::string& message) {
    return Attempt(checkingValveCurves, false, [&] {
        for (const DatasetRecord& record : newRecords) {
            if (!HasCurve(record, curve::valvePosition)) {
                message = noValveCurve;
                return false;
            }
        }
        return true;
    });
}

bool CurveInCommonList(const std::string& name) {
    return CommonPosition(name).has_value();
}

bool RefreshCommonCurves(const Database* held) {
    return Attempt(checkingDatasets, false, [&] {
        std::vector<DatasetRecord>& datasets = CurrentSelection().datasets;
        for (DatasetRecord& record : datasets) {
            if (!ReadCurvesAgain(record, held))
                return false;
        }
        FollowCommonCurves(held);
        for (DatasetRecord& record : datasets)
            TakeExtent(record, CurrentSelection().commonCurves);
        return true;
    });
}

std::vector<std::string> UnitWarnings() {
    std::vector<std::string> lines;
    const auto check = [&](const char* what, const std::string& name, const char* expected) {
        const auto position = CommonPosition(name);
        if (!position)
            return;
        const std::string& unit = CurrentSelection().commonCurves[*position].unit;
        if (unit != expected)
            lines.push_back(std::string(what) + " curve " + name + " is in \"" + unit + "\", not in " +
                            expected + "; nothing is converted");
    };
    check("Pressure", CurrentSelection().choice.pressure, "psi");
    check("Flow", CurrentSelection().choice.flow, "rps");
    return lines;
}

}  // namespace vorela
