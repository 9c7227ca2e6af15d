#include "dravik/importer/modImport.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <utility>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/DatasetImport.h"
#include "dravik/exchange/ExchangeError.h"
#include "dravik/importer/ColumnSettler.h"
#include "dravik/importer/ValveSettings.h"
#include "general/NumberText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

constexpr std::size_t shownRows = 25;
constexpr std::size_t shownColumns = 256;
constexpr std::size_t shownCharacters = 120;  // bytes of a cell

std::string ShownSeparator(const std::string& separator) {
    return separator == "\t" ? "tab" : separator;
}

std::string ShownCell(std::string_view cell) {
    if (cell.size() <= shownCharacters)
        return std::string(cell);
    std::size_t end = shownCharacters;
    while (end > 0 && (static_cast<unsigned char>(cell[end]) & 0xC0) == 0x80)
        --end;
    return std::string(cell.substr(0, end)) + "...";
}

FirstRows FirstRowsOf(const ImportPlan& plan, const std::string& encoding) {
    FirstRows head;
    try {
        const TextFile file(plan.file, encoding);
        if (plan.reading.open) {
            head.isTable = true;
            const std::unique_ptr<RowReader> reader = plan.reading.open(file, false);
            for (Row row; head.rows.size() < shownRows && reader->Next(row);) {
                head.rows.emplace_back();
                for (std::size_t i = 0; i < std::min(row.cells->size(), shownColumns); ++i)
                    head.rows.back().push_back(ShownCell((*row.cells)[i]));
            }
        } else {
            LineReader reader(file);
            for (std::string_view line; head.rows.size() < shownRows && reader.Next(line);)
                head.rows.push_back({ShownCell(line)});
        }
    } catch (const ExchangeError&) {
        // The plan has it among its problems.
    }
    return head;
}

bool SameTarget(const std::optional<TargetGrid>& a, const std::optional<TargetGrid>& b) {
    if (!a || !b)
        return a.has_value() == b.has_value();
    return a->indexKind == b->indexKind && a->step == b->step && a->firstIndex == b->firstIndex &&
           a->start == b->start && a->hasStart == b->hasStart;
}

/// Without what does not change how the file is read.
FileControls ReadingOf(FileControls controls) {
    controls.columns.clear();
    controls.dataset.clear();
    controls.depth.clear();
    return controls;
}

/// Plans the files of a job, one after the other: the first of a dataset gives the grid of those behind it.
class JobPlanner {
  public:
    JobPlanner(const ImportSettings& settings, const DatabaseView& database, const JobPlan& before,
               const Progress& progress)
        : settings_(settings), database_(database), before_(before), progress_(progress) {}

    JobPlan Run() {
        for (std::size_t i = 0; i < settings_.files.size(); ++i)
            job_.files.push_back(PlanFile(i));
        CheckDatasets();
        CheckCurveNames();
        if (!database_.problem.empty())
            job_.problems.push_back(database_.problem);
        if (settings_.database.empty())
            job_.problems.emplace_back("Database: no file is named");
        if (settings_.files.empty())
            job_.problems.emplace_back("no files");
        CheckValve(settings_.valve, job_);
        NoteMissingDepths();
        return std::move(job_);
    }

  private:
    /// The grid that a file has to join; nothing where it makes the dataset.
    std::optional<TargetGrid> TargetOfFile(std::size_t i, const std::string& dataset) const {
        const auto existing = database_.targets.find(dataset);
        if (existing != database_.targets.end())
            return existing->second;
        if (!settings_.join || i == 0 || job_.files.front().plan.grid.rows == 0)
            return std::nullopt;
        return TargetOf(job_.files.front().plan);
    }

    FilePlan PlanFile(std::size_t i) {
        const FileEntry& entry = settings_.files[i];
        FilePlan file;
        file.path = entry.path;
        file.controls = entry.controls;
        file.dataset = DatasetOf(settings_, i);
        file.target = TargetOfFile(i, file.dataset);
        Choices choices = ChoicesOf(entry.controls, file.problems);
        // A dataset that is joined has its depth.
        if (file.target)
            choices.depth.reset();
        choices.target = file.target;
        if (file.target)
            choices.indexKind = file.target->indexKind;
        if (!settings_.join)
            taken_.clear();
        if (file.problems.empty())
            PlanWith(std::move(choices), file);
        return file;
    }

    void PlanWith(Choices choices, FilePlan& file) {
        const FilePlan* same = TakenOver(file);
        if (same != nullptr) {
            file.found = same->found;
            file.head = same->head;
        } else {
            Choices reading = choices;
            reading.depth.reset();
            file.found = PlanImport(file.path, reading, progress_);
            file.head = FirstRowsOf(file.found, choices.encoding);
        }
        NoteSecondLevel(file);
        file.columns = ColumnSettler(file.controls, settings_.valve.way).Views(file.found, taken_);
        choices.curves = ColumnSettler::ChoicesOf(file.columns);
        if (file.found.grid.rows == 0 || choices.curves.empty())
            file.plan = file.found;
        else if (same != nullptr && SameChoices(*same, file))
            file.plan = same->plan;
        else
            file.plan = PlanAgain(file.found, choices, progress_);
        Tell(choices, file);
    }

    /// Two levels that are joined by mistake are one wrong level.
    void NoteSecondLevel(FilePlan& file) {
        std::vector<Role> own;
        SuggestRoles(file.found, own);
        for (const Role role : {Role::pressure, Role::flow}) {
            const auto has = [role](const std::vector<Role>& roles) {
                return std::find(roles.begin(), roles.end(), role) != roles.end();
            };
            if (has(own) && has(taken_))
                file.notes.push_back(std::string("a file before it has a ") + RoleText(role) +
                                     " too: if they are of two levels, make each file a dataset of its own");
        }
    }

    /// The same file, read in the same way.
    const FilePlan* TakenOver(const FilePlan& file) const {
        for (const FilePlan& other : before_.files) {
            if (other.path == file.path && SameTarget(other.target, file.target) &&
                ReadingOf(other.controls) == ReadingOf(file.controls) && !other.found.file.empty() &&
                IsCurrent(other.found))
                return &other;
        }
        return nullptr;
    }

    static bool SameChoices(const FilePlan& a, const FilePlan& b) {
        const auto same = [](const ColumnView& x, const ColumnView& y) {
            return x.role == y.role && x.name == y.name && x.unit == y.unit && x.convert == y.convert;
        };
        return a.controls.depth == b.controls.depth &&
               std::equal(a.columns.begin(), a.columns.end(), b.columns.begin(), b.columns.end(), same);
    }

    void Tell(const Choices& choices, FilePlan& file) {
        NoteMissingUnits(file);
        for (const std::string& note : file.plan.notes)
            file.notes.push_back(InWordsOfDialog(note));
        for (const std::string& problem : file.plan.problems)
            file.problems.push_back(InWordsOfDialog(problem));
        if (choices.curves.empty() && file.found.grid.rows > 0)
            file.problems.emplace_back("no column is taken");
        // The names that the plan made of those asked for.
        for (std::size_t i = 0; i < file.columns.size() && i < file.plan.columns.size(); ++i) {
            if (file.plan.columns[i].role == ColumnRole::curve)
                file.columns[i].name = file.plan.columns[i].name;
        }
    }

    /// The analysis takes a number without unit for one in its own.
    static void NoteMissingUnits(FilePlan& file) {
        for (const ColumnView& column : file.columns) {
            const bool isPressure = column.role == Role::pressure;
            if ((isPressure || column.role == Role::flow) && column.unit.empty())
                file.notes.push_back(column.source + " has no unit: taken for " +
                                     (isPressure ? "psi" : "rps") + " in the analysis (Unit)");
        }
    }

    void CheckDatasets() {
        std::set<std::string> names;
        for (std::size_t i = 0; i < job_.files.size(); ++i) {
            FilePlan& file = job_.files[i];
            if (settings_.join && i > 0)
                continue;
            if (!names.insert(file.dataset).second)
                file.problems.push_back("Dataset \"" + file.dataset + "\" is the name of another file's too");
            try {
                CheckDatasetName(file.dataset);
            } catch (const DatasetError& error) {
                file.problems.push_back(std::string("Dataset: ") + error.what());
            }
        }
    }

    void NoteMissingDepths() {
        std::map<std::string, bool> hasDepth;
        for (const FilePlan& file : job_.files) {
            const bool isLevel = file.plan.grid.rows > 0 && file.plan.grid.indexKind == DK_INDEX_TIME;
            bool& has = hasDepth.emplace(file.dataset, !isLevel).first->second;
            has = has || file.plan.depth || database_.targets.contains(file.dataset) ||
                  std::any_of(file.columns.begin(), file.columns.end(), [](const ColumnView& column) {
                      return column.name == CurveOfRole(Role::depth);
                  });
        }
        for (const auto& [dataset, has] : hasDepth) {
            if (!has)
                job_.notes.push_back("dataset " + dataset +
                                     " gets no depth, by which levels are sorted (Depth)");
        }
    }

    /// Curves of files that go into one dataset.
    void CheckCurveNames() {
        std::map<std::string, std::map<std::string, std::string>> owners;
        for (const auto& [dataset, curves] : database_.curves) {
            for (const std::string& curve : curves)
                owners[dataset][curve] = "dataset " + dataset;
        }
        for (FilePlan& file : job_.files) {
            if (file.plan.depth)
                owners[file.dataset].emplace(CurveOfRole(Role::depth), "the Depth given");
            for (const ColumnView& column : file.columns) {
                if (column.name.empty())
                    continue;
                const auto [owner, isNew] =
                    owners[file.dataset].emplace(column.name, std::filesystem::path(file.path).filename());
                if (!isNew && owner->second != std::filesystem::path(file.path).filename())
                    file.problems.push_back("curve " + column.name + " is in " + owner->second +
                                            " too: give it another name, leave it out, or make each file a "
                                            "dataset of its own");
            }
        }
    }

    const ImportSettings& settings_;
    const DatabaseView& database_;
    const JobPlan& before_;
    const Progress& progress_;
    JobPlan job_;
    std::vector<Role> taken_;
};

}  // namespace

bool JobPlan::CanImport() const {
    return problems.empty() && !files.empty() &&
           std::all_of(files.begin(), files.end(), [](const FilePlan& file) { return file.CanImport(); });
}

std::string DatasetOf(const ImportSettings& settings, std::size_t file) {
    const FileEntry& entry = settings.files[settings.join ? 0 : file];
    return entry.controls.dataset.empty() ? std::filesystem::path(entry.path).stem().string()
                                          : entry.controls.dataset;
}

std::string SuggestedDatabase(const ImportSettings& settings) {
    if (settings.files.empty())
        return {};
    std::filesystem::path path = settings.files.front().path;
    return path.replace_extension(".dkb").string();
}

DatabaseView LookAtDatabase(const ImportSettings& settings) {
    DatabaseView view;
    std::error_code ignored;
    view.exists = std::filesystem::exists(settings.database, ignored);
    const std::filesystem::path folder = std::filesystem::path(settings.database).parent_path();
    if (!view.exists && !folder.empty() && !std::filesystem::is_directory(folder, ignored))
        view.problem = settings.database + ": there is no such folder";
    if (!view.exists)
        return view;
    try {
        const Database database = OpenDatabase(settings.database, OpenMode::readOnly);
        view.datasets = DatasetsOf(database).size();
        for (std::size_t i = 0; i < settings.files.size(); ++i) {
            const std::string dataset = DatasetOf(settings, i);
            if (!HasDataset(database, dataset) || view.targets.contains(dataset))
                continue;
            if (!settings.joinExisting)
                throw DatasetError(settings.database + ": dataset \"" + dataset +
                                   "\" exists already: give another name, or let the curves join it");
            view.targets[dataset] = TargetOf(database, dataset);
            for (const NamedItem& curve : CurvesOf(database, dataset))
                view.curves[dataset].push_back(curve.name);
        }
    } catch (const DatasetError& error) {
        view.problem = error.what();
    } catch (const vorela::DatabaseError& error) {
        view.problem = FailureText(error);
    }
    return view;
}

JobPlan PlanJob(const ImportSettings& settings, const DatabaseView& database, const JobPlan& before,
                const Progress& progress) {
    return JobPlanner(settings, database, before, progress).Run();
}

FoundTexts FoundOf(const ImportPlan& plan) {
    FoundTexts found;
    found.separator = ShownSeparator(plan.separator);
    found.decimal = plan.separator.empty() ? "" : std::string(1, plan.decimal);
    found.encoding = plan.encoding;
    found.headerLine = plan.headerLines > 0 ? std::to_string(plan.preambleLines + 1) : "none";
    for (const std::string& column : plan.timeColumns)
        found.time += (found.time.empty() ? "" : " + ") + column;
    found.timeUnit = plan.timeUnit;
    found.dateOrder = plan.dateOrder;
    if (plan.grid.rows > 0)
        found.step = IndexSpan(plan.grid.step, plan.grid.indexKind);
    return found;
}

std::string InWordsOfDialog(std::string text) {
    // The longer names first: one is the beginning of another.
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 24> words{{
        {"--separator C", "Separator"},
        {"--separator", "Separator"},
        {"--decimal", "Decimal sign"},
        {"--encoding", "Encoding"},
        {"--header-line", "Line of names"},
        {"--leave-out", "Leave out lines"},
        {"--time-unit", "Time unit"},
        {"--time-format FMT", "Time format"},
        {"--time-format", "Time format"},
        {"--time COL,COL", "Time column"},
        {"--time COL", "Time column"},
        {"--time", "Time column"},
        {"--date-order", "Date order"},
        {"--null", "No value"},
        {"--curves COL=NAME renames", "its Curve cell gives another name"},
        {"--curves LEVEL:mH2O", "Unit mH2O"},
        {"--curves COL:UNIT", "Unit"},
        {"--curves", "Role"},
        {"--convert", "To psi"},
        {"--step CS", "Step"},
        {"--step", "Step"},
        {"--fill", "Fill gaps"},
        {"--shift", "Shift"},
        {"--depth", "Depth"},
    }};
    // A step of the tool counts hundredths, the dialog's seconds.
    const std::string step = "--step ";
    for (std::size_t at = text.find(step); at != std::string::npos; at = text.find(step, at + 1)) {
        const std::size_t begin = at + step.size();
        const std::size_t end = std::min(text.find_first_not_of("0123456789", begin), text.size());
        if (const auto value = vorela::StrictNumber(text.substr(begin, end - begin)))
            text.replace(at, end - at, "Step " + vorela::ShortestText(*value / indexPerUnit));
    }
    for (const auto& [option, control] : words) {
        for (std::size_t at = text.find(option); at != std::string::npos;
             at = text.find(option, at + control.size()))
            text.replace(at, option.size(), control);
    }
    return text;
}

bool IsDatabaseFile(const std::string& path) {
    constexpr std::string_view mark("SQLite format 3\0", 16);
    std::array<char, mark.size()> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), bytes.size());
    return file && std::string_view(bytes.data(), bytes.size()) == mark;
}

}  // namespace dravik
