// The rows of a delimited table: what is a row, what is left out, what forbids the import.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/Head.h"
#include "dravik/exchange/PlainStepper.h"
#include "dravik/exchange/Records.h"
#include "dravik/exchange/RowReader.h"

namespace dravik {

struct DelimitedLayout {
    char separator = ',';
    char quote = '"';
    std::size_t width = 0;
    std::vector<CellKind> kinds;                   ///< of the columns in the head; text: of no kind
    std::vector<std::vector<std::string>> header;  ///< cells of header lines, left out when they come again
    std::vector<std::size_t> timeColumns;
    Place firstRow;
};

class DelimitedRows final : public RowReader {
  public:
    DelimitedRows(const TextFile& file, DelimitedLayout layout, CellRules rules,
                  std::vector<LineRange> leaveOut);
    bool Next(Row& row) override;
    void Seek(const Place& place) override;
    Place Here() const override { return records_.Here(); }

  private:
    /// A line that is no row; whether that matters shows further down.
    struct Strange {
        std::size_t line = 0;
        std::string problem;
        bool withoutTime = false;
        bool tooShort = false;
    };
    enum class Verdict { row, leftOut, strange };

    bool NextPlain(Row& row);
    bool HasNumbersAtTimes(const Row& row) const;
    void KeepLength(std::size_t bytes);
    Verdict Judge(const Record& record, Row& row);
    Verdict JudgeOther(const Record& record, const Row& row);
    bool FitsOrExceeds(const Record& record);
    bool HoldsRow(const Row& row) const;
    bool HasTime(const Row& row) const;
    bool IsLast() const { return records_.Here().offset >= file_.End(); }
    bool IsCut(const Record& record) const;
    bool IsRepeated(const Record& record);
    bool IsHeaderAgain() const;
    std::optional<std::size_t> ContradictingColumn(const Row& row) const;
    std::string WhyStrange(const Row& row, std::optional<std::size_t> contradicting) const;
    void CloseStrange();
    void CloseStrangeAtEnd();
    void CloseExtraCells();
    bool IsLeftOutByUser(std::size_t line) const;

    const TextFile& file_;
    DelimitedLayout layout_;
    CellRules rules_;
    std::vector<LineRange> leaveOut_;
    RecordReader records_;
    std::vector<std::size_t> numbers_;      ///< columns of that kind
    std::vector<std::size_t> numberTimes_;  ///< of the times
    std::vector<Strange> strange_;
    PlainStepper stepper_;
    std::size_t extraFrom_ = 0;  ///< line of the first row with cells beyond the width
    std::size_t extraRows_ = 0;
    std::size_t shortRows_ = 0;
    std::array<std::size_t, 50> lastLengths_{};  ///< of the last cells of the rows before
    std::size_t lengthsSeen_ = 0;
    std::size_t nextLength_ = 0;
};

}  // namespace dravik
