#include "app/frmExact.h"

#include <QApplication>
#include <QClipboard>
#include <QImage>
#include <QScopedValueRollback>
#include <algorithm>

#include "analysis/InterpretationFile.h"
#include "app/WindowPlace.h"
#include "db/DatasetRecord.h"
#include "db/modSelectData.h"
#include "general/AtomicFile.h"
#include "general/DelimitedText.h"
#include "general/NumberText.h"
#include "general/modGeneral.h"
#include "plotview/PictureWidget.h"
#include "report/ExactPictures.h"
#include "ui_frmExact.h"

namespace vorela {
namespace {

constexpr const char* stepComputing = "Computing exact results";
constexpr const char* stepSaving = "Saving exact results";
constexpr int commaSeparated = 1;
constexpr int pictureResolution = 192;

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

void FillChooser(QComboBox& box, const QStringList& entries) {
    const QSignalBlocker quiet(box);
    const int before = box.currentIndex();
    box.clear();
    box.addItems(entries);
    box.setCurrentIndex(entries.isEmpty() ? -1 : std::clamp(before, 0, static_cast<int>(entries.size()) - 1));
}

/// Why nothing can be computed of the selection as it stands, and what to do; empty when something can.
QString WhyEmpty() {
    const auto& datasets = CurrentSelection().datasets;
    if (datasets.empty())
        return QObject::tr("No data selected: choose File, Select Data...");
    if (datasets.size() < 2)
        return QObject::tr(
            "Exact results are of the intervals between levels: select two levels or more (File, Select "
            "Data...).");
    const bool cycles = std::any_of(datasets.begin(), datasets.end(), [](const DatasetRecord& record) {
        return record.cycles.RealCycles() > 0;
    });
    return cycles ? QString() : QObject::tr("No cycles yet: choose Action, Calculate cycle info...");
}

QString Lines(const std::vector<std::string>& lines) {
    QStringList texts;
    for (const std::string& line : lines)
        texts << Text(line);
    return texts.join(QLatin1Char('\n'));
}

}  // namespace

frmExact::frmExact(QWidget* parent) : QDialog(parent), ui_(std::make_unique<Ui::frmExact>()) {
    ui_->setupUi(this);
    LetViewsShrink(*this);
    // The tabs stand still when the choosers do not concern the one that is shown.
    ui_->rowChoosers->setMinimumHeight(ui_->cboInterval->sizeHint().height());
    ShowSettings();
    for (QDoubleSpinBox* box : {ui_->spnConfidence, ui_->spnCompressibilityError})
        connect(box, &QDoubleSpinBox::valueChanged, this, &frmExact::ChoicesChanged);
    for (QSpinBox* box : {ui_->spnFirstCycle, ui_->spnLastCycle})
        connect(box, &QSpinBox::valueChanged, this, &frmExact::ChoicesChanged);
    connect(ui_->cboInterval, &QComboBox::currentIndexChanged, this, &frmExact::ShowInterval);
    connect(ui_->cboLevel, &QComboBox::currentIndexChanged, this, &frmExact::ShowLevel);
    connect(ui_->fgExact, &QTableWidget::currentCellChanged, this, [this](int row) {
        if (row >= 0 && row < ui_->cboInterval->count())
            ui_->cboInterval->setCurrentIndex(row);
    });
    connect(ui_->tabs, &QTabWidget::currentChanged, this, &frmExact::TabChosen);
    connect(ui_->cmdCopy, &QPushButton::clicked, this, &frmExact::Copy);
    connect(ui_->cmdSave, &QPushButton::clicked, this, &frmExact::Save);
    connect(ui_->cmdClose, &QPushButton::clicked, this, &QDialog::reject);
}

frmExact::~frmExact() = default;

void frmExact::ShowSettings() {
    const ExactSettings& settings = CurrentExactSettings();
    ui_->spnFirstCycle->setValue(settings.firstCycle);
    ui_->spnLastCycle->setValue(settings.lastCycle);
    ui_->spnConfidence->setValue(settings.confidence);
    ui_->spnCompressibilityError->setValue(settings.compressibilityError);
}

void frmExact::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    Follow();
}

void frmExact::Follow() {
    if (!isVisible())
        return;
    if (!hasResults_ || computed_ != CurrentExactInputs())
        Compute();
    else
        ui_->fgExact->ShowTable(ExactComparisonRows(results_));  // the quicklook follows its chosen cycles
}

// A refused choice changes nothing and says why; the results stay those of the choices before.
void frmExact::ChoicesChanged() {
    ExactSettings wanted = CurrentExactSettings();
    wanted.firstCycle = ui_->spnFirstCycle->value();
    wanted.lastCycle = ui_->spnLastCycle->value();
    wanted.confidence = ui_->spnConfidence->value();
    wanted.compressibilityError = ui_->spnCompressibilityError->value();
    if (const std::string fault = ExactSettingsFault(wanted); !fault.empty()) {
        ui_->lblState->setText(tr("Not taken: %1. What is shown is of the choices before.").arg(Text(fault)));
        return;
    }
    Attempt(stepComputing, [&] {
        CurrentExactSettings() = wanted;
        WriteExactSettings();
    });
    Compute();
}

void frmExact::Compute() {
    ui_->lblState->clear();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    Attempt(stepComputing, [this] {
        computed_ = CurrentExactInputs();
        results_ = ExactResults{};
        hasResults_ = true;
        if (const QString reason = WhyEmpty(); !reason.isEmpty()) {
            ShowEmptyState(reason);
            return;
        }
        results_ = ComputeExact(CurrentExactSettings());
        ShowResults();
    });
    QApplication::restoreOverrideCursor();
}

void frmExact::ShowEmptyState(const QString& reason) {
    FillChoosers();
    ui_->lblEmpty->setText(reason);
    ui_->pages->setCurrentWidget(ui_->pageEmpty);
    for (QWidget* control : {static_cast<QWidget*>(ui_->cmdCopy), static_cast<QWidget*>(ui_->cmdSave),
                             static_cast<QWidget*>(ui_->rowChoosers)})
        control->setEnabled(false);
    ui_->lblMessages->clear();
}

void frmExact::ShowResults() {
    ui_->pages->setCurrentWidget(ui_->pageResults);
    for (QWidget* control : {static_cast<QWidget*>(ui_->cmdCopy), static_cast<QWidget*>(ui_->cmdSave),
                             static_cast<QWidget*>(ui_->rowChoosers)})
        control->setEnabled(true);
    FillChoosers();
    ui_->fgExact->ShowTable(ExactComparisonRows(results_));
    ShowInterval();
    ShowLevel();
}

void frmExact::FillChoosers() {
    QStringList intervals, levels;
    for (const ExactInterval& interval : results_.intervals)
        intervals << Text(interval.label);
    for (const ExactLevel& level : results_.levels)
        levels << Text(level.dataset);
    FillChooser(*ui_->cboInterval, intervals);
    FillChooser(*ui_->cboLevel, levels);
}

void frmExact::ShowInterval() {
    const int shown = ui_->cboInterval->currentIndex();
    if (shown < 0 || static_cast<std::size_t>(shown) >= results_.intervals.size())
        return;
    const ExactInterval& interval = results_.intervals[static_cast<std::size_t>(shown)];
    QString methods = tr("All methods, %1 ft").arg(Text(interval.label));
    if (interval.apparentCompressibility) {
        const auto number = [](double value) { return QString::number(value, 'g', 3); };
        methods += tr("; apparent well compressibility %1").arg(number(*interval.apparentCompressibility));
        if (interval.apparentCompressibilitySigma)
            methods += tr(" +- %1").arg(number(*interval.apparentCompressibilitySigma));
        methods += tr(" 1/psi (assumed %1)").arg(number(interval.wellCompressibility));
    }
    ui_->lblMethods->setText(methods);
    ui_->fgMethods->ShowTable(ExactMethodRows(interval, results_.confidence));
    ui_->fgBudget->ShowTable(ExactBudgetRows(interval));
    ui_->lblBudget->setText(interval.budget.empty()
                                ? tr("No budget: the interval has no harmonics to work with.")
                                : tr("What the error cannot see, for %1 ft: what an error of an input would "
                                     "change in the result of \"single\".")
                                      .arg(Text(interval.label)));
    ShowPictures();
    ShowMessages();
}

void frmExact::ShowPictures() {
    const auto shown = static_cast<std::size_t>(ui_->cboInterval->currentIndex());
    const ImpedancePicture impedance = ImpedanceOf(results_, shown);
    const QString nothing = tr("No harmonics of this interval could be measured.\n%1")
                                .arg(Lines(results_.intervals[shown].messages));
    if (impedance.harmonics.empty()) {
        ui_->picImpedance->Show({}, nothing);
        ui_->picAmplitude->Show({}, nothing);
    } else {
        ui_->picImpedance->Show([impedance](DrawingSurface& surface) { DrawImpedance(surface, impedance); },
                                {});
        ui_->picAmplitude->Show(
            [impedance](DrawingSurface& surface) { DrawAmplitudeAndLag(surface, impedance); }, {});
    }
    const ProfilePicture profile = ProfileOf(results_);
    ui_->picProfile->Show([profile](DrawingSurface& surface) { DrawProfile(surface, profile); }, {});
}

void frmExact::ShowLevel() {
    const int shown = ui_->cboLevel->currentIndex();
    if (shown < 0 || static_cast<std::size_t>(shown) >= results_.levels.size())
        return;
    const ExactLevel& level = results_.levels[static_cast<std::size_t>(shown)];
    ui_->fgCycles->ShowTable(ExactCycleRows(level));
    ui_->lblCycles->setText(level.firstCycle > 0 ? tr("%1: cycles %2 to %3 used, mean period %4 s")
                                                       .arg(Text(level.dataset))
                                                       .arg(level.firstCycle)
                                                       .arg(level.lastCycle)
                                                       .arg(Text(FormatNumber(level.period)))
                                                 : tr("%1: no cycles used").arg(Text(level.dataset)));
    const CyclesPicture points = CyclesOf(level, results_.confidence);
    if (points.cycles.empty())
        ui_->picPoints->Show({}, tr("No cycle of this level could be measured.\n%1").arg(Text(level.fault)));
    else
        ui_->picPoints->Show([points](DrawingSurface& surface) { DrawCyclePoints(surface, points); }, {});
    ShowMessages();
}

bool frmExact::ShowsALevel() const {
    const QWidget* tab = ui_->tabs->currentWidget();
    return tab == ui_->tabCycles || tab == ui_->tabPoints;
}

// Of the level on the tabs of its cycles, of all intervals beside the profile, else of the interval.
void frmExact::ShowMessages() {
    const int interval = ui_->cboInterval->currentIndex(), level = ui_->cboLevel->currentIndex();
    std::vector<std::string> lines;
    if (ShowsALevel() && level >= 0) {
        const ExactLevel& shown = results_.levels[static_cast<std::size_t>(level)];
        lines = shown.notes;
        if (!shown.fault.empty())
            lines.insert(lines.begin(), shown.fault);
    } else if (ui_->tabs->currentWidget() == ui_->tabProfile) {
        lines = ExactMessages(results_);
    } else if (interval >= 0) {
        lines = results_.intervals[static_cast<std::size_t>(interval)].messages;
    }
    ui_->lblMessages->setText(Lines(lines));
}

void frmExact::TabChosen() {
    const bool cycles = ShowsALevel();
    const bool profile = ui_->tabs->currentWidget() == ui_->tabProfile;
    for (QWidget* control : {static_cast<QWidget*>(ui_->lblLevel), static_cast<QWidget*>(ui_->cboLevel)})
        control->setVisible(cycles);
    for (QWidget* control :
         {static_cast<QWidget*>(ui_->lblInterval), static_cast<QWidget*>(ui_->cboInterval)})
        control->setVisible(!cycles && !profile);
    ui_->lblState->clear();
    ShowMessages();
}

TextRows frmExact::ShownRows() const {
    const QWidget* tab = ui_->tabs->currentWidget();
    if (tab == ui_->tabResults)
        return ExactComparisonRows(results_);
    if (tab == ui_->tabCycles)
        return ExactCycleRows(results_.levels.at(static_cast<std::size_t>(ui_->cboLevel->currentIndex())));
    if (tab == ui_->tabBudget)
        return ExactBudgetRows(
            results_.intervals.at(static_cast<std::size_t>(ui_->cboInterval->currentIndex())));
    return {};
}

PictureWidget* frmExact::ShownPicture() const {
    return ui_->tabs->currentWidget()->findChild<PictureWidget*>();
}

void frmExact::Copy() {
    Attempt(stepSaving, [this] {
        if (const PictureWidget* picture = ShownPicture(); picture != nullptr) {
            const PictureFileOptions options{picture->width(), picture->height(), pictureResolution, {}};
            const QImage image = PictureImage(options, picture->Drawing());
            if (!image.isNull())
                QApplication::clipboard()->setImage(image);
            ui_->lblState->setText(image.isNull() ? tr("Nothing to copy") : tr("Picture copied"));
            return;
        }
        const TextRows rows = ShownRows();
        if (!rows.empty())
            QApplication::clipboard()->setText(Text(DelimitedText(rows, '\t')));
        ui_->lblState->setText(rows.empty() ? tr("Nothing to copy") : tr("Table copied"));
    });
}

std::string frmExact::ProposedName() const {
    const int level = ui_->cboLevel->currentIndex();
    const std::string tab =
        ui_->tabs->tabText(ui_->tabs->currentIndex()).remove(QLatin1Char('&')).toLower().toStdString();
    return ProposedFile(static_cast<std::size_t>(std::max(level, 0))) + " exact " + tab;
}

void frmExact::Save() {
    const PictureWidget* picture = ShownPicture();
    const TextRows rows = ShownRows();
    if (picture != nullptr ? !picture->HasPicture() : rows.empty()) {
        ui_->lblState->setText(tr("Nothing to save"));
        return;
    }
    const std::string filter =
        picture != nullptr ? "PNG Picture (*.png)|*.png|SVG Drawing (*.svg)|*.svg|PDF Document (*.pdf)|*.pdf|"
                           : "CSV File (*.csv)|*.csv|Text File (*.txt)|*.txt|";
    const auto choice =
        CurrentPorts().saveFile->AskSaveFile({"Save Exact Results", filter, 1, ProposedName(), FilesInUse()});
    if (!choice)
        return;
    const bool saved = Attempt(stepSaving, false, [&] {
        if (picture != nullptr)
            return WritePicture(
                choice->path,
                {picture->width(), picture->height(), pictureResolution, "Vorela exact results"},
                picture->Drawing());
        WriteFileAtomically(choice->path,
                            DelimitedText(rows, choice->filterIndex == commaSeparated ? ',' : '\t'));
        return true;
    });
    if (saved)
        ui_->lblState->setText(tr("Created %1").arg(Text(choice->path)));
}

}  // namespace vorela
