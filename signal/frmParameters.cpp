#include "signal/frmParameters.h"

#include <cstddef>

#include "general/RangeCheck.h"
#include "ui_frmParameters.h"

namespace vorela {
namespace {

BoxText BoxOf(const QLineEdit& box) {
    return {box.text().toStdString(), box.isModified()};
}

void ShowIn(QLineEdit& box, const BoxText& value) {
    box.setText(QString::fromStdString(value.text));
    box.setModified(false);
}

std::optional<std::int32_t> SelectedEntry(const QComboBox& box) {
    if (box.currentIndex() < 0)
        return std::nullopt;
    return box.currentIndex();
}

}  // namespace

frmParameters::frmParameters(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmParameters>()) {
    ui_->setupUi(this);
    for (const SpinnerType& type : SpinnerTypes())
        ui_->cboSpinner->addItem(QString::fromUtf8(type.name));
    for (const char* filter : SpinnerFilterTypes())
        ui_->cboFilter->addItem(QString::fromUtf8(filter));
    connect(ui_->cmdOK, &QPushButton::clicked, this, &frmParameters::accept);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmParameters::reject);
    connect(ui_->cboSpinner, &QComboBox::currentIndexChanged, this, &frmParameters::SpinnerTypeChanged);
    Show(ShowParameters());
}

frmParameters::~frmParameters() = default;

void frmParameters::Show(const ParametersForm& form) {
    ShowIn(*ui_->txtPeriod, form.period);
    ui_->chkPeriodInMatch->setChecked(form.periodInMatch);
    ui_->chkBandPass->setChecked(form.bandPass);
    ShowIn(*ui_->txtCasingID, form.casingID);
    ShowIn(*ui_->txtTD, form.td);
    ShowIn(*ui_->txtCompressibility, form.compressibility);
    ShowIn(*ui_->txtSlope, form.slope);
    ShowIn(*ui_->txtB0, form.b0);
    ShowIn(*ui_->txtDW, form.dw);
    ShowIn(*ui_->txtDLen, form.dLen);
    ui_->cboSpinner->setCurrentIndex(form.spinner.value_or(-1));
    ui_->cboFilter->setCurrentIndex(form.filter.value_or(-1));
    SpinnerTypeChanged(ui_->cboSpinner->currentIndex());
}

ParametersForm frmParameters::Form() const {
    ParametersForm form;
    form.period = BoxOf(*ui_->txtPeriod);
    form.periodInMatch = ui_->chkPeriodInMatch->isChecked();
    form.bandPass = ui_->chkBandPass->isChecked();
    form.casingID = BoxOf(*ui_->txtCasingID);
    form.td = BoxOf(*ui_->txtTD);
    form.compressibility = BoxOf(*ui_->txtCompressibility);
    form.slope = BoxOf(*ui_->txtSlope);
    form.b0 = BoxOf(*ui_->txtB0);
    form.dw = BoxOf(*ui_->txtDW);
    form.dLen = BoxOf(*ui_->txtDLen);
    form.spinner = SelectedEntry(*ui_->cboSpinner);
    form.filter = SelectedEntry(*ui_->cboFilter);
    return form;
}

void frmParameters::SpinnerTypeChanged(int type) {
    const auto& types = SpinnerTypes();
    const bool known = type >= 0 && static_cast<std::size_t>(type) < types.size();
    ui_->lblSlope->setText(known ? QString::fromUtf8(types[static_cast<std::size_t>(type)].slopeText)
                                 : QString());
    const bool own = type == userDefinedSpinner;
    ui_->lblSlopeCaption->setEnabled(own);
    ui_->txtSlope->setEnabled(own);
    ui_->lblSlopeUnits->setEnabled(own);
}

void frmParameters::accept() {
    if (const auto refusal = ValidateParameters(Form())) {
        ShowRefusal(*refusal);
        if (auto* box = findChild<QLineEdit*>(QString::fromStdString(refusal->control))) {
            box->setFocus();
            box->selectAll();
        }
        return;
    }
    WriteParameters();
    QDialog::accept();
}

}  // namespace vorela
