#include "plotview/frmSavePlot.h"

#include "ui_frmSavePlot.h"

namespace vorela {

frmSavePlot::frmSavePlot(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmSavePlot>()) {
    ui_->setupUi(this);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmSavePlot::~frmSavePlot() = default;

PlotFileOptions frmSavePlot::Options() const {
    PlotFileOptions options;
    options.resolution = ui_->spnResolution->value();
    options.monochrome = ui_->chkMonochrome->isChecked();
    return options;
}

void frmSavePlot::HideCursors() {
    ui_->chkCursors->hide();
}

bool frmSavePlot::WithCursors() const {
    return ui_->chkCursors->isChecked();
}

}  // namespace vorela
