// Roles, names and units of a file's columns.
#pragma once

#include <vector>

#include "dravik/importer/modImport.h"

namespace dravik {

/// As suggested, and what the user settled instead.
class ColumnSettler {
  public:
    /// `controls` outlive it.
    ColumnSettler(const FileControls& controls, ValveWay valve) : controls_(controls), valve_(valve) {}

    /// One a column. `taken`: roles that files before it have; those of this one are added.
    std::vector<ColumnView> Views(const ImportPlan& found, std::vector<Role>& taken) const;

    /// Each taken column with its name and unit, by its number.
    static std::vector<CurveChoice> ChoicesOf(const std::vector<ColumnView>& views);

  private:
    const ColumnControls* OwnOf(const ImportPlan& found, std::size_t column) const;
    ColumnView ViewOf(const ImportPlan& found, std::size_t index, Role suggested) const;
    std::string NameOf(const ColumnView& view) const;

    const FileControls& controls_;
    ValveWay valve_;
};

}  // namespace dravik
