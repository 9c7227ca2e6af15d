#include "plotview/frmPlotFormat.h"

#include <QButtonGroup>

#include "ui_frmPlotFormat.h"

namespace vorela {

frmPlotFormat::frmPlotFormat(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmPlotFormat>()) {
    ui_->setupUi(this);
    y1_ = Group(QStringLiteral("optY1"));
    y2_ = Group(QStringLiteral("optY2"));
    mod_ = Group(QStringLiteral("optMod"));
    flow_ = Group(QStringLiteral("optFlow"));
    connect(ui_->cboNPlots, &QComboBox::currentIndexChanged, this, [this](int entry) {
        // The dual plot has its own axes: pressure above, flow below, the valve on the right of both.
        ui_->fraY1->setEnabled(entry == 0);
        ui_->fraY2->setEnabled(entry == 0);
    });
    Fill();
    connect(ui_->cmdOK, &QPushButton::clicked, this, [this] {
        if (GetPlotFormatFromDialog(Read())) {
            WritePlotFormat();
            accept();
        }
    });
    connect(ui_->cmdApply, &QPushButton::clicked, this, [this] {
        if (GetPlotFormatFromDialog(Read()))
            emit Applied();
    });
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmPlotFormat::~frmPlotFormat() = default;

QButtonGroup* frmPlotFormat::Group(const QString& name) {
    auto* group = new QButtonGroup(this);
    for (int i = 0; auto* button = findChild<QRadioButton*>(name + QString::number(i)); ++i)
        group->addButton(button, i);
    return group;
}

void frmPlotFormat::Fill() {
    const PlotFormatForm form = ShowPlotFormat();
    for (int i = 1; i <= mostGridlines; ++i) {
        ui_->cboHorizontal->addItem(QString::number(i));
        ui_->cboVertical->addItem(QString::number(i));
    }
    ui_->cboHorizontal->setCurrentText(QString::fromStdString(form.horizontal));
    ui_->cboVertical->setCurrentText(QString::fromStdString(form.vertical));
    ui_->cboNPlots->addItem(QStringLiteral("1 - Single plot containing all curves"));
    ui_->cboNPlots->addItem(QStringLiteral("2 - Dual plot separating pressure and flow"));
    ui_->cboNPlots->setCurrentIndex(form.nPlotsEntry);
    y1_->button(form.y1)->setChecked(true);
    y2_->button(form.y2)->setChecked(true);
    mod_->button(form.mod)->setChecked(true);
    flow_->button(form.flow)->setChecked(true);
    ui_->chkPres->setChecked(form.pressure);
    ui_->chkFlow->setChecked(form.flowShown);
    ui_->chkValve->setChecked(form.valve);
    ui_->chkFPres->setChecked(form.filteredPressure);
    ui_->chkFFlow->setChecked(form.filteredFlow);
}

PlotFormatForm frmPlotFormat::Read() const {
    PlotFormatForm form;
    form.y1 = static_cast<std::int16_t>(y1_->checkedId());
    form.y2 = static_cast<std::int16_t>(y2_->checkedId());
    form.mod = static_cast<std::int16_t>(mod_->checkedId());
    form.flow = static_cast<std::int16_t>(flow_->checkedId());
    form.horizontal = ui_->cboHorizontal->currentText().toStdString();
    form.vertical = ui_->cboVertical->currentText().toStdString();
    form.nPlotsEntry = static_cast<std::int16_t>(ui_->cboNPlots->currentIndex());
    form.pressure = ui_->chkPres->isChecked();
    form.flowShown = ui_->chkFlow->isChecked();
    form.valve = ui_->chkValve->isChecked();
    form.filteredPressure = ui_->chkFPres->isChecked();
    form.filteredFlow = ui_->chkFFlow->isChecked();
    return form;
}

}  // namespace vorela
