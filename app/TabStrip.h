// What tab strip and title show of the selection: the grids' tabs and one for each level.
#pragma once

#include <QString>
#include <cstddef>

#include "analysis/modMain.h"
#include "db/DatasetRecord.h"

class QTabBar;

namespace vorela {

/// Tabs count from 1; those of the grids have the numbers of their kinds.
constexpr bool IsTab(int tab, GridKind kind) {
    return tab == static_cast<int>(kind);
}

/// "LEVEL2 (6050 ft)".
QString LevelText(const DatasetRecord& record);
/// "1 level", "3 levels".
QString LevelCountText();

/// One tab for each grid and level. Those that are right already stay as they are.
void FillTabs(QTabBar& strip);
/// Marks the levels that are being recorded, for eyes and for screen readers.
void MarkRecordings(QTabBar& strip);

/// Databases, what tab `tab` shows (of level `shown`, of the interval that is shown), and the program.
QString WindowTitle(int tab, std::size_t shown);

}  // namespace vorela
