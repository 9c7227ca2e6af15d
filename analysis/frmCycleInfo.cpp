#include "analysis/frmCycleInfo.h"

#include <QApplication>
#include <QClipboard>
#include <string>

#include "analysis/CycleTexts.h"
#include "analysis/modIntervalInfo.h"
#include "analysis/modMain.h"
#include "db/DatasetRecord.h"
#include "general/modGeneral.h"
#include "ui_frmCycleInfo.h"

namespace vorela {
namespace {

constexpr const char* stepLoading = "Loading cycle information";
constexpr const char* title = "Cycle information";
constexpr const char* titleJoint = " - ";

}  // namespace

frmCycleInfo::frmCycleInfo(std::size_t dataset, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::frmCycleInfo>()) {
    ui_->setupUi(this);
    for (const DatasetRecord& record : CurrentSelection().datasets)
        ui_->cboLevel->addItem(QString::fromStdString(record.dataset));
    connect(ui_->cboLevel, &QComboBox::activated, this,
            [this](int position) { LoadLevel(static_cast<std::size_t>(position)); });
    connect(ui_->cboCycle, &QComboBox::activated, this, &frmCycleInfo::ChooseEntry);
    connect(ui_->fgCycleInfo, &QTableWidget::cellDoubleClicked, this, &frmCycleInfo::ChooseEntry);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(ui_->cmdCopy, &QPushButton::clicked, this,
            [this] { QApplication::clipboard()->setText(ui_->fgCycleInfo->WholeText()); });
    LoadLevel(dataset);
}

frmCycleInfo::~frmCycleInfo() = default;

void frmCycleInfo::LoadLevel(std::size_t dataset) {
    Attempt(stepLoading, [&] {
        const DatasetRecord& record = CurrentSelection().datasets.at(dataset);
        dataset_ = dataset;
        setWindowTitle(QString::fromStdString(title + (titleJoint + record.dataset)));
        ui_->cboLevel->setCurrentIndex(static_cast<int>(dataset));
        ui_->fgCycleInfo->ShowTable(CycleInformationRows(dataset));
        ui_->cboCycle->clear();
        for (const std::string& choice : CycleChoices(dataset))
            ui_->cboCycle->addItem(QString::fromStdString(choice));
        const std::optional<std::size_t> selected = SelectedEntry(dataset);
        ui_->cboCycle->setCurrentIndex(selected ? static_cast<int>(*selected) : -1);
        ui_->cboCycle->setEnabled(ui_->cboCycle->count() > 0);
        ui_->lblMissing->setText(QString::fromStdString(MissingCyclesText(dataset)));
        ui_->lblMissing->setVisible(!ui_->lblMissing->text().isEmpty());
        ui_->fgCycleInfo->setVisible(ui_->cboCycle->count() > 0);
        ui_->cmdCopy->setEnabled(ui_->cboCycle->count() > 0);
        ui_->fgCycleInfo->MarkRow(ui_->cboCycle->currentIndex());
    });
}

void frmCycleInfo::ChooseEntry(int entry) {
    if (entry < 0 || entry >= ui_->cboCycle->count())
        return;
    ChooseCycle(dataset_, static_cast<std::size_t>(entry));
    ui_->cboCycle->setCurrentIndex(entry);
    ui_->fgCycleInfo->MarkRow(entry);
}

}  // namespace vorela
