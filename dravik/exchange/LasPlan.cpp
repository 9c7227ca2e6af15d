#include "dravik/exchange/LasPlan.h"

#include <algorithm>
#include <cmath>

#include "dravik/exchange/CurveSource.h"
#include "dravik/exchange/LasRows.h"
#include "general/NumberText.h"
#include "interfaces/DKBase.h"

namespace dravik {
namespace {

using Words = std::vector<std::string>;

/// A number computed from the rows, without the last digits that binary fractions leave.
std::string RoundedText(double value) {
    return vorela::ShortestText(std::round(value * 1e6) / 1e6);
}

bool EndsWithComma(const std::string& word) {
    return word.size() > 1 && word.back() == ',';
}

class LasPlanner {
  public:
    explicit LasPlanner(PlanDraft& draft)
        : draft_(draft), plan_(draft.plan), choices_(draft.choices), header_(ReadLasHeader(draft.file)) {}

    std::optional<LasHeader> Run() {
        plan_.preambleLines = header_.curvesLine > 0 ? header_.curvesLine - 1 : header_.data.line - 1;
        plan_.headerLines = header_.data.line - 1 - plan_.preambleLines;
        SettleDelimiter();
        const LasLayout layout = LayoutOfRows();
        if (layout.columns < 2) {
            draft_.Problem("it has no curve beside its index (LAS)");
            return std::nullopt;
        }
        const CellRules rules = RulesOf(layout);
        TakeNames();
        plan_.reading.open = [layout, rules, leaveOut = choices_.leaveOut](const TextFile& file, bool exact) {
            CellRules own = rules;
            own.exact = exact;
            return std::make_unique<LasRows>(file, layout, std::move(own), leaveOut);
        };
        TakeIndex(rules.format);
        return plan_.reading.time.columns.empty() ? std::nullopt : std::optional(header_);
    }

  private:
    /// Cells of the first line of data under a delimiter.
    Words FirstLine(char delimiter) const {
        LineReader reader(draft_.file);
        reader.Seek(header_.data);
        std::string_view line;
        while (reader.Next(line)) {
            if (TrimmedCell(line).empty() || TrimmedCell(line).starts_with('#'))
                continue;
            CellSplitter split(delimiter, '"');
            return split.Split(line, true) ? Words(split.Cells().begin(), split.Cells().end()) : Words();
        }
        return {};
    }

    /// Commas are met where the header speaks of blanks, or of nothing.
    void SettleDelimiter() {
        const Words words = FirstLine(header_.delimiter);
        const bool fits =
            words.size() == header_.curves.size() && std::none_of(words.begin(), words.end(), EndsWithComma);
        if (header_.delimiter == ' ' && !header_.curves.empty() && !fits &&
            FirstLine(',').size() == header_.curves.size())
            header_.delimiter = ',';
        header_.delimiter = choices_.separator.value_or(header_.delimiter);
        plan_.separator = header_.delimiter == ' ' ? "blanks" : std::string(1, header_.delimiter);
    }

    void NameCurvesByTitle(std::size_t cells) {
        const bool named = header_.dataNames.size() == cells;
        for (std::size_t i = 0; i < cells; ++i)
            header_.curves.push_back({named ? header_.dataNames[i] : "COL" + std::to_string(i + 1), ""});
        draft_.Note("it describes no curves: names " +
                    std::string(named ? "of its ~A line" : "COL1, COL2 ..."));
    }

    LasLayout LayoutOfRows() {
        const std::size_t cells = FirstLine(header_.delimiter).size();
        if (header_.curves.empty())
            NameCurvesByTitle(cells);
        const std::size_t curves = header_.curves.size();
        LasLayout layout;
        layout.wrapped = header_.wrapped.value_or(cells == 1 && curves > 1);
        if (!layout.wrapped && cells < curves && header_.dataNames.size() == cells && cells >= 2) {
            draft_.Note(std::to_string(curves - cells) +
                        (curves - cells == 1 ? " curve of the header has no data: left out"
                                             : " curves of the header have no data: left out"));
            header_.curves.resize(cells);
        }
        layout.columns = header_.curves.size();
        layout.delimiter = header_.delimiter;
        layout.data = header_.data;
        return layout;
    }

    CellRules RulesOf(const LasLayout& layout) {
        CellRules rules = draft_.RulesOfCells({});
        rules.format.decimal = plan_.decimal = DecimalOf(layout, rules);
        rules.hasNullNumber = header_.null.has_value();
        rules.nullNumber = header_.null.value_or(0.0);
        rules.indexColumn = 0;
        return rules;
    }

    char DecimalOf(const LasLayout& layout, const CellRules& rules) const {
        if (choices_.decimal || layout.delimiter == ',')
            return choices_.decimal.value_or('.');
        LasRows rows(draft_.file, layout, rules, choices_.leaveOut);
        Row row;
        for (int i = 0; i < 100 && rows.Next(row); ++i) {
            for (const std::string_view cell : *row.cells) {
                NumberShape shape;
                if (ShapeOfNumber(cell, shape) && shape.commas == 1 && shape.points == 0)
                    return ',';
            }
        }
        return '.';
    }

    void TakeNames() {
        for (const LasCurve& curve : header_.curves) {
            const std::string number = std::to_string(draft_.names.size() + 1);
            draft_.names.push_back({curve.mnemonic.empty() ? "COL" + number : curve.mnemonic, curve.unit});
            draft_.captions.push_back(draft_.names.back().name);
        }
        for (std::size_t i = 0; i < choices_.names.size() && i < draft_.names.size(); ++i)
            draft_.captions[i] = draft_.names[i].name = choices_.names[i];
    }

    void TakeIndex(const NumberFormat& format) {
        HeadColumns columns(draft_.names, draft_.captions, format);
        const std::unique_ptr<RowReader> rows = plan_.reading.open(draft_.file, false);
        Row row;
        for (int i = 0; i < 1000 && rows->Next(row); ++i)
            columns.AddRow({row.cells->begin(), row.cells->end()});
        if (!choices_.time.empty() || IsTime(columns.Kind(0)))
            draft_.TakeTime(columns);
        else
            TakeNumbers(columns, format);
    }

    void TakeNumbers(const HeadColumns& columns, const NumberFormat& format) {
        const std::string own = header_.curves.front().unit;
        const std::string unit = !choices_.timeUnit.empty() ? choices_.timeUnit
                                 : own.empty()              ? header_.indexUnit
                                                            : own;
        TellOtherUnit(unit);
        TimeFinding finding;
        finding.rule.numbers = format;
        if (SecondsPer(unit)) {
            SettleNumberUnit(columns, 0, unit, choices_, finding);
        } else {
            finding.rule.columns = {0};
            finding.rule.isNumber = true;
            finding.rule.unitName = unit;
            finding.rule.indexKind = DK_INDEX_DEPTH;
            finding.rule.unit = FeetPer(unit).value_or(1.0);
            if (!FeetPer(unit))
                draft_.Problem(
                    "index " + draft_.names.front().name +
                    (unit.empty() ? " has no unit" : ": unit " + QuotedCell(unit) + " is unknown") +
                    " (--time-unit s|ms|min|h|d|ft|m)");
        }
        draft_.TakeTime(std::move(finding));
    }

    void TellOtherUnit(const std::string& unit) {
        const std::string& stated = header_.indexUnit;
        const bool isOther = FeetPer(unit) != FeetPer(stated) || SecondsPer(unit) != SecondsPer(stated);
        if (choices_.timeUnit.empty() && !stated.empty() && isOther)
            draft_.Note("STRT is in " + stated + ", the index in " + unit +
                        ": the index counts (--time-unit)");
    }

    PlanDraft& draft_;
    ImportPlan& plan_;
    const Choices& choices_;
    LasHeader header_;
};

}  // namespace

std::optional<LasHeader> PlanLas(PlanDraft& draft) {
    return LasPlanner(draft).Run();
}

void CompareLasHeader(const LasHeader& header, PlanDraft& draft) {
    const TimeRule& rule = draft.plan.reading.time;
    const TimeBaseSummary& times = draft.plan.timeBase;
    if (!rule.isNumber || rule.isEpoch || rule.columns.front() != 0 || times.medianStep <= 0.0)
        return;
    const double perUnit = rule.unit * indexPerUnit;
    const double last = times.descending ? times.earliest : times.latest;
    const double shift = draft.choices.shift * indexPerUnit;
    if (header.stop && std::abs(*header.stop * perUnit + shift - last) > times.medianStep)
        draft.Note("STOP is " + vorela::ShortestText(*header.stop) + ", the data end at " +
                   RoundedText((last - shift) / perUnit));
    const bool statesStep = header.step && *header.step != 0.0;
    if (statesStep && std::abs(std::abs(*header.step) * perUnit - times.medianStep) >
                          std::max(0.5, 0.01 * times.medianStep))
        draft.Note("STEP is " + vorela::ShortestText(*header.step) + ", the rows stand " +
                   RoundedText(times.medianStep / perUnit) + " apart");
}

}  // namespace dravik
