// The range check shared by all dialogs and cell editors.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vorela {

/// The number in `text` when it is one and lower ≤ number ≤ upper; nothing for an empty text, for a text that
/// is not a number as a whole, and outside the range.
std::optional<double> NumberInRange(std::string_view text, double lower, double upper);

/// A text box as a dialog hands it to its module: the text as it stands in the box, and whether the user
/// changed it. A box that was not changed keeps its stored value (what it shows was rounded), which is still
/// range-checked.
struct BoxText {
    std::string text;
    bool changed = true;
};

/// Checks one box against its range and stores an accepted value in `field` at once. On failure `field` keeps
/// its value and false is returned; showing the message and the focus are the caller's business.
bool CheckRange(const BoxText& box, double lower, double upper, double& field);

/// What a refused dialog needs to know: which control is at fault and what to say.
struct Refusal {
    std::string control;  ///< objectName of the control that gets the focus; empty when none does.
    std::string message;
};

/// Shows a refusal's message in the warning box of the range checks (exclamation icon, application title).
void ShowRefusal(const Refusal& refusal);

}  // namespace vorela
