#include "dravik/importer/frmImport.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QScreen>
#include <QShortcut>
#include <algorithm>
#include <exception>
#include <utility>

#include "dravik/exchange/Datasets.h"
#include "dravik/importer/ValveSettings.h"
#include "general/NumberText.h"
#include "general/Ports.h"
#include "general/RunTimeError.h"
#include "general/modGeneral.h"
#include "ui_frmImport.h"

namespace dravik {
namespace {

enum Column { sourceColumn, roleColumn, curveColumn, unitColumn, convertColumn, contentsColumn, columnCount };
constexpr double largestShare = 0.95;  // of the screen
constexpr int changeDelayMs = 200;     // typing goes on
constexpr int automaticRow = 0;
constexpr const char* title = "Import Recording";

QString Text(const std::string& text) {
    return QString::fromStdString(text);
}

QString Automatic(const std::string& found) {
    return found.empty() ? QObject::tr("automatic") : QObject::tr("automatic: %1").arg(Text(found));
}

/// The choice of a box; "" for the automatic one.
std::string ChoiceOf(const QComboBox& box) {
    return box.currentIndex() <= automaticRow ? std::string() : box.currentData().toString().toStdString();
}

void ShowChoice(QComboBox& box, const std::string& choice) {
    box.setCurrentIndex(choice.empty() ? automaticRow : std::max(0, box.findData(Text(choice))));
}

/// Without moving the cursor of a user who is typing.
void ShowText(QLineEdit& line, const std::string& text) {
    if (line.text() != Text(text))
        line.setText(Text(text));
}

using Entries = std::vector<std::pair<QString, QString>>;  // shown, data

/// An open list is left alone while its entries stay the same.
void ShowEntries(QComboBox& box, const Entries& entries, const std::string& choice) {
    bool same = box.count() == static_cast<int>(entries.size());
    for (int i = 0; same && i < box.count(); ++i) {
        const auto& [shown, data] = entries[static_cast<std::size_t>(i)];
        same = box.itemText(i) == shown && box.itemData(i).toString() == data;
    }
    if (!same) {
        box.clear();
        for (const auto& [shown, data] : entries)
            box.addItem(shown, data);
    }
    ShowChoice(box, choice);
}

void AddChoices(QComboBox& box, const std::vector<std::pair<const char*, const char*>>& choices) {
    box.addItem(Automatic({}), QString());
    for (const auto& [data, shown] : choices)
        box.addItem(QObject::tr(shown), QString::fromUtf8(data));
}

/// Through dark and light palettes alike.
QColor MarkOf(Role role) {
    switch (role) {
        case Role::time:
            return {60, 120, 220, 70};
        case Role::leaveOut:
            return {128, 128, 128, 40};
        default:
            return {60, 170, 80, 70};
    }
}

QString MarkText(const ColumnView& column) {
    if (column.role == Role::time)
        return QObject::tr("time");
    if (column.role == Role::leaveOut)
        return QObject::tr("left out");
    return QStringLiteral("→ %1 %2").arg(Text(column.name), Text(column.convert ? "psi" : column.unit));
}

QTableWidgetItem* Cell(const std::string& text, Role role, bool editable = false) {
    auto* item = new QTableWidgetItem(Text(text));
    item->setBackground(MarkOf(role));
    if (!editable)
        item->setFlags(item->flags() & ~Qt::ItemIsEditable);
    return item;
}

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
    ui_->tblColumns->setColumnCount(columnCount);
    ui_->tblColumns->setHorizontalHeaderLabels(
        {tr("Column"), tr("Role"), tr("Curve"), tr("Unit"), tr("To psi"), tr("Contents")});
    ui_->tblColumns->horizontalHeader()->setStretchLastSection(true);
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

void frmImport::FillFixedLists() {
    AddChoices(
        *ui_->cboSeparator,
        {{",", "comma  ,"}, {";", "semicolon  ;"}, {"tab", "tab"}, {"|", "bar  |"}, {"blanks", "blanks"}});
    AddChoices(*ui_->cboDecimal, {{".", "point  ."}, {",", "comma  ,"}});
    AddChoices(*ui_->cboTime, {});
    AddChoices(*ui_->cboTimeUnit, {{"s", "s"},
                                   {"ms", "ms"},
                                   {"min", "min"},
                                   {"h", "h"},
                                   {"d", "d"},
                                   {"ft", "ft (depth)"},
                                   {"m", "m (depth)"}});
    AddChoices(*ui_->cboDateOrder,
               {{"ymd", "year month day"}, {"dmy", "day month year"}, {"mdy", "month day year"}});
    AddChoices(*ui_->cboEncoding, {{"UTF-8", "UTF-8"},
                                   {"UTF-16LE", "UTF-16 LE"},
                                   {"UTF-16BE", "UTF-16 BE"},
                                   {"WINDOWS-1252", "Windows-1252"},
                                   {"WINDOWS-1251", "Windows-1251"},
                                   {"ISO-8859-15", "ISO-8859-15"},
                                   {"CP437", "DOS 437"},
                                   {"CP850", "DOS 850"}});
    AddChoices(*ui_->cboValveCurve, {});
    ui_->cboValve->addItems(
        {tr("recorded curves"), tr("nominal schedule"), tr("threshold of a column"), tr("list of times")});
}

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
    connect(ui_->cboValve, &QComboBox::activated, ui_->pagesValve, &QStackedWidget::setCurrentIndex);
    connect(ui_->tblColumns, &QTableWidget::itemChanged, this, [this] {
        if (!showing_)
            Changed();
    });
    ui_->tblColumns->installEventFilter(this);
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
    const QString folder =
        settings_.files.empty() ? QString() : QFileInfo(Text(settings_.files.front().path)).path();
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
    dialog.selectFile(ui_->cboDatabase->currentText());
    if (dialog.exec() != QDialog::Accepted)
        return;
    ui_->cboDatabase->setEditText(dialog.selectedFiles().value(0));
    databaseOfUser_ = ui_->cboDatabase->currentText().toStdString();
    Changed();
}

void frmImport::BrowseTimes() {
    const QString file = QFileDialog::getOpenFileName(this, tr("Times of the Valve"));
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

// --- Controls ---

void frmImport::Changed() {
    CopyControls();
    ui_->cmdImport->setEnabled(false);  // until it is known what the change means
    soon_.start();
}

void frmImport::CopyControls() {
    settings_.join = ui_->chkJoin->isChecked();
    settings_.joinExisting = ui_->chkJoinExisting->isChecked();
    ValveControls& valve = settings_.valve;
    valve.way = static_cast<ValveWay>(ui_->cboValve->currentIndex());
    valve.period = ui_->txtPeriod->text().toStdString();
    valve.first = ui_->txtFirst->text().toStdString();
    valve.curve = ChoiceOf(*ui_->cboValveCurve);
    valve.threshold = ui_->txtThreshold->text().toStdString();
    valve.hysteresis = ui_->txtHysteresis->text().toStdString();
    valve.invert = ui_->chkInvert->isChecked();
    valve.times = ui_->txtTimes->text().toStdString();
    const int file = CurrentFile();
    if (file < 0)
        return;
    FileControls& controls = settings_.files[static_cast<std::size_t>(file)].controls;
    controls.separator = ChoiceOf(*ui_->cboSeparator);
    controls.decimal = ChoiceOf(*ui_->cboDecimal);
    controls.encoding = ChoiceOf(*ui_->cboEncoding);
    controls.headerLine = ui_->txtHeaderLine->text().toStdString();
    controls.leaveOut = ui_->txtLeaveOut->text().toStdString();
    controls.nulls = ui_->txtNull->text().toStdString();
    controls.time = ChoiceOf(*ui_->cboTime);
    controls.timeUnit = ChoiceOf(*ui_->cboTimeUnit);
    controls.timeFormat = ui_->txtTimeFormat->text().toStdString();
    controls.dateOrder = ChoiceOf(*ui_->cboDateOrder);
    controls.step = ui_->txtStep->text().toStdString();
    controls.fill = ui_->txtFill->text().toStdString();
    controls.shift = ui_->txtShift->text().toStdString();
    controls.dataset = ui_->txtDataset->text().toStdString();
    controls.depth = ui_->txtDepth->text().toStdString();
    CopyColumns(controls);
}

// What differs from what the table showed is the user's.
void frmImport::CopyColumns(FileControls& controls) const {
    const QTableWidget& table = *ui_->tblColumns;
    if (shownColumns_.empty())
        return;
    controls.columns.resize(shownColumns_.size());
    for (int row = 0; row < table.rowCount(); ++row) {
        const ColumnView& shown = shownColumns_[static_cast<std::size_t>(row)];
        ColumnControls& own = controls.columns[static_cast<std::size_t>(row)];
        if (own.source != shown.source)
            own = {};
        own.source = shown.source;
        const auto* roles = qobject_cast<QComboBox*>(table.cellWidget(row, roleColumn));
        if (roles == nullptr)
            continue;
        const Role role = givenRoles[static_cast<std::size_t>(std::max(0, roles->currentIndex()))];
        // Another role has a name of its own.
        if (role != shown.role) {
            own.role = role;
            own.name.clear();
        }
        const std::string name = table.item(row, curveColumn)->text().toStdString();
        const std::string unit = table.item(row, unitColumn)->text().toStdString();
        if (name != shown.name && role == shown.role)
            own.name = name;
        if (unit != shown.unit)
            own.unit = unit;
        own.convert = table.item(row, convertColumn)->checkState() == Qt::Checked;
    }
}

void frmImport::ShowControls() {
    showing_ = true;
    const int file = CurrentFile();
    const FileControls controls =
        file < 0 ? FileControls() : settings_.files[static_cast<std::size_t>(file)].controls;
    ui_->grpReading->setEnabled(file >= 0);
    ui_->cmdRemoveFile->setEnabled(file >= 0);
    ui_->chkJoin->setEnabled(settings_.files.size() > 1);
    ShowFound();
    ShowChoice(*ui_->cboSeparator, controls.separator);
    ShowChoice(*ui_->cboDecimal, controls.decimal);
    ShowChoice(*ui_->cboEncoding, controls.encoding);
    ShowChoice(*ui_->cboTimeUnit, controls.timeUnit);
    ShowChoice(*ui_->cboDateOrder, controls.dateOrder);
    ShowText(*ui_->txtHeaderLine, controls.headerLine);
    ShowText(*ui_->txtLeaveOut, controls.leaveOut);
    ShowText(*ui_->txtNull, controls.nulls);
    ShowText(*ui_->txtTimeFormat, controls.timeFormat);
    ShowText(*ui_->txtStep, controls.step);
    ShowText(*ui_->txtFill, controls.fill);
    ShowText(*ui_->txtShift, controls.shift);
    ShowText(*ui_->txtDataset, controls.dataset);
    ShowText(*ui_->txtDepth, controls.depth);
    showing_ = false;
    ShowColumns();
    ShowRows();
    ShowNotes();
    ShowValve();
    ShowState();
}

// --- Planning ---

void frmImport::Plan() {
    soon_.stop();
    settings_.database = databaseOfUser_.empty() ? SuggestedDatabase(settings_) : databaseOfUser_;
    ui_->cboDatabase->lineEdit()->setPlaceholderText(Automatic(SuggestedDatabase(settings_)));
    const DatabaseView database = LookAtDatabase(settings_);
    ui_->lblDatabaseState->setText(!database.problem.empty() || settings_.database.empty() ? QString()
                                   : !database.exists                                      ? tr("new")
                                   : database.datasets == 1
                                       ? tr("exists, 1 dataset")
                                       : tr("exists, %1 datasets").arg(database.datasets));
    ui_->progImport->setValue(0);
    runner_.Start(settings_, database, job_);
    ShowState();
}

void frmImport::TakePlan(const JobPlan& job) {
    job_ = job;
    ui_->progImport->setValue(0);
    ShowFileStates();
    ShowControls();
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

// What was found stands in the first entry of each list and behind each empty line.
void frmImport::ShowFound() {
    const FilePlan* plan = CurrentPlan();
    const FoundTexts found = plan == nullptr ? FoundTexts() : FoundOf(plan->plan);
    ui_->cboSeparator->setItemText(automaticRow, Automatic(found.separator));
    ui_->cboDecimal->setItemText(automaticRow, Automatic(found.decimal));
    ui_->cboEncoding->setItemText(automaticRow, Automatic(found.encoding));
    ui_->cboTimeUnit->setItemText(automaticRow, Automatic(found.timeUnit));
    ui_->cboDateOrder->setItemText(automaticRow, Automatic(found.dateOrder));
    ui_->txtHeaderLine->setPlaceholderText(Automatic(found.headerLine));
    ui_->txtStep->setPlaceholderText(Automatic(found.step));
    const int file = CurrentFile();
    const bool first = file == 0 || !settings_.join;
    ui_->txtDataset->setEnabled(file >= 0 && first);
    ui_->txtDepth->setEnabled(file >= 0 && first);
    ui_->txtDataset->setPlaceholderText(
        file < 0 ? QString() : Automatic(DatasetOf(settings_, static_cast<std::size_t>(file))));

    Entries times{{Automatic(found.time), QString()}};
    const std::vector<ColumnView> columns = plan == nullptr ? std::vector<ColumnView>() : plan->columns;
    for (std::size_t i = 0; i < columns.size(); ++i)
        times.emplace_back(Text(columns[i].source), QStringLiteral("#%1").arg(i + 1));
    // Date and clock in columns of their own stand side by side; a format may make them of numbers.
    const FileControls controls =
        file < 0 ? FileControls() : settings_.files[static_cast<std::size_t>(file)].controls;
    for (std::size_t i = 0; i + 1 < columns.size(); ++i) {
        if ((!columns[i].isNumber && !columns[i + 1].isNumber) || !controls.timeFormat.empty())
            times.emplace_back(Text(columns[i].source + " + " + columns[i + 1].source),
                               QStringLiteral("#%1,#%2").arg(i + 1).arg(i + 2));
    }
    ShowEntries(*ui_->cboTime, times, controls.time);
}

// --- Columns and rows ---

void frmImport::ShowColumns() {
    QTableWidget& table = *ui_->tblColumns;
    // What is being typed will bring a plan of its own.
    if (table.findChild<QLineEdit*>() != nullptr)
        return;
    showing_ = true;
    const int row = table.currentRow();
    const int column = table.currentColumn();
    const FilePlan* plan = CurrentPlan();
    shownColumns_ = plan == nullptr ? std::vector<ColumnView>() : plan->columns;
    table.setRowCount(0);
    table.setRowCount(static_cast<int>(shownColumns_.size()));
    for (int i = 0; i < table.rowCount(); ++i)
        ShowColumn(i, shownColumns_[static_cast<std::size_t>(i)]);
    table.resizeColumnsToContents();
    if (row >= 0 && row < table.rowCount())
        table.setCurrentCell(row, column);
    showing_ = false;
}

void frmImport::ShowColumn(int row, const ColumnView& column) {
    QTableWidget& table = *ui_->tblColumns;
    const bool taken = !column.name.empty();
    table.setItem(row, sourceColumn, Cell(column.source, column.role));
    table.setItem(row, roleColumn, Cell(RoleText(column.role), column.role));
    table.setItem(row, curveColumn, Cell(column.name, column.role, taken));
    table.setItem(row, unitColumn, Cell(column.unit, column.role, taken));
    auto* convert = Cell({}, column.role);
    if (column.canConvert) {
        convert->setFlags(convert->flags() | Qt::ItemIsUserCheckable);
        convert->setCheckState(column.convert ? Qt::Checked : Qt::Unchecked);
        convert->setToolTip(tr("Converts the pressure to psi"));
    } else {
        convert->setFlags(convert->flags() & ~Qt::ItemIsUserCheckable);
    }
    table.setItem(row, convertColumn, convert);
    table.setItem(row, contentsColumn, Cell(column.contents, column.role));
    if (column.role == Role::time || !column.isNumber)
        return;
    auto* roles = new QComboBox(&table);
    for (const Role role : givenRoles)
        roles->addItem(QString::fromUtf8(RoleText(role)));
    const auto* given = std::find(givenRoles.begin(), givenRoles.end(), column.role);
    roles->setCurrentIndex(static_cast<int>(given - givenRoles.begin()));
    roles->setObjectName(QStringLiteral("cboRole%1").arg(row));
    roles->setAccessibleName(tr("Role of %1").arg(Text(column.source)));
    roles->setFocusPolicy(Qt::ClickFocus);  // Enter in its cell opens it
    connect(roles, &QComboBox::activated, this, [this] {
        ui_->tblColumns->setFocus();
        Changed();
    });
    table.setCellWidget(row, roleColumn, roles);
}

// Enter in a cell is meant for the cell, never for the Import button.
bool frmImport::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ui_->tblColumns && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
        if ((enter || key == Qt::Key_Space || key == Qt::Key_F2) && ActOnCell())
            return true;
        if (enter)
            return true;
    }
    return QDialog::eventFilter(watched, event);
}

bool frmImport::ActOnCell() {
    QTableWidget& table = *ui_->tblColumns;
    QTableWidgetItem* item = table.currentItem();
    if (item == nullptr)
        return false;
    if (auto* roles = qobject_cast<QComboBox*>(table.cellWidget(item->row(), item->column()))) {
        roles->setFocus();
        roles->showPopup();
        return true;
    }
    if ((item->flags() & Qt::ItemIsEditable) == 0)
        return false;
    table.editItem(item);
    return true;
}

void frmImport::ShowRows() {
    QTableWidget& table = *ui_->tblRows;
    const FilePlan* plan = CurrentPlan();
    table.clear();
    table.setRowCount(0);
    table.setColumnCount(0);
    if (plan == nullptr)
        return;
    std::size_t columns = 0;
    for (const auto& row : plan->head.rows)
        columns = std::max(columns, row.size());
    table.setColumnCount(static_cast<int>(columns));
    table.setRowCount(static_cast<int>(plan->head.rows.size()));
    const bool isTable = plan->head.isTable;
    for (std::size_t i = 0; i < columns; ++i) {
        const ColumnView* view = isTable && i < plan->columns.size() ? &plan->columns[i] : nullptr;
        const Role role = view == nullptr ? Role::leaveOut : view->role;
        auto* head =
            new QTableWidgetItem(view == nullptr ? tr("Text of the file")
                                                 : Text(view->source) + QLatin1Char('\n') + MarkText(*view));
        head->setBackground(MarkOf(role));
        table.setHorizontalHeaderItem(static_cast<int>(i), head);
        for (std::size_t row = 0; row < plan->head.rows.size(); ++row) {
            const auto& cells = plan->head.rows[row];
            table.setItem(static_cast<int>(row), static_cast<int>(i),
                          Cell(i < cells.size() ? cells[i] : "", role));
        }
    }
    table.resizeColumnsToContents();
    table.resizeRowsToContents();
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

void frmImport::ShowValve() {
    const std::string dataset = settings_.files.empty() ? "" : DatasetOf(settings_, 0);
    const ThresholdFound found = FindThreshold(settings_.valve, job_, dataset);
    ValveControls suggested = settings_.valve;
    suggested.curve.clear();
    Entries curves{{Automatic(FindThreshold(suggested, job_, dataset).curve), QString()}};
    for (const FilePlan& file : job_.files) {
        for (const ColumnView& column : file.columns) {
            const std::pair<QString, QString> entry(Text(column.name), Text(column.name));
            if (!column.name.empty() && std::find(curves.begin(), curves.end(), entry) == curves.end())
                curves.push_back(entry);
        }
    }
    ShowEntries(*ui_->cboValveCurve, curves, settings_.valve.curve);
    ui_->txtThreshold->setPlaceholderText(
        Automatic(found.curve.empty() ? "" : vorela::ShortestText(static_cast<float>(found.middle))));
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
