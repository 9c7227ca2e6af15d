#include "app/ResultPages.h"

#include <QComboBox>
#include <QLabel>
#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "analysis/CellColours.h"
#include "analysis/CycleTexts.h"
#include "analysis/ResultGridView.h"
#include "analysis/ValueHistory.h"
#include "analysis/modIntervalInfo.h"
#include "app/ActionRunner.h"
#include "app/CycleOffer.h"
#include "app/GridEditors.h"
#include "app/TabStrip.h"
#include "db/DatasetRecord.h"
#include "follow/ActionQueue.h"
#include "ui_frmMain.h"

namespace vorela {
namespace {

/// The values of an interval that the quicklook grid lets the user edit.
constexpr std::pair<std::size_t, IntervalField> editableValues[] = {
    {quicklookPorosityRow, &IntervalParameters::porosity},
    {quicklookViscosityRow, &IntervalParameters::viscosity},
    {quicklookCompressibilityRow, &IntervalParameters::ct},
    {quicklookHeightRow, &IntervalParameters::height}};

/// Rows of a grid that the user edits, with how.
std::map<int, CellMark> EditableRows(GridKind kind) {
    if (kind == GridKind::level && !CurrentSelection().datasets.empty())
        return {{static_cast<int>(levelCycleNumberRow), CellMark::arrow}};
    std::map<int, CellMark> rows;
    if (kind == GridKind::quicklook && IntervalCount() > 0)
        for (const auto& [row, field] : editableValues)
            rows[static_cast<int>(row)] = CellMark::pencil;
    return rows;
}

/// Fills a chooser when its entries changed, without telling anybody.
void FillChooser(QComboBox& box, const QStringList& entries, int current) {
    const QSignalBlocker quiet(box);
    QStringList shown;
    for (int i = 0; i < box.count(); ++i)
        shown << box.itemText(i);
    if (shown != entries) {
        box.clear();
        box.addItems(entries);
    }
    box.setCurrentIndex(current);
    box.setEnabled(box.count() > 0);
}

/// The summary's codes with what they mean, a line each.
QString SummaryLegend() {
    QString rows;
    for (std::size_t i = 1; i < SummaryCodes().size(); ++i)
        rows += QStringLiteral("<tr><td><b>%1</b>&nbsp;&nbsp;</td><td>%2</td></tr>")
                    .arg(QString::fromUtf8(SummaryCodes()[i]), QString::fromUtf8(SummaryMeanings()[i]));
    return QStringLiteral("<table>%1</table>").arg(rows);
}

}  // namespace

ResultPages::ResultPages(Ui::frmMain& ui, const ActionRunner& actions, QObject* parent)
    : QObject(parent), ui_(ui), actions_(actions) {
    AddEditors();
    AddLegend();
    AddOffers();
    connect(ui_.cboLevel, &QComboBox::activated, this, &ResultPages::LevelChosen);
    connect(ui_.cboInterval, &QComboBox::activated, this, &ResultPages::IntervalChosen);
}

void ResultPages::AddEditors() {
    editors_ = new GridEditors(
        ui_.fgLevel, ui_.fgQuicklook,
        {[this](int row) { return IntervalCell(row); }, [this] { return CycleNumberCell(); }});
}

void ResultPages::AddLegend() {
    std::vector<QString> meanings;
    for (const char* meaning : SummaryMeanings())
        meanings.push_back(QString::fromUtf8(meaning));
    ui_.fgSummary->SetHeaderRow(true);
    ui_.fgSummary->SetColumnMeanings(meanings);
    ui_.lblLegend->setText(SummaryLegend());
    // The meaning of a code for those who do not use the mouse.
    connect(ui_.fgSummary, &QTableWidget::currentCellChanged, this, [this, meanings](int, int column) {
        if (column > 0 && static_cast<std::size_t>(column) < meanings.size())
            emit Explained(meanings[static_cast<std::size_t>(column)]);
    });
}

void ResultPages::AddOffers() {
    const std::pair<ResultGridView*, int> firstValues[] = {
        {ui_.fgLevel, static_cast<int>(levelCycleNumberRow) + 1},
        {ui_.fgInterval, 2},
        {ui_.fgQuicklook, 2},
        {ui_.fgSummary, 1}};
    for (const auto& [grid, row] : firstValues) {
        offers_.push_back(new CycleOffer(grid, row));
        connect(offers_.back(), &CycleOffer::Accepted, this, &ResultPages::CalculationWanted);
    }
}

bool ResultPages::Commit() {
    return editors_->Commit();
}

// --- What is shown ---

ResultGridView* ResultPages::View(GridKind kind) const {
    ResultGridView* const views[] = {ui_.fgLevel, ui_.fgInterval, ui_.fgQuicklook, ui_.fgSummary};
    return views[static_cast<std::size_t>(kind) - 1];
}

void ResultPages::ShowGrids() {
    for (const GridKind kind : gridKinds)
        ShowGrid(kind);
}

void ResultPages::ShowGrid(GridKind kind) {
    ResultGridView& view = *View(kind);
    view.SetEditable(EditableRows(kind));
    view.ShowGrid(Grid(kind));
    // The summary's legend stands right under it, a row left free for the offer to calculate.
    if (kind == GridKind::summary)
        view.setMaximumHeight(view.ContentsHeight() + 2 * view.rowHeight(0));
}

void ResultPages::FillChoosers() {
    CurrentChoice& shown = ShownChoice();
    const auto& datasets = CurrentSelection().datasets;
    if (shown.dataset >= datasets.size())
        shown.dataset = 0;
    const std::size_t intervals = IntervalCount();
    if (shown.interval < 1 || shown.interval > intervals)
        shown.interval = 1;
    QStringList levels;
    for (const DatasetRecord& record : datasets)
        levels << LevelText(record);
    QStringList labels;
    for (std::size_t i = 1; i <= intervals; ++i)
        labels << QString::fromStdString(CurrentIntervals()[i].label);
    FillChooser(*ui_.cboLevel, levels, static_cast<int>(shown.dataset));
    FillChooser(*ui_.cboInterval, labels, static_cast<int>(shown.interval) - 1);
}

void ResultPages::LayOutFor(int tab) {
    const QComboBox* chooser = ChooserOf(tab);
    ui_.lblLevel->setVisible(chooser == ui_.cboLevel);
    ui_.cboLevel->setVisible(chooser == ui_.cboLevel);
    ui_.lblInterval->setVisible(chooser == ui_.cboInterval);
    ui_.cboInterval->setVisible(chooser == ui_.cboInterval);
    ui_.rowChoosers->setVisible(chooser != nullptr);
    ShowBeginning(tab);
}

void ResultPages::ShowBeginning(int tab) {
    const auto& levels = CurrentSelection().datasets;
    const bool single = levels.size() == 1 && !IsTab(tab, GridKind::level) && tab < firstDatasetTab;
    static const QString howToBegin = ui_.lblBegin->text();
    ui_.lblBegin->setText(single
                              ? tr("<p>Intervals lie between two levels. <a href=\"select\">Select Data</a> "
                                   "(Ctrl+D) adds a second one.</p>")
                              : howToBegin);
    ui_.lblBegin->setVisible(levels.empty() || single);
    // What a desktop has as link colour may not be made for its background.
    const QPalette window = ui_.centralWidget->window()->palette();
    QPalette link;
    link.setColor(QPalette::Link, LegibleText(window.color(QPalette::Link), window.color(QPalette::Window)));
    ui_.lblBegin->setPalette(link);
    const bool any = std::ranges::any_of(levels, &DatasetRecord::IsUnmeasured);
    const std::size_t shown = ShownChoice().dataset;
    for (std::size_t i = 0; i < offers_.size(); ++i)
        offers_[i]->Offer(i == 0 ? shown < levels.size() && levels[shown].IsUnmeasured()
                                 : any && levels.size() > 1);
}

// --- The user's choices ---

QComboBox* ResultPages::ChooserOf(int tab) const {
    if (IsTab(tab, GridKind::level))
        return ui_.cboLevel;
    return IsTab(tab, GridKind::interval) || IsTab(tab, GridKind::quicklook) ? ui_.cboInterval : nullptr;
}

void ResultPages::StepChoice(int tab, int by) {
    QComboBox* box = ChooserOf(tab);
    if (box == nullptr || box->currentIndex() + by < 0 || box->currentIndex() + by >= box->count())
        return;
    if (!Commit())
        return;
    box->setCurrentIndex(box->currentIndex() + by);
    box == ui_.cboLevel ? LevelChosen(box->currentIndex()) : IntervalChosen(box->currentIndex());
}

void ResultPages::LevelChosen(int position) {
    if (position < 0 || actions_.IsRunning())
        return;
    ShownChoice().dataset = static_cast<std::size_t>(position);
    FillLevelGrid();
    ShowGrid(GridKind::level);
    emit Chosen();
}

void ResultPages::IntervalChosen(int position) {
    if (position < 0 || actions_.IsRunning())
        return;
    ShownChoice().interval = static_cast<std::size_t>(position) + 1;
    FillIntervalGrid();
    FillQuicklookGrid();
    ShowGrid(GridKind::interval);
    ShowGrid(GridKind::quicklook);
    emit Chosen();
}

std::optional<TextCell> ResultPages::IntervalCell(int row) {
    const auto found =
        std::find_if(std::begin(editableValues), std::end(editableValues),
                     [row](const auto& value) { return static_cast<int>(value.first) == row; });
    if (IntervalCount() == 0 || found == std::end(editableValues))
        return std::nullopt;
    const auto commit = [this, field = found->second,
                         interval = ShownChoice().interval](const std::string& text) {
        auto refusal = EditIntervalValue(field, interval, text);
        if (!refusal) {
            FillQuicklookGrid();
            ShowGrid(GridKind::quicklook);
            emit IntervalEdited();
        }
        return refusal;
    };
    return TextCell{IntervalValueText(found->second, ShownChoice().interval), commit};
}

CycleCell ResultPages::CycleNumberCell() {
    if (CurrentSelection().datasets.empty())
        return {};
    const std::size_t dataset = ShownChoice().dataset;
    // By its text: while recording goes on, the window is another entry by now.
    const auto commit = [this, dataset](const std::string& choice) {
        const std::vector<std::string> choices = CycleChoices(dataset);
        const auto found = std::find(choices.begin(), choices.end(), choice);
        if (found == choices.end())
            return;
        ChooseCycle(dataset, static_cast<std::size_t>(found - choices.begin()));
        ShowGrid(GridKind::level);
        emit CycleEdited();
    };
    return {CycleChoices(dataset), commit};
}

}  // namespace vorela
