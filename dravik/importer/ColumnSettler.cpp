#include "dravik/importer/ColumnSettler.h"

#include <string>
#include <string_view>

#include "dravik/exchange/Units.h"
#include "general/NumberText.h"

namespace dravik {
namespace {

std::string ContentsOf(const PlannedColumn& column) {
    if (column.kind == ColumnKind::empty)
        return "empty";
    std::string text = column.kind == ColumnKind::number ? "numbers"
                       : column.role == ColumnRole::time ? "times"
                                                         : "text";
    if (column.missing > 0)
        text += ", " + std::to_string(column.missing) + " missing";
    if (column.kind == ColumnKind::number)
        text += ", " + vorela::ShortestText(static_cast<float>(column.least)) + " to " +
                vorela::ShortestText(static_cast<float>(column.greatest));
    return text;
}

}  // namespace

std::vector<ColumnView> ColumnSettler::Views(const ImportPlan& found, std::vector<Role>& taken) const {
    std::vector<Role> given;
    for (std::size_t i = 0; i < found.columns.size(); ++i) {
        if (const ColumnControls* own = OwnOf(found, i); own != nullptr && own->role)
            given.push_back(*own->role);
    }
    std::vector<Role> suggested = taken;
    suggested.insert(suggested.end(), given.begin(), given.end());
    const std::vector<Role> roles = SuggestRoles(found, suggested);
    std::vector<ColumnView> views;
    for (std::size_t i = 0; i < found.columns.size(); ++i) {
        views.push_back(ViewOf(found, i, roles[i]));
        if (!CurveOfRole(views.back().role).empty())
            taken.push_back(views.back().role);
    }
    return views;
}

std::vector<CurveChoice> ColumnSettler::ChoicesOf(const std::vector<ColumnView>& views) {
    std::vector<CurveChoice> choices;
    for (std::size_t i = 0; i < views.size(); ++i) {
        const ColumnView& view = views[i];
        if (view.role != Role::time && view.role != Role::leaveOut)
            choices.push_back({"#" + std::to_string(i + 1), view.name, view.unit, view.convert});
    }
    return choices;
}

const ColumnControls* ColumnSettler::OwnOf(const ImportPlan& found, std::size_t column) const {
    if (column >= controls_.columns.size() ||
        controls_.columns[column].source != found.columns[column].source)
        return nullptr;
    return &controls_.columns[column];
}

ColumnView ColumnSettler::ViewOf(const ImportPlan& found, std::size_t index, Role suggested) const {
    const PlannedColumn& column = found.columns[index];
    const ColumnControls* own = OwnOf(found, index);
    ColumnView view;
    view.source = column.source;
    view.isNumber = column.kind == ColumnKind::number;
    view.contents = ContentsOf(column);
    view.role = suggested;
    view.unit = column.unit;
    if (suggested == Role::time)
        return view;
    if (own != nullptr && own->role)
        view.role = *own->role;
    if (own != nullptr && !own->unit.empty())
        view.unit = own->unit;
    if (view.role == Role::leaveOut)
        return view;
    view.name = own != nullptr && !own->name.empty() ? own->name : NameOf(view);
    view.canConvert = PascalsPer(view.unit).has_value();
    view.convert = view.canConvert && own != nullptr && own->convert;
    return view;
}

/// The valve's own name stays free where Vorela's curve is made from it.
std::string ColumnSettler::NameOf(const ColumnView& view) const {
    const bool isSource = view.role == Role::valvePosition && valve_ != ValveWay::recorded;
    const std::string_view name = isSource ? std::string_view() : CurveOfRole(view.role);
    return name.empty() ? view.source : std::string(name);
}

}  // namespace dravik
