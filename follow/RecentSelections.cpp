#include "follow/RecentSelections.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "db/CommonCurves.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "general/Ports.h"
#include "general/SettingsFile.h"
#include "general/SettingsTable.h"
#include "general/modGeneral.h"

namespace vorela {
namespace {

constexpr const char* section = "Recent";
constexpr const char* orderKey = "Order";
constexpr const char* stepSelecting = "Selecting recent data";
constexpr std::size_t namedLevels = 3;  // in a caption

/// Entries keep their place in the file; the order tells which one is the latest, so that a selection writes
/// its own entry only.
using Order = std::vector<std::size_t>;

Order ReadOrder() {
    Order order;
    const std::string text = ReadIniString(section, orderKey, "", SettingsFilePath());
    for (const char c : text) {
        const auto slot = static_cast<std::size_t>(c - '1');
        if (c >= '1' && slot < mostRecentSelections && std::ranges::count(order, slot) == 0)
            order.push_back(slot);
    }
    return order;
}

std::string KeyOf(std::size_t slot, const std::string& name) {
    return std::to_string(slot + 1) + name;
}
std::string LevelKey(std::size_t slot, const char* name, std::size_t level) {
    return KeyOf(slot, name + std::to_string(level + 1));
}

// In quotes, which the file takes off: names may begin or end with what it would cut.
void Write(const std::string& key, const std::string& value) {
    if (ReadIniString(section, key, "", SettingsFilePath()) != value)
        WriteIniString(section, key, "\"" + value + "\"", SettingsFilePath());
}

std::string Read(const std::string& key) {
    return ReadIniString(section, key, "", SettingsFilePath());
}

RecentSelection ReadSlot(std::size_t slot) {
    RecentSelection recent{{}, Read(KeyOf(slot, "Pressure")), Read(KeyOf(slot, "Flow"))};
    const std::int32_t count = std::clamp(
        ReadIniInteger(section, KeyOf(slot, "Levels"), 0, SettingsFilePath()), 0, mostIndexedSettings);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        recent.levels.push_back({Read(LevelKey(slot, "Database", i)), Read(LevelKey(slot, "Level", i))});
        if (recent.levels.back().database.empty() || recent.levels.back().dataset.empty())
            return {};
    }
    return recent;
}

void WriteSlot(std::size_t slot, const RecentSelection& recent) {
    for (std::size_t i = 0; i < recent.levels.size(); ++i) {
        Write(LevelKey(slot, "Database", i), recent.levels[i].database);
        Write(LevelKey(slot, "Level", i), recent.levels[i].dataset);
    }
    Write(KeyOf(slot, "Levels"), std::to_string(recent.levels.size()));
    Write(KeyOf(slot, "Pressure"), recent.pressure);
    Write(KeyOf(slot, "Flow"), recent.flow);
}

/// The entry with the same levels, else a free one, else the oldest.
std::size_t SlotFor(const RecentSelection& recent, const Order& order) {
    for (const std::size_t slot : order)
        if (ReadSlot(slot).levels == recent.levels)
            return slot;
    for (std::size_t slot = 0; slot < mostRecentSelections; ++slot)
        if (std::ranges::count(order, slot) == 0)
            return slot;
    return order.back();
}

/// Levels of one database at a time, in their order.
bool AddLevels(const std::vector<RecentLevel>& levels) {
    for (std::size_t i = 0; i < levels.size();) {
        std::vector<std::string> names;
        const std::string& database = levels[i].database;
        for (; i < levels.size() && levels[i].database == database; ++i)
            names.push_back(levels[i].dataset);
        if (!AddNamedDatasets(database, names))
            return false;
    }
    return true;
}

bool CurvesStand(const RecentSelection& recent) {
    for (const std::string& name : {recent.pressure, recent.flow}) {
        if (CurveInCommonList(name))
            continue;
        CurrentPorts().messages->Show(MessageIcon::exclamation, "Corvane Vorela",
                                      "The levels have no curve " + name + " in common any more.");
        return false;
    }
    return true;
}

void TakeCurves(const RecentSelection& recent) {
    const CurveChoice& choice = CurrentSelection().choice;
    ChooseCurves(PreselectedCurve(choice.pressureIndex, recent.pressure),
                 PreselectedCurve(choice.flowIndex, recent.flow));
    WriteDatasetSettings();
    SortDatasets();
}

}  // namespace

std::vector<RecentSelection> RecentSelections() {
    std::vector<RecentSelection> all;
    for (const std::size_t slot : ReadOrder())
        if (RecentSelection recent = ReadSlot(slot); !recent.levels.empty())
            all.push_back(std::move(recent));
    return all;
}

void RememberSelection() {
    const Selection& selection = CurrentSelection();
    if (selection.datasets.empty())
        return;
    RecentSelection recent{{}, selection.choice.pressure, selection.choice.flow};
    for (const DatasetRecord& record : selection.datasets)
        recent.levels.push_back({record.database, record.dataset});
    Order order = ReadOrder();
    const std::size_t slot = SlotFor(recent, order);
    WriteSlot(slot, recent);
    std::erase(order, slot);
    order.insert(order.begin(), slot);
    std::string text;
    for (const std::size_t one : order)
        text += (text.empty() ? "" : ",") + std::to_string(one + 1);
    Write(orderKey, text);
}

std::string RecentCaption(const RecentSelection& recent) {
    std::string caption;
    std::size_t named = 0;
    for (std::size_t i = 0; i < recent.levels.size() && named < namedLevels; ++i, ++named) {
        const RecentLevel& level = recent.levels[i];
        if (i == 0 || level.database != recent.levels[i - 1].database)
            caption +=
                (i == 0 ? "" : "; ") + std::filesystem::path(level.database).filename().string() + ": ";
        else
            caption += ", ";
        caption += level.dataset;
    }
    const std::size_t more = recent.levels.size() - named;
    return more == 0 ? caption : caption + " and " + std::to_string(more) + " more";
}

bool SelectRecent(const RecentSelection& recent) {
    // A file that is not there is asked for before the selection in use is touched.
    for (const RecentLevel& level : recent.levels) {
        std::error_code ignored;
        if (std::filesystem::exists(level.database, ignored))
            continue;
        CurrentPorts().messages->Show(MessageIcon::exclamation, "Corvane Vorela",
                                      "The database is not there:\r" + level.database);
        return false;
    }
    const Selection before = CurrentSelection();
    const bool selected = Attempt(stepSelecting, false, [&] {
        InitialiseDatasetVariables();
        if (!AddLevels(recent.levels) || !CurvesStand(recent))
            return false;
        TakeCurves(recent);
        return true;
    });
    if (!selected)
        CurrentSelection() = before;
    return selected;
}

}  // namespace vorela
