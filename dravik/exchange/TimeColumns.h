// Which columns of a table are its time or depth.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/Head.h"
#include "dravik/exchange/Header.h"
#include "dravik/exchange/TimeReader.h"

namespace dravik {

struct TimeFinding {
    TimeRule rule;
    std::vector<std::string> notes;
    std::vector<std::string> problems;
};

/// The columns of a table that a choice of the user names: by name (unit and case ignored) or "#n". Throws
/// ChoiceError for one that is not there.
std::size_t FindColumn(const std::string& column, const std::vector<NameAndUnit>& names,
                       const std::vector<std::string>& captions);

/// Cells of a column in the head's rows.
class HeadColumns {
  public:
    HeadColumns(const std::vector<NameAndUnit>& names, const std::vector<std::string>& captions,
                const NumberFormat& format)
        : names_(names),
          captions_(captions),
          format_(format),
          cells_(names.size()),
          kinds_(names.size()),
          numbers_(names.size()) {}
    /// Before the first question about the rows.
    void AddRow(const std::vector<std::string>& cells);

    std::size_t Count() const { return names_.size(); }
    const NameAndUnit& Name(std::size_t column) const { return names_[column]; }
    const std::vector<NameAndUnit>& Names() const { return names_; }
    const std::vector<std::string>& Captions() const { return captions_; }
    const NumberFormat& Format() const { return format_; }
    const std::vector<std::string>& Cells(std::size_t column) const { return cells_[column]; }
    CellKind Kind(std::size_t column) const;
    bool Changes(std::size_t column) const;
    /// The cells that are finite numbers.
    const std::vector<double>& Numbers(std::size_t column) const;

  private:
    const std::vector<NameAndUnit>& names_;
    const std::vector<std::string>& captions_;
    NumberFormat format_;
    std::vector<std::vector<std::string>> cells_;
    // found when first asked for
    mutable std::vector<std::optional<CellKind>> kinds_;
    mutable std::vector<std::optional<std::vector<double>>> numbers_;
};

TimeFinding FindTimeColumns(const HeadColumns& head, const Choices& choices);

/// The rule for a column of numbers: unit, epoch. `unit`: as the file states it, may be empty.
void SettleNumberUnit(const HeadColumns& head, std::size_t column, std::string unit, const Choices& choices,
                      TimeFinding& finding);

}  // namespace dravik
