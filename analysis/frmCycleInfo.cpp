#include "analysis/frmCycleInfo.h"

#include <QApplication>
#include <QClipboard>
#include <string>

#include "analysis/modMain.h"
#include "db/DatasetRecord.h"
#include "general/modGeneral.h"
#include "ui_frmCycleInfo.h"

namespace vorela {
namespace {

constexpr const char* stepLoading = "Loading cycle information";
constexpr const char* titleJoint = " - ";

}  // namespace

frmCycleInfo::frmCycleInfo(std::size_t dataset, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::frmCycleInfo>()) {
    ui_->setupUi(this);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(ui_->cmdCopy, &QPushButton::clicked, this,
            [this] { QApplication::clipboard()->setText(ui_->fgCycleInfo->WholeText()); });
    Attempt(stepLoading, [&] {
        const DatasetRecord& record = CurrentSelection().datasets.at(dataset);
        setWindowTitle(windowTitle() + QString::fromStdString(titleJoint + record.dataset));
        ui_->fgCycleInfo->ShowTable(CycleInformationRows(dataset));
    });
}

frmCycleInfo::~frmCycleInfo() = default;

}  // namespace vorela
