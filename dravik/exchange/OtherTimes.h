// A table may be several beside each other, each with a time of its own.
#pragma once

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/TimeColumns.h"

namespace dravik {

/// Tells further columns of times whose distance from the time that was found changes from row to row: what
/// stands behind them may not belong to it. Forbids the import where such a column has the time's very name,
/// unless the user has chosen the time, or curves before that column only.
void TellOtherTimes(const HeadColumns& head, const Choices& choices, TimeFinding& finding);

}  // namespace dravik
