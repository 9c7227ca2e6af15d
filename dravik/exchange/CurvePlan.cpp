#include "dravik/exchange/CurvePlan.h"

#include <algorithm>

#include "dravik/exchange/Cells.h"
#include "dravik/exchange/TimeColumns.h"
#include "dravik/exchange/Units.h"

namespace dravik {
namespace {

constexpr const char* depthCurve = "ADPTH";

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/// The capital of a letter of two bytes in UTF-8: Latin with accents, Greek, Cyrillic.
unsigned CapitalOf(unsigned code) {
    const auto between = [&](unsigned first, unsigned last) { return code >= first && code <= last; };
    if ((between(0xE0, 0xFE) && code != 0xF7) || (between(0x3B1, 0x3CB) && code != 0x3C2) ||
        between(0x430, 0x44F))
        return code - 0x20;
    if (between(0x450, 0x45F))
        return code - 0x50;
    if (between(0x3AD, 0x3AF))
        return code - 0x25;
    if (code == 0x3AC || code == 0x3CC)
        return code == 0x3AC ? 0x386 : 0x38C;
    if (between(0x3CD, 0x3CE))
        return code - 0x3F;
    const bool evenIsSmall = between(0x139, 0x148) || between(0x179, 0x17E);
    if (between(0x100, 0x17E) && code != 0x131 && code != 0x138 && code != 0x149)
        return (code % 2 == 0) == evenIsSmall ? code - 1 : code;
    return code;
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    for (std::size_t i = 0; i < upper.size(); ++i) {
        const auto code = static_cast<unsigned char>(upper[i]);
        if (code >= 'a' && code <= 'z')
            upper[i] = static_cast<char>(code - 32);
        if ((code & 0xE0U) != 0xC0 || i + 1 == upper.size())
            continue;
        const unsigned capital =
            CapitalOf((code & 0x1FU) << 6U | (static_cast<unsigned char>(upper[i + 1]) & 0x3FU));
        upper[i] = static_cast<char>(0xC0U | capital >> 6U);
        upper[i + 1] = static_cast<char>(0x80U | (capital & 0x3FU));
    }
    return upper;
}

std::string CutToCharacters(const std::string& text, std::size_t characters) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (!IsContinuation(text[i]) && count++ == characters)
            return text.substr(0, i);
    }
    return text;
}

std::string JoinNames(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i > 0 ? ", " : "") + names[i];
    return text;
}

class CurvePlanner {
  public:
    CurvePlanner(const std::vector<NameAndUnit>& names, const std::vector<std::string>& captions,
                 const std::vector<ColumnStatistics>& statistics, const Choices& choices, ImportPlan& plan)
        : names_(names), captions_(captions), statistics_(statistics), choices_(choices), plan_(plan) {}

    void Run(const std::vector<std::size_t>& timeColumns) {
        Describe();
        for (const std::size_t column : timeColumns)
            plan_.columns[column].role = ColumnRole::time;
        if (choices_.curves.empty())
            TakeAllNumbers();
        else
            TakeChosen();
        CheckTaken();
        TellLeftOut();
        TellUnits();
    }

  private:
    void Note(std::string text) { plan_.notes.push_back(std::move(text)); }
    void Problem(std::string text) { plan_.problems.push_back(std::move(text)); }

    void Describe() {
        for (std::size_t i = 0; i < names_.size(); ++i) {
            const ColumnStatistics& statistics = statistics_[i];
            PlannedColumn column;
            column.source = names_[i].name;
            column.unit = names_[i].unit;
            column.kind = statistics.IsEmpty()    ? ColumnKind::empty
                          : statistics.IsNumber() ? ColumnKind::number
                                                  : ColumnKind::text;
            column.missing = statistics.Nulls();
            column.least = statistics.Least();
            column.greatest = statistics.Greatest();
            column.isCode = statistics.IsCode();
            plan_.columns.push_back(std::move(column));
        }
        for (std::size_t i = 1; i < names_.size(); ++i)
            TakeUnitOfTextColumn(i);
    }

    /// A column Unit of one text gives the unit of the one before.
    void TakeUnitOfTextColumn(std::size_t i) {
        const std::string name = LowerCase(names_[i].name);
        if ((name == "unit" || name == "units") && !statistics_[i].OnlyText().empty() &&
            plan_.columns[i - 1].unit.empty())
            plan_.columns[i - 1].unit = statistics_[i].OnlyText();
    }

    void TakeAllNumbers() {
        for (std::size_t i = 0; i < plan_.columns.size(); ++i) {
            if (plan_.columns[i].role != ColumnRole::time && plan_.columns[i].kind == ColumnKind::number)
                Take(i, {});
        }
    }

    void TakeChosen() {
        for (const CurveChoice& choice : choices_.curves) {
            const std::size_t column = FindColumn(choice.column, names_, captions_);
            if (plan_.columns[column].role == ColumnRole::curve)
                Problem("column " + names_[column].name + " is chosen twice (--curves)");
            else if (plan_.columns[column].kind != ColumnKind::number)
                Problem("column " + names_[column].name + " holds no numbers");
            else
                Take(column, choice);
        }
    }

    void Take(std::size_t index, const CurveChoice& choice) {
        PlannedColumn& column = plan_.columns[index];
        column.role = ColumnRole::curve;
        if (!choice.unit.empty())
            column.unit = choice.unit;
        const std::string source = choice.name.empty() ? column.source : choice.name;
        column.name = CurveName(source, taken_);
        taken_.push_back(column.name);
        if (column.name != UpperCase(source))
            Note("\"" + source + "\" -> " + column.name);
        const std::optional<double> pascals = PascalsPer(column.unit);
        if (pascals && (choices_.convert || choice.convert)) {
            Note(column.name + ": " + column.unit + " becomes psi");
            column.pascals = *pascals;
            column.unit = "psi";
        } else if (pascals) {
            pressures_.push_back(column.name + " (" + column.unit + ")");
        }
    }

    void CheckTaken() {
        for (std::size_t i = 0; i < plan_.columns.size(); ++i) {
            if (plan_.columns[i].role != ColumnRole::curve)
                continue;
            const ColumnStatistics& statistics = statistics_[i];
            const std::string where = "column " + plan_.columns[i].source;
            if (const auto& text = statistics.FirstText())
                Problem("line " + std::to_string(text->line) + ": " + QuotedCell(text->cell) + " in " +
                        where + " is no number (--null " + text->cell.substr(0, 20) + ", or --leave-out " +
                        std::to_string(text->line) + ")");
            if (const auto& beyond = statistics.BeyondSingle())
                Problem("line " + std::to_string(beyond->line) + ": " + QuotedCell(beyond->cell) + " in " +
                        where + " is beyond single precision");
            if (const auto& nines = statistics.SuspectedNull())
                Note(where + " holds " + nines->cell + " in " + std::to_string(statistics.SuspectedNulls()) +
                     " rows, taken as a value (--null " + nines->cell + " makes it none)");
        }
        if (taken_.empty())
            Problem("no column of numbers beside the time" + FirstTextBesideTime());
    }

    /// Why a column of what a reader takes for numbers is none: "1'250.5".
    std::string FirstTextBesideTime() const {
        for (std::size_t i = 0; i < plan_.columns.size(); ++i) {
            const auto& text = statistics_[i].FirstText();
            if (plan_.columns[i].role == ColumnRole::leftOut && text)
                return ": line " + std::to_string(text->line) + ": " + QuotedCell(text->cell) +
                       " in column " + plan_.columns[i].source + " is no number";
        }
        return {};
    }

    void TellLeftOut() {
        std::vector<std::string> texts;
        std::vector<std::string> times;
        std::vector<std::string> empties;
        std::vector<std::string> unwanted;
        for (std::size_t i = 0; i < plan_.columns.size(); ++i) {
            const PlannedColumn& column = plan_.columns[i];
            if (column.role != ColumnRole::leftOut)
                continue;
            const auto& text = statistics_[i].FirstText();
            (column.kind == ColumnKind::empty         ? empties
             : column.kind == ColumnKind::number      ? unwanted
             : text && IsTime(KindOfCell(text->cell)) ? times
                                                      : texts)
                .push_back(column.source);
        }
        Tell("text", texts);
        Tell("dates or clocks", times);
        Tell("no value in", empties);
        if (choices_.curves.empty())
            Tell("numbers", unwanted);
    }
    void Tell(const std::string& what, const std::vector<std::string>& names) {
        if (!names.empty())
            Note("left out, " + what + (what == "no value in" ? " " : " in ") +
                 (names.size() == 1 ? "column " : "columns ") + JoinNames(names));
    }

    void TellUnits() {
        if (!pressures_.empty())
            Note("pressure not in psi: " + JoinNames(pressures_) + " (--convert)");
    }

    const std::vector<NameAndUnit>& names_;
    const std::vector<std::string>& captions_;
    const std::vector<ColumnStatistics>& statistics_;
    const Choices& choices_;
    ImportPlan& plan_;
    std::vector<std::string> taken_;
    std::vector<std::string> pressures_;
};

}  // namespace

std::string CurveName(std::string_view source, const std::vector<std::string>& taken) {
    std::string name = UpperCase(TrimmedCell(source));
    for (char& c : name) {
        const auto code = static_cast<unsigned char>(c);
        if (code <= 0x20 || code == 0x7F || std::string_view("\"',/\\;").find(c) != std::string_view::npos)
            c = '_';
    }
    const std::string whole = name.empty() ? "COL" : name;
    name = CutToCharacters(whole, longestCurveName);
    const auto isTaken = [&](const std::string& candidate) {
        return candidate == "_defaults_" || std::find(taken.begin(), taken.end(), candidate) != taken.end();
    };
    for (std::size_t number = 2; isTaken(name); ++number) {
        const std::string suffix = std::to_string(number);
        name = CutToCharacters(whole, longestCurveName - suffix.size()) + suffix;
    }
    return name;
}

void PlanCurves(const std::vector<NameAndUnit>& names, const std::vector<std::string>& captions,
                const std::vector<std::size_t>& timeColumns, const std::vector<ColumnStatistics>& statistics,
                const Choices& choices, ImportPlan& plan) {
    CurvePlanner(names, captions, statistics, choices, plan).Run(timeColumns);
    const bool hasDepth = std::any_of(plan.columns.begin(), plan.columns.end(),
                                      [](const PlannedColumn& column) { return column.name == depthCurve; });
    if (choices.depth && hasDepth)
        plan.problems.push_back(std::string("it has a depth curve (") + depthCurve +
                                "); --depth would contradict it");
    plan.depth = choices.depth;
}

}  // namespace dravik
