// The plan of a LAS file.
#pragma once

#include "dravik/exchange/LasHeader.h"
#include "dravik/exchange/PlanDraft.h"

namespace dravik {

/// Everything but what all rows tell; the header, or nothing when there is nothing to import.
std::optional<LasHeader> PlanLas(PlanDraft& draft);

/// Notes what the header claims about the index and the rows do not bear out.
void CompareLasHeader(const LasHeader& header, PlanDraft& draft);

}  // namespace dravik
