#include "dravik/tool/DatasetSource.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "dravik/tool/ToolError.h"

namespace dravik {
namespace {

[[noreturn]] void RefuseCurve(const Database& database, const std::string& dataset, const std::string& name) {
    throw ToolError(database.Path() + ": dataset \"" + dataset + "\" has no curve \"" + name + "\"");
}

}  // namespace

DatasetSource::DatasetSource(const Database& database, const std::string& dataset,
                             const std::vector<std::string>& names) {
    std::vector<NamedItem> all = CurvesOf(database, dataset);
    std::vector<NamedItem> chosen;
    for (const std::string& name : names) {
        const auto found =
            std::find_if(all.begin(), all.end(), [&](const NamedItem& item) { return item.name == name; });
        if (found == all.end())
            RefuseCurve(database, dataset, name);
        chosen.push_back(*found);
    }
    FitGrid(database, dataset, names.empty() ? all : chosen);
}

void DatasetSource::FitGrid(const Database& database, const std::string& dataset,
                            const std::vector<NamedItem>& curves) {
    const NamedItem* leading = nullptr;
    std::int64_t first = std::numeric_limits<std::int64_t>::max();
    std::int64_t last = std::numeric_limits<std::int64_t>::min();
    for (const NamedItem& curve : curves) {
        const ItemInfo& info = curve.information;
        if (!info.IsEmpty()) {
            leading = leading == nullptr ? &curve : leading;
            const ItemInfo& lead = leading->information;
            if (info.step != lead.step || info.indexKind != lead.indexKind ||
                (std::int64_t{info.extentFirst} - lead.extentFirst) % lead.step != 0)
                throw ToolError(database.Path() + ": dataset \"" + dataset + "\": curves " + leading->name +
                                " and " + curve.name +
                                " lie on different grids; --curves exports them one by one");
            first = std::min<std::int64_t>(first, info.extentFirst);
            last = std::max<std::int64_t>(last, info.extentLast);
        }
        curves_.push_back({curve.name, vorela::GetUnitText(info.unitCode), info.scale, info.offset});
        items_.emplace_back(database, CurvePath(dataset, curve.name));
    }
    if (leading == nullptr)
        throw ToolError(database.Path() + ": dataset \"" + dataset + "\" holds no sample of these curves");
    grid_.indexKind = leading->information.indexKind;
    grid_.step = leading->information.step;
    grid_.firstIndex = static_cast<std::int32_t>(first);
    grid_.rowCount = (last - first) / grid_.step + 1;
}

void DatasetSource::Read(std::size_t curve, std::int64_t firstRow, std::int64_t count, float* values,
                         std::uint8_t* present) {
    if (items_[curve].Info().IsEmpty()) {
        std::fill_n(values, count, 0.0F);
        std::fill_n(present, count, std::uint8_t{0});
        return;
    }
    items_[curve].ReadPresent(grid_.IndexOf(firstRow), count, values, present);
}

}  // namespace dravik
