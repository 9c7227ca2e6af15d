// Columns of text for the terminal, control characters made harmless: the first aligned left, the others
// right.
#pragma once

#include <string>
#include <vector>

namespace dravik {

class TextTable {
  public:
    using Row = std::vector<std::string>;
    /// With captions, or without (an empty row).
    explicit TextTable(const Row& captions);
    void Add(const Row& row);
    /// Every row as a line; nothing trails a line's last cell.
    std::string Text() const;

  private:
    std::vector<Row> rows_;
};

}  // namespace dravik
