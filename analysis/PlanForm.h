// The dialog of a plan as texts: which boxes there are, what stands in them at first, and their check.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>

#include "analysis/PlanTables.h"
#include "general/RangeCheck.h"

namespace vorela {

enum class PlanGroup { interval, below, well, tools, test };
inline constexpr std::size_t planGroupCount = 5;

/// One control of the dialog, in the order of the keys. The input's meaning is its tool tip.
struct PlanBox {
    PlanGroup group;
    const char* input;  ///< name of the PlanField, or "wanted"
    const char* caption;
    const char* unit;
};
std::span<const PlanBox> PlanBoxes();
/// The caption of a group.
const char* PlanGroupName(PlanGroup group);
/// objectName of the control of an input: "txt" and the name with a capital.
std::string PlanControlName(const std::string& input);
/// The meaning of an input, with its range.
std::string PlanMeaning(const std::string& input);

/// Texts by the inputs' names; the types of spinner and valve as their numbers.
using PlanForm = std::map<std::string, std::string>;

/// What stands in the boxes when the dialog opens: the texts that were kept last, also those which the check
/// refuses; before that the parameters, before them the defaults. Permeability and skin begin empty.
PlanForm ShowPlan();
/// The text of the parameter that holds the same as an input, of the first interval; "" where there is none
/// or it was never set.
std::string PlanParameterText(const PlanField& field);
/// Checks in the order of the boxes, then all together. On success the inputs are complete; otherwise the
/// refusal names the control.
std::optional<Refusal> ValidatePlan(const PlanForm& form, PlanInputs& inputs);
/// Keeps the texts of a form that was accepted. Step "Writing parameters".
void KeepPlan(const PlanForm& form);

/// All of a plan for clipboard and file: inputs, summary, the tables and the messages, an empty row between.
TextRows PlanReport(const PlanForm& form, const PlanResult& plan, const std::vector<PlanPoint>& points);

}  // namespace vorela
