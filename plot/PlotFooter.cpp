#include "plot/PlotFooter.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <utility>

#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/modDravik.h"
#include "general/CheckedMath.h"
#include "general/NumberText.h"
#include "general/Version.h"
#include "general/modGeneral.h"
#include "signal/modParameters.h"

namespace vorela {
namespace {

std::string StartText(std::int32_t unixSeconds) {
    using namespace std::chrono;
    const sys_seconds start{seconds{unixSeconds}};
    const auto day = floor<days>(start);
    const year_month_day date{day};
    const hh_mm_ss time{start - day};
    char text[48];
    std::snprintf(text, sizeof text, "recorded %04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

/// As the curve itself says: the settings of now may be others. A recording in its place says nothing.
std::string FilterText(const DatasetRecord& record) {
    const std::string name = FilteredPressureName(CurrentSelection().choice);
    const DravikDatabase database(record.database);
    if (!database.IsOpen())
        return "";
    const auto item = Item::Find(database, ItemPath(record.dataset, name));
    if (!item)
        return "no filtered curves";
    return item->Info().made.empty() ? name + " as recorded" : item->Info().made;
}

std::string MadeText(const DatasetRecord& record) {
    return Attempt("Writing text to plot", std::string(), [&] { return FilterText(record); });
}

std::string DatabaseText(const DatasetRecord& record) {
    return std::filesystem::path(Trimmed(record.database)).filename().string();
}

std::string DepthText(const DatasetRecord& record) {
    return FormatNumber(record.sortKey) + " ft";
}

std::string RecordedText(const DatasetRecord& record) {
    const std::int32_t start = record.presentation.recordingStart;
    return start != 0 ? StartText(start) : "";
}

std::string PeriodText() {
    return "period " + ShortestText(CurrentParameters().period) + " s";
}

std::string ProgramText() {
    return "Vorela " + PointedVersion(RunningVersion());
}

}  // namespace

std::vector<std::string> FooterItemsOfAll() {
    const std::vector<DatasetRecord>& records = CurrentSelection().datasets;
    std::vector<std::string> items;
    // Part by part, so that the levels stand together.
    const auto addEach = [&](auto&& textOf) {
        for (const DatasetRecord& record : records)
            if (std::string text = textOf(record);
                !text.empty() && std::ranges::find(items, text) == items.end())
                items.push_back(std::move(text));
    };
    addEach(DatabaseText);
    addEach([](const DatasetRecord& record) {
        return Trimmed(record.dataset) + (record.sortKey != nullDepth ? " " + DepthText(record) : "");
    });
    addEach(RecordedText);
    items.push_back(PeriodText());
    addEach(MadeText);
    items.push_back(ProgramText());
    return items;
}

std::vector<std::string> FooterItems(std::size_t dataset) {
    const DatasetRecord& record =
        CheckedAt(CurrentSelection().datasets, static_cast<std::int64_t>(dataset), "modPlot");
    std::vector<std::string> items{DatabaseText(record), Trimmed(record.dataset)};
    if (record.sortKey != nullDepth)
        items.push_back(DepthText(record));
    if (record.presentation.recordingStart != 0)
        items.push_back(RecordedText(record));
    items.push_back(PeriodText());
    items.push_back(MadeText(record));
    items.push_back(ProgramText());
    return items;
}

}  // namespace vorela
