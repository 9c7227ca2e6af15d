#include "general/RangeCheck.h"

#include "general/NumberText.h"
#include "general/modGeneral.h"

namespace vorela {

std::optional<double> NumberInRange(std::string_view text, double lower, double upper) {
    const std::optional<double> number = StrictNumber(text);
    if (number && lower <= *number && *number <= upper)
        return number;
    return std::nullopt;
}

bool CheckRange(const BoxText& box, double lower, double upper, double& field) {
    if (!box.changed && !Trimmed(box.text).empty())
        return lower <= field && field <= upper;
    const std::optional<double> number = NumberInRange(box.text, lower, upper);
    if (!number)
        return false;
    field = *number;
    return true;
}

void ShowRefusal(const Refusal& refusal) {
    CurrentPorts().messages->Show(MessageIcon::exclamation, applicationTitle, refusal.message);
}

}  // namespace vorela
