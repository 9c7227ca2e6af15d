// Steps over the plain rows of a file line by line, and knows a row that comes twice.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "dravik/exchange/PlainRows.h"
#include "dravik/exchange/TextFile.h"

namespace dravik {

class PlainStepper {
  public:
    /// `lines` and `rules` outlive the object. The lines are shared with the reader of the format, who reads
    /// what is not plain.
    PlainStepper(const TextFile& file, LineReader& lines, PlainLayout layout, const CellRules& rules)
        : lines_(lines), plain_(file, std::move(layout), rules) {}

    /// The next line as a row, where it is plain, `accepts(row)` and no other than the row before; otherwise
    /// false and nothing has moved.
    template <typename Accepts>
    bool Next(Row& row, const Accepts& accepts) {
        const std::string_view held = lines_.HeldLines();
        row.place = lines_.Here();
        if (!plain_.Scan(held, row) || !accepts(row))
            return false;
        const std::string_view text = held.substr(0, plain_.RowBytes());
        if (Equal(text, heldBefore_.empty() ? std::string_view(textBefore_) : heldBefore_))
            return false;
        heldBefore_ = text;
        lines_.SkipLine(plain_.LineBytes());
        return true;
    }
    /// Bytes of that row's last cell.
    std::size_t LastCellBytes() const { return plain_.LastCellBytes(); }

    /// Before the lines are read otherwise: what they hold will move.
    void ReleaseLines() {
        if (!heldBefore_.empty())
            textBefore_ = std::exchange(heldBefore_, {});
    }
    /// Whether a row that was read otherwise equals the one before; if not, it is the one before from now on.
    bool IsRepeated(std::string_view text) {
        if (Equal(text, textBefore_))
            return true;
        textBefore_ = text;
        return false;
    }
    /// Before reading on from another place.
    void Forget() {
        heldBefore_ = {};
        textBefore_.clear();
    }

  private:
    /// Rows that differ mostly do so in their last character too.
    static bool Equal(std::string_view row, std::string_view before) {
        return row.size() == before.size() && !row.empty() && row.back() == before.back() && row == before;
    }

    LineReader& lines_;
    PlainRows plain_;
    std::string_view heldBefore_;  ///< the row before where the lines still hold it
    std::string textBefore_;       ///< else its text; empty: there is none
};

}  // namespace dravik
