// The first rows of a recording under what its columns become.
#pragma once

#include "dravik/importer/modImport.h"

class QTableWidget;

namespace dravik {

/// Null: an empty table.
void ShowFirstRows(QTableWidget& table, const FilePlan* plan);

}  // namespace dravik
