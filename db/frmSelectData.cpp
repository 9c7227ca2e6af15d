#include "db/frmSelectData.h"

#include <QFontMetrics>
#include <optional>
#include <string>
#include <vector>

#include "db/CommonCurves.h"
#include "db/modSelectData.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "ui_frmSelectData.h"

namespace vorela {
namespace {

constexpr const char* stepPopulating = "Populating the list boxes and labels";
constexpr const char* stepResetting = "Resetting controls";
constexpr const char* stepRemoving = "Removing Datasets";

std::optional<std::size_t> SelectedPosition(const QComboBox& box) {
    if (box.currentIndex() < 0)
        return std::nullopt;
    return static_cast<std::size_t>(box.currentIndex());
}

QString UnitAt(const QComboBox& box) {
    const auto& curves = CurrentSelection().commonCurves;
    const auto position = SelectedPosition(box);
    return position && *position < curves.size() ? QString::fromStdString(curves[*position].unit) : QString();
}

void FillWithCurves(QComboBox& box, std::int16_t storedIndex, const std::string& storedName,
                    const std::string& chosen) {
    const auto& curves = CurrentSelection().commonCurves;
    for (const CommonCurve& curve : curves)
        box.addItem(QString::fromStdString(curve.name));
    if (!curves.empty())
        box.setCurrentIndex(
            static_cast<int>(PreselectedCurve(storedIndex, CurveInCommonList(chosen) ? chosen : storedName)));
}

}  // namespace

frmSelectData::frmSelectData(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmSelectData>()) {
    ui_->setupUi(this);
    connect(ui_->cmdAdd, &QPushButton::clicked, this, &frmSelectData::Add);
    connect(ui_->cmdRemove, &QPushButton::clicked, this, &frmSelectData::Remove);
    connect(ui_->cmdClear, &QPushButton::clicked, this, &frmSelectData::Clear);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &frmSelectData::Ok);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmSelectData::Cancel);
    connect(ui_->cboPressureCurve, &QComboBox::currentIndexChanged, this, &frmSelectData::ShowUnits);
    connect(ui_->cboFlowCurve, &QComboBox::currentIndexChanged, this, &frmSelectData::ShowUnits);
    connect(ui_->cboPressureCurve, &QComboBox::activated, this,
            [this] { pressure_ = ui_->cboPressureCurve->currentText().toStdString(); });
    connect(ui_->cboFlowCurve, &QComboBox::activated, this,
            [this] { flow_ = ui_->cboFlowCurve->currentText().toStdString(); });
    ui_->lblDatabase->installEventFilter(this);
    PopulateControls();
}

frmSelectData::~frmSelectData() = default;

void frmSelectData::PopulateControls() {
    Attempt(stepPopulating, [&] {
        std::string ignored;  // told when datasets are added; here the empty lists say it
        CheckDatasets({}, ignored);
        ResetControls();
        const Selection& selection = CurrentSelection();
        for (const DatasetRecord& record : selection.datasets)
            ui_->lstPasses->addItem(QString::fromStdString(Trimmed(record.dataset)));
        ShowDatabase();
        FillWithCurves(*ui_->cboPressureCurve, selection.choice.pressureIndex, selection.choice.pressure,
                       pressure_);
        FillWithCurves(*ui_->cboFlowCurve, selection.choice.flowIndex, selection.choice.flow, flow_);
    });
}

void frmSelectData::ResetControls() {
    Attempt(stepResetting, [&] {
        ui_->lstPasses->clear();
        ui_->cboPressureCurve->clear();
        ui_->cboFlowCurve->clear();
        ui_->lblDatabase->clear();
        ui_->lblDatabase->setToolTip({});
        ui_->lblPresUnits->clear();
        ui_->lblFlowUnits->clear();
    });
}

void frmSelectData::ShowUnits() {
    ui_->lblPresUnits->setText(UnitAt(*ui_->cboPressureCurve));
    ui_->lblFlowUnits->setText(UnitAt(*ui_->cboFlowCurve));
}

// Each database on a line. A path keeps its beginning and its file name when it is wider than the label; the
// tool tip has it whole.
void frmSelectData::ShowDatabase() {
    QStringList paths;
    for (const DatasetRecord& record : CurrentSelection().datasets)
        paths << QString::fromStdString(Trimmed(record.database));
    paths.removeDuplicates();
    ui_->lblDatabase->setToolTip(paths.join(QLatin1Char('\n')));
    for (QString& path : paths)
        path = fontMetrics().elidedText(path, Qt::ElideMiddle, ui_->lblDatabase->width());
    ui_->lblDatabase->setText(paths.join(QLatin1Char('\n')));
}

bool frmSelectData::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize)
        ShowDatabase();
    return QDialog::eventFilter(watched, event);
}

void frmSelectData::Add() {
    ui_->lstPasses->setCurrentRow(-1);
    if (!AddDatasets())
        return;
    PopulateControls();
    ui_->cmdOK->setFocus();
}

void frmSelectData::AddNamed(const std::string& database, const std::vector<std::string>& names) {
    if (!AddNamedDatasets(database, names))
        return;
    PopulateControls();
    const auto& datasets = CurrentSelection().datasets;
    const std::size_t first = datasets.size() - names.size();
    for (std::size_t line = first; line < datasets.size(); ++line)
        ui_->lstPasses->item(static_cast<int>(line))->setSelected(true);
    ui_->cmdOK->setFocus();
}

void frmSelectData::Remove() {
    const bool removed = Attempt(stepRemoving, [&] {
        std::vector<std::size_t> positions;
        for (int line = 0; line < ui_->lstPasses->count(); ++line) {
            if (ui_->lstPasses->item(line)->isSelected())
                positions.push_back(static_cast<std::size_t>(line));
        }
        RemoveDatasets(std::move(positions));
    });
    if (removed && CurrentSelection().datasets.empty())
        ResetControls();
    else
        PopulateControls();
}

void frmSelectData::DiscardSelection() {
    ui_->lstPasses->setCurrentRow(-1);
    ClearSelection();
    pressure_.clear();
    flow_.clear();
    ResetControls();
}

void frmSelectData::Clear() {
    DiscardSelection();
}

void frmSelectData::Ok() {
    ChooseCurves(SelectedPosition(*ui_->cboPressureCurve), SelectedPosition(*ui_->cboFlowCurve));
    WriteDatasetSettings();
    SortDatasets();
    accept();
}

void frmSelectData::Cancel() {
    DiscardSelection();
    QDialog::reject();
}

void frmSelectData::reject() {
    if (CurrentSelection().datasets.empty() ||
        CurrentPorts().messages->AskYesNo(
            applicationTitle,
            "The selected datasets and their results will be discarded.\rDo you "
            "want to discard them?"))
        Cancel();
}

}  // namespace vorela
