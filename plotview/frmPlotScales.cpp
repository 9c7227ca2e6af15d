#include "plotview/frmPlotScales.h"

#include "db/DatasetRecord.h"
#include "ui_frmPlotScales.h"

namespace vorela {
namespace {

BoxText TextOf(const QLineEdit& box) {
    return {box.text().toStdString(), box.isModified()};
}

void Show(QLineEdit& box, const BoxText& text) {
    box.setText(QString::fromStdString(text.text));
    box.setModified(false);
}

/// The unit of a chosen curve; nothing when none is selected.
std::string UnitOf(std::int16_t index) {
    const auto& curves = CurrentSelection().commonCurves;
    const auto at = static_cast<std::size_t>(index);
    return index >= 0 && at < curves.size() ? curves[at].unit : "";
}

void ShowUnit(QLabel& label, const std::string& unit) {
    if (!unit.empty())
        label.setText(QString::fromStdString(unit));
}

}  // namespace

frmPlotScales::frmPlotScales(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmPlotScales>()) {
    ui_->setupUi(this);
    axes_ = {{{ui_->chkPresAuto, ui_->txtPresMin, ui_->txtPresMax, ui_->lblPresUnits},
              {ui_->chkFlowAuto, ui_->txtFlowMin, ui_->txtFlowMax, ui_->lblFlowUnits},
              {ui_->chkModAuto, ui_->txtModMin, ui_->txtModMax, ui_->lblModUnits},
              {ui_->chkFiltPresAuto, ui_->txtFiltPresMin, ui_->txtFiltPresMax, ui_->lblFiltPresUnits},
              {ui_->chkFiltFlowAuto, ui_->txtFiltFlowMin, ui_->txtFiltFlowMax, ui_->lblFiltFlowUnits}}};
    // The same name in each frame, as one control of an array.
    for (const AxisControls& axis : axes_)
        axis.autoscale->setObjectName(QStringLiteral("chkAutoscale"));
    Fill();
    connect(ui_->chkFullRange, &QCheckBox::clicked, this, &frmPlotScales::EnableTimeControls);
    connect(ui_->optFixed, &QRadioButton::clicked, this, &frmPlotScales::EnableTimeControls);
    connect(ui_->optSpecific, &QRadioButton::clicked, this, &frmPlotScales::EnableTimeControls);
    connect(ui_->cmdOK, &QPushButton::clicked, this, [this] {
        if (Validate()) {
            WritePresentationOptions();
            accept();
        }
    });
    connect(ui_->cmdApply, &QPushButton::clicked, this, [this] {
        if (Validate())
            emit Applied();
    });
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmPlotScales::~frmPlotScales() = default;

void frmPlotScales::Fill() {
    const ScalesForm form = ShowPresentationOptions();
    for (const std::int32_t choice : RangeChoices())
        ui_->cboRange->addItem(QString::number(choice));
    ui_->cboRange->setCurrentText(QString::fromStdString(form.range));
    ui_->chkFullRange->setChecked(form.fullRange);
    ui_->chkElapsed->setChecked(form.elapsed);
    (form.fixed ? ui_->optFixed : ui_->optSpecific)->setChecked(true);
    Show(*ui_->txtStart, form.start);
    Show(*ui_->txtEnd, form.end);
    for (std::size_t i = 0; i < quantityCount; ++i) {
        axes_[i].autoscale->setChecked(form.axes[i].autoscale);
        Show(*axes_[i].minimum, form.axes[i].minimum);
        Show(*axes_[i].maximum, form.axes[i].maximum);
    }
    const CurveChoice& choice = CurrentSelection().choice;
    for (const Quantity quantity : {Quantity::pressure, Quantity::filteredPressure})
        ShowUnit(*axes_[IndexOf(quantity)].units, UnitOf(choice.pressureIndex));
    for (const Quantity quantity : {Quantity::flow, Quantity::filteredFlow})
        ShowUnit(*axes_[IndexOf(quantity)].units, UnitOf(choice.flowIndex));
    for (const CommonCurve& curve : CurrentSelection().commonCurves)
        if (curve.name == "PVLPOS")
            ShowUnit(*ui_->lblModUnits, curve.unit);
    EnableTimeControls();
}

ScalesForm frmPlotScales::Read() const {
    ScalesForm form;
    form.range = ui_->cboRange->currentText().toStdString();
    form.fullRange = ui_->chkFullRange->isChecked();
    form.elapsed = ui_->chkElapsed->isChecked();
    form.fixed = ui_->optFixed->isChecked();
    form.start = TextOf(*ui_->txtStart);
    form.end = TextOf(*ui_->txtEnd);
    for (std::size_t i = 0; i < quantityCount; ++i)
        form.axes[i] = {axes_[i].autoscale->isChecked(), TextOf(*axes_[i].minimum),
                        TextOf(*axes_[i].maximum)};
    return form;
}

bool frmPlotScales::Validate() {
    std::string control;
    if (ValidatePresentationOptions(Read(), control))
        return true;
    auto* fault = findChild<QWidget*>(QString::fromStdString(control));
    if (fault != nullptr) {
        fault->setEnabled(true);  // the zone is checked in every mode: it has to be mended somewhere
        fault->setFocus();
    }
    if (auto* box = qobject_cast<QLineEdit*>(fault))
        box->selectAll();
    return false;
}

void frmPlotScales::EnableTimeControls() {
    const TimeControls enabled =
        EnabledTimeControls(ui_->chkFullRange->isChecked(), ui_->optFixed->isChecked());
    for (QWidget* widget : {static_cast<QWidget*>(ui_->optFixed), static_cast<QWidget*>(ui_->optSpecific)})
        widget->setEnabled(enabled.modes);
    for (QWidget* widget : {static_cast<QWidget*>(ui_->cboRange), static_cast<QWidget*>(ui_->lblRange),
                            static_cast<QWidget*>(ui_->lblRangeUnits)})
        widget->setEnabled(enabled.range);
    for (QWidget* widget : {static_cast<QWidget*>(ui_->txtStart), static_cast<QWidget*>(ui_->txtEnd),
                            static_cast<QWidget*>(ui_->lblZoneTime), static_cast<QWidget*>(ui_->lblStart),
                            static_cast<QWidget*>(ui_->lblEnd), static_cast<QWidget*>(ui_->lblStartUnits),
                            static_cast<QWidget*>(ui_->lblEndUnits)})
        widget->setEnabled(enabled.zone);
}

}  // namespace vorela
