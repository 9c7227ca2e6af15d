// The rows of a LAS file's data section, wrapped or not.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/PlainStepper.h"
#include "dravik/exchange/Records.h"
#include "dravik/exchange/RowReader.h"

namespace dravik {

struct LasLayout {
    std::size_t columns = 0;
    char delimiter = ' ';
    bool wrapped = false;
    Place data;
};

class LasRows final : public RowReader {
  public:
    LasRows(const TextFile& file, const LasLayout& layout, CellRules rules, std::vector<LineRange> leaveOut);
    bool Next(Row& row) override;
    void Seek(const Place& place) override;
    Place Here() const override { return reader_.Here(); }

  private:
    bool NextLine(std::string_view& line, Place& place);
    bool NextPlain(Row& row);
    bool GatherCells(Row& row);
    void Split(std::string_view text);
    bool Repair();
    std::vector<std::string> RepairedWords(bool dropTwoPoints) const;

    LasLayout layout_;
    CellRules rules_;
    std::vector<LineRange> leaveOut_;
    LineReader reader_;
    CellSplitter doubleQuotes_;
    CellSplitter singleQuotes_;
    std::vector<std::string_view> cells_;
    std::string text_;
    std::vector<std::string> repaired_;
    PlainStepper stepper_;
    bool ended_ = false;
    bool toldRepair_ = false;
};

}  // namespace dravik
