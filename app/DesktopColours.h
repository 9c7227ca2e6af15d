// What a desktop's theme leaves unreadable.
#pragma once

namespace vorela {

/// Hints in empty fields get a colour between the field's text and its background: not every theme that makes
/// fields dark gives one.
void MakeHintsLegible();

}  // namespace vorela
