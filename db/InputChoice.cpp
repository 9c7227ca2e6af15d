#include "db/InputChoice.h"

#include <utility>

#include "db/DatasetRecord.h"
#include "db/modDravik.h"
#include "general/modGeneral.h"

namespace vorela {

std::string ChoiceConflict() {
    const CurveChoice& choice = CurrentSelection().choice;
    const std::pair<std::string, std::string> derived[] = {
        {FilteredPressureName(choice), "the pressure curve " + choice.pressure},
        {FilteredFlowName(choice), "the flow meter curve " + choice.flow},
        {DravikFilteredFlowName(choice), "the flow meter curve " + choice.flow},
        {curve::valveSignal, "the valve's position codes"}};
    for (const auto& [name, source] : derived)
        for (const auto& [role, chosen] :
             {std::pair("pressure", choice.pressure), {"flow meter", choice.flow}})
            if (chosen == name)
                return name + " is chosen for the " + role +
                       " curve, and it is also what Vorela derives from " + source +
                       ". An input curve is never overwritten: nothing is derived from this choice";
    return {};
}

bool ChoiceIsUsable() {
    const std::string conflict = ChoiceConflict();
    if (conflict.empty())
        return true;
    CurrentPorts().messages->Show(
        MessageIcon::exclamation, applicationTitle,
        conflict +
            ", and no cycles are measured.\r\rChoose the curves that were recorded: File, Select Data...");
    return false;
}

}  // namespace vorela
