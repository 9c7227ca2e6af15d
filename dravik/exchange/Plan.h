// What an import would make of a file: found from its content, overridden by choices, told in full.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/Grid.h"
#include "dravik/exchange/RowReader.h"
#include "dravik/exchange/TextFile.h"
#include "dravik/exchange/TimeReader.h"

namespace dravik {

enum class ColumnKind : std::uint8_t { number, text, empty };
enum class ColumnRole : std::uint8_t { leftOut, time, curve };

struct PlannedColumn {
    std::string source;  ///< name in the file, without its unit
    std::string name;    ///< of the curve; empty when it is none
    std::string unit;    ///< of the curve, or as the file has it
    ColumnKind kind = ColumnKind::empty;
    ColumnRole role = ColumnRole::leftOut;
    std::size_t missing = 0;
    double least = 0.0;
    double greatest = 0.0;
    bool isCode = false;
    double pascals = 0.0;  ///< of one of its unit, where it becomes psi; 0: the numbers stay
};

/// Rows can be read from here on without those before.
struct Checkpoint {
    Place place;
    TimeReader::State time;
};

/// How the file is read again: the same rules, the same rows.
struct ReadingRules {
    /// `exact`: values are to be stored.
    std::function<std::unique_ptr<RowReader>(const TextFile&, bool exact)> open;
    TimeRule time;
    DateOrder order = DateOrder::ymd;
    std::vector<Checkpoint> checkpoints;  ///< in the order of the file
    double shift = 0.0;                   ///< index units
};

struct RowPassResult;

struct ImportPlan {
    std::string file;
    bool isLas = false;
    std::string encoding;
    std::string separator;  ///< the character; "blanks"
    char decimal = '.';
    char quote = '"';
    std::size_t preambleLines = 0;
    std::size_t headerLines = 0;
    std::vector<PlannedColumn> columns;

    std::vector<std::string> timeColumns;
    std::string timeFormat;  ///< "number" "clock" "date" "date and clock" "epoch"
    std::string timeUnit;
    std::string dateOrder;           ///< empty: no dates
    std::optional<int> zoneMinutes;  ///< of the first row's time, east of Greenwich
    bool clockOnly = false;
    TimeBaseSummary timeBase;
    GridPlan grid;
    std::optional<double> start;  ///< of the recording, Unix seconds; the file may tell none
    std::size_t rows = 0;
    std::size_t droppedRows = 0;
    std::vector<std::string> notes;
    std::vector<std::string> problems;

    std::optional<double> depth;  ///< ft, of a depth curve with a single value
    std::string encodingChoice;
    ReadingRules reading;
    FileVersion version;
    std::shared_ptr<const RowPassResult> pass;  ///< what the rows told; null where none were read

    bool CanImport() const { return problems.empty(); }
};

/// `progress`: called with bytes done and all bytes; false stops the pass (throws ImportStopped).
using Progress = std::function<bool(std::uint64_t done, std::uint64_t all)>;
struct ImportStopped {};

/// One pass over the file. What forbids the import stands in `problems`, all of it; a file that cannot be
/// read at all has one problem.
ImportPlan PlanImport(const std::string& file, const Choices& choices, const Progress& progress = {});

/// Whether the file is the one that was planned.
bool IsCurrent(const ImportPlan& plan);

/// The file of a plan under choices that differ from that plan's in curves, conversion and depth alone: its
/// rows are not read again, unless the file has changed.
ImportPlan PlanAgain(const ImportPlan& before, const Choices& choices, const Progress& progress = {});

}  // namespace dravik
