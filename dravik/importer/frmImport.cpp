#include "dravik/importer/frmImport.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeData>
#include <QScreen>
#include <QShortcut>
#include <algorithm>
#include <exception>

#include "dravik/exchange/Datasets.h"
#include "dravik/importer/ColumnsTable.h"
#include "dravik/importer/ControlTexts.h"
#include "dravik/importer/ValveSettings.h"
#include "general/Ports.h"
#include "general/RunTimeError.h"
#include "general/modGeneral.h"
#include "platform/Application.h"
#include "ui_frmImport.h"

namespace dravik {
namespace {

constexpr double largestShare = 0.95;  // of the screen
constexpr int changeDelayMs = 200;     // typing goes on
constexpr const char* title = "Import Recording";

}  // namespace

frmImport::frmImport(const ImportDefaults& defaults, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::frmImport>()), databaseOfUser_(defaults.database) {
    ui_->setupUi(this);
    resize(size().boundedTo(screen()->availableSize() * largestShare));
    FillFixedLists();
    ui_->txtPeriod->setText(Text(defaults.period));
    ui_->cboDatabase->setCompleter(nullptr);
    if (!defaults.database.empty())
        ui_->cboDatabase->addItem(Text(defaults.database));
    columns_ = new ColumnsTable(*ui_->tblColumns, this);
    soon_.setSingleShot(true);
    soon_.setInterval(changeDelayMs);
    connect(&soon_, &QTimer::timeout, this, &frmImport::Plan);
    connect(&runner_, &PlanRunner::Planned, this, &frmImport::TakePlan);
    connect(&runner_, &PlanRunner::Progressed, ui_->progImport, &QProgressBar::setValue);
    ConnectFiles();
    ConnectControls();
    ShowControls();
    Plan();
}

frmImport::~frmImport() = default;

void frmImport::ConnectFiles() {
    connect(ui_->cmdAddFiles, &QPushButton::clicked, this, &frmImport::ChooseFiles);
    connect(ui_->cmdRemoveFile, &QPushButton::clicked, this, &frmImport::RemoveFile);
    connect(ui_->cmdBrowse, &QPushButton::clicked, this, &frmImport::BrowseDatabase);
    connect(ui_->cmdBrowseTimes, &QPushButton::clicked, this, &frmImport::BrowseTimes);
    connect(ui_->cmdImport, &QPushButton::clicked, this, &frmImport::Import);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(ui_->lstFiles, &QListWidget::currentRowChanged, this, [this] {
        if (!showing_)
            ShowControls();
    });
    const auto key = [this](const QKeySequence& keys, auto action) {
        connect(new QShortcut(keys, ui_->lstFiles, nullptr, nullptr, Qt::WidgetShortcut),
                &QShortcut::activated, this, action);
    };
    key(QKeySequence::Delete, [this] { RemoveFile(); });
    key(QKeySequence::Paste, [this] { AddFiles(FilesIn(QApplication::clipboard()->mimeData())); });
}

void frmImport::ConnectControls() {
    for (QComboBox* box : findChildren<QComboBox*>()) {
        if (box != ui_->cboDatabase)
            connect(box, &QComboBox::activated, this, &frmImport::Changed);
    }
    for (QLineEdit* line : findChildren<QLineEdit*>()) {
        if (line != ui_->cboDatabase->lineEdit())
            connect(line, &QLineEdit::textEdited, this, &frmImport::Changed);
    }
    for (QCheckBox* box : findChildren<QCheckBox*>())
        connect(box, &QCheckBox::clicked, this, &frmImport::Changed);
    const auto database = [this] {
        databaseOfUser_ = ui_->cboDatabase->currentText().toStdString();
        Changed();
    };
    connect(ui_->cboDatabase->lineEdit(), &QLineEdit::textEdited, this, database);
    connect(ui_->cboDatabase, &QComboBox::activated, this, database);
    connect(ui_->cboValve, &QComboBox::currentIndexChanged, ui_->pagesValve,
            &QStackedWidget::setCurrentIndex);
    connect(ui_->cboValve, &QComboBox::activated, this, [this] { valveOfUser_ = true; });
    connect(columns_, &ColumnsTable::Changed, this, &frmImport::Changed);
}

// --- Files ---

QStringList frmImport::FilesIn(const QMimeData* data) {
    QStringList files;
    if (data == nullptr)
        return files;
    for (const QUrl& url : data->urls()) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isFile())
            files << url.toLocalFile();
    }
    return files;
}

void frmImport::dragEnterEvent(QDragEnterEvent* event) {
    if (!importing_ && !FilesIn(event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void frmImport::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    AddFiles(FilesIn(event->mimeData()));
}

void frmImport::AddFiles(const QStringList& paths) {
    const bool wasEmpty = settings_.files.empty();
    for (const QString& path : paths) {
        const std::string absolute = QFileInfo(path).absoluteFilePath().toStdString();
        const bool known = std::any_of(settings_.files.begin(), settings_.files.end(),
                                       [&](const FileEntry& entry) { return entry.path == absolute; });
        if (known)
            continue;
        settings_.files.push_back({absolute, {}});
        ui_->lstFiles->addItem(QFileInfo(path).fileName());
        ui_->lstFiles->item(ui_->lstFiles->count() - 1)->setToolTip(Text(absolute));
    }
    if (wasEmpty && !settings_.files.empty())
        ui_->lstFiles->setCurrentRow(0);
    ShowControls();
    Plan();
}

void frmImport::ChooseFiles() {
    const QString folder = settings_.files.empty() ? Text(vorela::StartFolder())
                                                   : QFileInfo(Text(settings_.files.front().path)).path();
    AddFiles(
        QFileDialog::getOpenFileNames(this, tr("Recordings to Import"), folder,
                                      tr("All files (*);;Recordings (*.csv *.txt *.dat *.log *.las *.tsv)")));
}

void frmImport::RemoveFile() {
    const int file = CurrentFile();
    if (file < 0)
        return;
    settings_.files.erase(settings_.files.begin() + file);
    delete ui_->lstFiles->takeItem(file);
    ShowControls();
    Plan();
}

void frmImport::BrowseDatabase() {
    QFileDialog dialog(this, tr("Database for the Import"));
    dialog.setObjectName(QStringLiteral("dlgDatabase"));
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setOption(QFileDialog::DontConfirmOverwrite);  // nothing in an existing one is overwritten
    dialog.setLabelText(QFileDialog::Accept, tr("Choose"));
    dialog.setNameFilters({tr("Dravik databases (*.dkb *.db)"), tr("All files (*)")});
    dialog.setDefaultSuffix(QStringLiteral("dkb"));
    dialog.setDirectory(Text(vorela::StartFolder()));
    dialog.selectFile(ui_->cboDatabase->currentText());
    if (dialog.exec() != QDialog::Accepted)
        return;
    ui_->cboDatabase->setEditText(dialog.selectedFiles().value(0));
    databaseOfUser_ = ui_->cboDatabase->currentText().toStdString();
    Changed();
}

void frmImport::BrowseTimes() {
    const QString file =
        QFileDialog::getOpenFileName(this, tr("Times of the Valve"), Text(vorela::StartFolder()));
    if (file.isEmpty())
        return;
    ui_->txtTimes->setText(file);
    Changed();
}

int frmImport::CurrentFile() const {
    const int row = ui_->lstFiles->currentRow();
    return row < static_cast<int>(settings_.files.size()) ? row : -1;
}

const FilePlan* frmImport::CurrentPlan() const {
    const int file = CurrentFile();
    if (file < 0 || file >= static_cast<int>(job_.files.size()))
        return nullptr;
    const FilePlan& plan = job_.files[static_cast<std::size_t>(file)];
    return plan.path == settings_.files[static_cast<std::size_t>(file)].path ? &plan : nullptr;
}

// --- Planning ---

void frmImport::Changed() {
    CopyControls();
    ui_->cmdImport->setEnabled(false);  // until it is known what the change means
    soon_.start();
}

void frmImport::Plan() {
    soon_.stop();
    settings_.database =
        databaseOfUser_.empty() ? SuggestedDatabase(settings_) : vorela::FromStart(databaseOfUser_);
    ui_->cboDatabase->lineEdit()->setPlaceholderText(Automatic(SuggestedDatabase(settings_)));
    const DatabaseView database = LookAtDatabase(settings_);
    ui_->lblDatabaseState->setText(!database.problem.empty() || settings_.database.empty() ? QString()
                                   : !database.exists ? tr("a new database")
                                   : database.datasets == 1
                                       ? tr("a database with 1 dataset")
                                       : tr("a database with %1 datasets").arg(database.datasets));
    ui_->progImport->setValue(0);
    runner_.Start(settings_, database, job_);
    ShowState();
}

void frmImport::TakePlan(const JobPlan& job) {
    job_ = job;
    ui_->progImport->setValue(0);
    ShowFileStates();
    ShowControls();
    SuggestValve();
}

void frmImport::SuggestValve() {
    if (valveOfUser_ || settings_.files.empty())
        return;
    const int way = static_cast<int>(SuggestedWay(job_, DatasetOf(settings_, 0)));
    if (ui_->cboValve->currentIndex() == way)
        return;
    ui_->cboValve->setCurrentIndex(way);
    CopyControls();
    Plan();
}

void frmImport::ShowFileStates() {
    for (int i = 0; i < ui_->lstFiles->count() && i < static_cast<int>(job_.files.size()); ++i) {
        const FilePlan& plan = job_.files[static_cast<std::size_t>(i)];
        const QString state = plan.CanImport()            ? tr("%1 rows").arg(plan.plan.rows)
                              : plan.problems.size() == 1 ? tr("1 problem")
                                                          : tr("%1 problems").arg(plan.problems.size());
        ui_->lstFiles->item(i)->setText(
            QStringLiteral("%1 (%2)").arg(QFileInfo(Text(plan.path)).fileName(), state));
    }
}

// --- What is told ---

void frmImport::ShowNotes() {
    QStringList lines;
    const auto add = [&](const QString& what, const std::vector<std::string>& texts, const QString& where) {
        for (const std::string& text : texts)
            lines << what + where + Text(text);
    };
    const QString problem = tr("Problem: ");
    const QString note = tr("Note: ");
    const bool several = job_.files.size() > 1;
    add(problem, job_.problems, {});
    for (const FilePlan& file : job_.files) {
        const QString where =
            several ? QFileInfo(Text(file.path)).fileName() + QStringLiteral(": ") : QString();
        add(problem, file.problems, where);
    }
    add(note, job_.notes, {});
    for (const FilePlan& file : job_.files) {
        const QString where =
            several ? QFileInfo(Text(file.path)).fileName() + QStringLiteral(": ") : QString();
        add(note, file.notes, where);
    }
    const QString text = lines.join(QLatin1Char('\n'));
    if (ui_->txtNotes->toPlainText() != text)
        ui_->txtNotes->setPlainText(text);
}

void frmImport::ShowState() {
    const bool planned = !runner_.IsRunning() && !soon_.isActive();
    ui_->cmdImport->setEnabled(planned && !importing_ && job_.CanImport());
    ui_->progImport->setVisible(!planned || importing_);
    if (importing_)
        return;
    std::size_t problems = job_.problems.size();
    for (const FilePlan& file : job_.files)
        problems += file.problems.size();
    ui_->lblState->setText(settings_.files.empty() ? tr("Add files, or drop them here.")
                           : !planned              ? tr("Reading ...")
                           : problems == 1         ? tr("1 problem has to be settled first.")
                           : problems > 1          ? tr("%1 problems have to be settled first.").arg(problems)
                                                   : tr("Ready to import."));
}

// --- The import ---

void frmImport::Import() {
    if (soon_.isActive() || runner_.IsRunning() || !job_.CanImport())
        return;
    importing_ = true;
    stop_ = false;
    ui_->body->setEnabled(false);
    ui_->cmdCancel->setText(tr("&Stop"));
    ui_->lblState->setText(tr("Importing ..."));
    ShowState();
    QString fault;
    try {
        imported_ = RunImport(settings_, job_, [this](std::uint64_t done, std::uint64_t all) {
            return ShowProgress(done, all);
        });
    } catch (const ImportStopped&) {
        fault = tr("Stopped. Nothing was imported.");
    } catch (const vorela::DatabaseError& error) {
        fault = Text(FailureText(error));
    } catch (const vorela::RunTimeError& error) {
        fault = Text(error.description);
    } catch (const std::exception& error) {
        fault = Text(InWordsOfDialog(error.what()));
    }
    EndImport(fault);
}

void frmImport::EndImport(const QString& fault) {
    importing_ = false;
    ui_->body->setEnabled(true);
    ui_->cmdCancel->setText(tr("&Cancel"));
    ui_->progImport->setValue(0);
    if (fault.isEmpty()) {
        accept();
        return;
    }
    ShowState();
    ui_->lblState->setText(stop_ ? fault : tr("Nothing was imported."));
    if (!stop_)
        vorela::CurrentPorts().messages->Show(vorela::MessageIcon::critical, title, fault.toStdString());
}

bool frmImport::ShowProgress(std::uint64_t done, std::uint64_t all) {
    ui_->progImport->setValue(
        all == 0 ? 0 : static_cast<int>(1000.0 * static_cast<double>(done) / static_cast<double>(all)));
    QApplication::processEvents();  // Stop is among them
    return !stop_;
}

void frmImport::reject() {
    if (importing_) {
        stop_ = true;
        return;
    }
    soon_.stop();
    runner_.Stop();
    QDialog::reject();
}

}  // namespace dravik
