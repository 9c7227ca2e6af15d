#include "signal/frmFilteredCurves.h"

#include <QApplication>
#include <QFont>
#include <string>

#include "db/AnalysisClaim.h"
#include "general/NumberText.h"
#include "general/Ports.h"
#include "general/modGeneral.h"
#include "signal/CurveCoverage.h"
#include "signal/FilterProgress.h"
#include "signal/modFilteredCurves.h"
#include "signal/modParameters.h"
#include "ui_frmFilteredCurves.h"

namespace vorela {
namespace {

constexpr const char* stepInformation = "Getting filter information";

/// While the curves are made, progress and status go to the dialog's own controls as well as to the main
/// window's.
class DialogProgress final : public ProgressPort, public StatusPort {
  public:
    explicit DialogProgress(Ui::frmFilteredCurves& controls) : ui_(controls), window_(CurrentPorts()) {
        CurrentPorts().progress = this;
        CurrentPorts().status = this;
        SetPercentageDisplay([this](const std::string& text) {
            ui_.lblPercentage->setText(QString::fromStdString(text));
            ui_.lblPercentage->repaint();
        });
    }
    ~DialogProgress() override {
        SetPercentageDisplay({});
        CurrentPorts() = window_;
    }
    DialogProgress(const DialogProgress&) = delete;
    DialogProgress& operator=(const DialogProgress&) = delete;

    void SetRange(int minimum, int maximum) override {
        ui_.progFilter->setRange(minimum, maximum);
        window_.progress->SetRange(minimum, maximum);
    }
    int Maximum() const override { return window_.progress->Maximum(); }
    int Value() const override { return window_.progress->Value(); }
    void SetValue(int value) override {
        ui_.progFilter->setValue(value);
        window_.progress->SetValue(value);
    }
    void SetText(const std::string& text) override {
        ui_.lblStatus->setText(QString::fromStdString(text));
        ui_.lblStatus->repaint();
        window_.status->SetText(text);
    }
    std::string Text() const override { return window_.status->Text(); }
    void Pulse() override { window_.progress->Pulse(); }

  private:
    Ui::frmFilteredCurves& ui_;
    Ports window_;
};

}  // namespace

frmFilteredCurves::frmFilteredCurves(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::frmFilteredCurves>()) {
    ui_->setupUi(this);
    connect(ui_->cmdCreate, &QPushButton::clicked, this, &frmFilteredCurves::Create);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &frmFilteredCurves::reject);
    LoadInformation();
}

frmFilteredCurves::~frmFilteredCurves() = default;

void frmFilteredCurves::LoadInformation() {
    Attempt(stepInformation, [&] {
        const FilterInformation information = GetFilterInformation();
        ui_->lblPeriod->setText(QString::fromStdString(FormatNumber(CurrentParameters().period)));
        ui_->lblInputPressure->setText(QString::fromStdString(information.inputPressure));
        ui_->lblInputFlow->setText(QString::fromStdString(information.inputFlow));
        ui_->lblOutputPressure->setText(QString::fromStdString(information.outputPressure));
        ui_->lblOutputFlow->setText(QString::fromStdString(information.outputFlow));
        for (const int passes : information.passChoices)
            ui_->cboFilter->addItem(QString::number(passes), passes);
        ui_->cboFilter->setCurrentIndex(static_cast<int>(information.storedChoice));
    });
    ShowInformation();
    connect(ui_->cboFilter, &QComboBox::currentIndexChanged, this, &frmFilteredCurves::ShowInformation);
}

int frmFilteredCurves::Passes() const {
    return ui_->cboFilter->currentIndex() < 0 ? 1 : ui_->cboFilter->currentData().toInt();
}

void frmFilteredCurves::ShowInformation() {
    const FilterAdvice band = GetPassBand(Passes());
    const FilterAdvice coverage = DescribeCoverage(Passes());
    ui_->lblInformation->setText(QString::fromStdString(band.text + "\n" + coverage.text).trimmed());
    QFont font = ui_->lblInformation->font();
    font.setBold(band.warning || coverage.warning);
    ui_->lblInformation->setFont(font);
}

void frmFilteredCurves::Create() {
    creating_ = true;
    ui_->cmdCreate->setEnabled(false);
    ui_->cmdCancel->setEnabled(false);
    ui_->cboFilter->setEnabled(false);
    QApplication::setOverrideCursor(Qt::WaitCursor);
    {
        const DialogProgress progress(*ui_);
        WithAnalysisClaim([this] { CreateFilteredCurvesInAll(Passes()); });
    }
    QApplication::restoreOverrideCursor();
    creating_ = false;
    accept();
}

void frmFilteredCurves::reject() {
    if (!creating_)
        QDialog::reject();
}

}  // namespace vorela
