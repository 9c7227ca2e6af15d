// The state of an import: files with the choices of each, what they would become, and where they go. The
// dialog copies its controls into these structs; everything is decided here.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "dravik/exchange/Choices.h"
#include "dravik/exchange/Plan.h"
#include "dravik/importer/ColumnRoles.h"

namespace dravik {

/// What the user settled about one column; empty: as suggested.
struct ColumnControls {
    std::string source;  ///< name in the file: of another column nothing was settled
    std::optional<Role> role;
    std::string name;
    std::string unit;
    bool convert = false;  ///< a pressure to psi

    bool operator==(const ColumnControls&) const = default;
};

/// The controls of one file as texts; empty: automatic.
struct FileControls {
    std::string separator;  ///< a character, "tab", "blanks"
    std::string decimal;
    std::string encoding;
    std::string headerLine;
    std::string leaveOut;  ///< "3, 10-12"
    std::string nulls;     ///< texts between commas
    std::string time;      ///< names or "#n", between commas
    std::string timeUnit;
    std::string timeFormat;  ///< "%d.%m.%Y %Hh%M"
    std::string dateOrder;   ///< ymd, dmy, mdy
    std::string step;        ///< s (ft)
    std::string fill;        ///< s (ft)
    std::string shift;       ///< s (ft)
    std::string dataset;
    std::string depth;  ///< 8120, 2475m
    std::vector<ColumnControls> columns;

    bool operator==(const FileControls&) const = default;
};

enum class ValveWay : std::uint8_t { recorded, schedule, threshold, times };

struct ValveControls {
    ValveWay way = ValveWay::recorded;
    std::string period;     ///< s
    std::string first;      ///< s; empty: the record's first sample
    std::string curve;      ///< that crosses the threshold; empty: the valve position's
    std::string threshold;  ///< empty: the middle of the curve's range
    std::string hysteresis;
    bool invert = false;
    std::string times;  ///< file

    bool operator==(const ValveControls&) const = default;
};

struct FileEntry {
    std::string path;
    FileControls controls;
};

struct ImportSettings {
    std::vector<FileEntry> files;
    bool join = true;           ///< further files join the first one's dataset
    bool joinExisting = false;  ///< a dataset of that name gets the curves; else it is refused
    std::string database;
    ValveControls valve;
};

/// What a database holds of the datasets that an import names.
struct DatabaseView {
    bool exists = false;
    std::size_t datasets = 0;
    std::string problem;                        ///< it cannot be read, or takes no dataset of that name
    std::map<std::string, TargetGrid> targets;  ///< datasets that are joined
    std::map<std::string, std::vector<std::string>> curves;  ///< of these
};

/// The dataset that a file goes into: the name given, else the file's base name; joined: the first file's.
std::string DatasetOf(const ImportSettings& settings, std::size_t file);
/// A new database beside the first file.
std::string SuggestedDatabase(const ImportSettings& settings);
/// Looks at the database; a file that is not there is a new one. Uses the loaded library.
DatabaseView LookAtDatabase(const ImportSettings& settings);

/// A column as its row of controls shows it.
struct ColumnView {
    std::string source;
    Role role = Role::other;
    std::string name;  ///< of the curve; "" when it is none
    std::string unit;
    bool canConvert = false;
    bool convert = false;
    bool isNumber = false;
    std::string contents;  ///< "number, 3 missing, 1.2 to 8"
};

/// The first lines of a file, cut into cells where it is a table.
struct FirstRows {
    bool isTable = false;
    std::vector<std::vector<std::string>> rows;
};

struct FilePlan {
    std::string path;
    std::string dataset;
    ImportPlan found;  ///< with every column of numbers
    ImportPlan plan;   ///< as it would be imported
    std::vector<ColumnView> columns;
    FirstRows head;
    std::vector<std::string> notes;
    std::vector<std::string> problems;

    // Planned from:
    FileControls controls;
    std::optional<TargetGrid> target;

    bool CanImport() const { return problems.empty(); }
};

struct JobPlan {
    std::vector<FilePlan> files;
    std::vector<std::string> notes;     ///< of the whole
    std::vector<std::string> problems;  ///< that forbid the whole

    bool CanImport() const;
};

/// The choices that controls stand for; a fault is a line that names the control. Without columns.
Choices ChoicesOf(const FileControls& controls, std::vector<std::string>& faults);

/// Plans every file; those of `before` whose controls and target are the same are taken over. `progress` as
/// of one pass; ImportStopped. Uses no database.
JobPlan PlanJob(const ImportSettings& settings, const DatabaseView& database, const JobPlan& before,
                const Progress& progress = {});

/// What stands behind "automatic: " in the control of a choice.
struct FoundTexts {
    std::string separator;
    std::string decimal;
    std::string encoding;
    std::string headerLine;
    std::string time;
    std::string timeUnit;
    std::string dateOrder;
    std::string step;
};
FoundTexts FoundOf(const ImportPlan& plan);

/// A plan's line as the dialog says it: its controls in place of the tool's options.
std::string InWordsOfDialog(std::string text);

/// Whether a file is a database, by its content.
bool IsDatabaseFile(const std::string& path);

}  // namespace dravik
