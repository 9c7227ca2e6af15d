#include "signal/frmParameters.h"

#include <cstddef>

#include "general/RangeCheck.h"
#include "ui_frmParameters.h"

namespace vorela {
namespace {

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

QLineEdit* frmParameters::Box(const std::string& key) const {
    return findChild<QLineEdit*>(QString::fromStdString("txt" + key));
}

void frmParameters::Show(const ParametersForm& form) {
    for (const auto& [key, value] : form.boxes) {
        Box(key)->setText(QString::fromStdString(value.text));
        Box(key)->setModified(false);
    }
    ui_->chkPeriodInMatch->setChecked(form.periodInMatch);
    ui_->chkBandPass->setChecked(form.bandPass);
    ui_->cboSpinner->setCurrentIndex(form.spinner.value_or(-1));
    ui_->cboFilter->setCurrentIndex(form.filter.value_or(-1));
    SpinnerTypeChanged(ui_->cboSpinner->currentIndex());
}

ParametersForm frmParameters::Form() const {
    ParametersForm form = ShowParameters();
    for (auto& [key, value] : form.boxes)
        value = {Box(key)->text().toStdString(), Box(key)->isModified()};
    form.periodInMatch = ui_->chkPeriodInMatch->isChecked();
    form.bandPass = ui_->chkBandPass->isChecked();
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
