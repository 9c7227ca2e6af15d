#include "dravik/chooser/frmChooser.h"

#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>
#include <QShortcut>
#include <QTreeWidget>
#include <algorithm>
#include <cmath>

#include "dravik/chooser/DatasetListing.h"
#include "platform/Application.h"
#include "ui_frmChooser.h"

namespace dravik {
namespace {

enum Column { nameColumn, kindColumn, depthColumn, startColumn, lengthColumn, recordingColumn, columnCount };
constexpr int sortRole = Qt::UserRole;
constexpr double largestShare = 0.9;  // of the screen
constexpr double metresPerFoot = 0.3048;

/// A line of the list; numbers and times sort by their value, not by their text.
class Line final : public QTreeWidgetItem {
  public:
    using QTreeWidgetItem::QTreeWidgetItem;
    bool operator<(const QTreeWidgetItem& other) const override {
        const int column = treeWidget() != nullptr ? treeWidget()->sortColumn() : 0;
        const QVariant mine = data(column, sortRole);
        const QVariant theirs = other.data(column, sortRole);
        if (mine.isValid() && theirs.isValid())
            return mine.toDouble() < theirs.toDouble();
        if (mine.isValid() != theirs.isValid())
            return !mine.isValid();
        return text(column).localeAwareCompare(other.text(column)) < 0;
    }
};

QString Duration(double seconds) {
    const auto whole = static_cast<qint64>(std::llround(seconds));
    return QStringLiteral("%1:%2:%3")
        .arg(whole / 3600)
        .arg(whole / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(whole % 60, 2, 10, QLatin1Char('0'));
}

void SetNumber(Line& line, int column, const QString& text, double value) {
    line.setText(column, text);
    line.setData(column, sortRole, value);
    line.setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
}

QString CountText(std::size_t count) {
    return count == 1 ? QObject::tr("1 dataset.")
                      : QObject::tr("%1 datasets; several can be chosen.").arg(count);
}

std::unique_ptr<Line> MakeLine(const DatasetListing& listing, bool metres) {
    auto line = std::make_unique<Line>();
    const QString unit = metres ? QStringLiteral(" m") : QStringLiteral(" ft");
    const double unitScale = metres ? metresPerFoot : 1.0;
    const bool time = listing.indexKind == DK_INDEX_TIME;
    line->setText(nameColumn, QString::fromStdString(listing.name));
    if (listing.damaged) {
        line->setText(recordingColumn, QObject::tr("damaged"));
        return line;
    }
    line->setText(kindColumn, time ? QObject::tr("Time") : QObject::tr("Depth"));
    if (listing.depth)
        SetNumber(*line, depthColumn, QString::number(*listing.depth * unitScale, 'f', 1) + unit,
                  *listing.depth);
    if (listing.started)
        line->setText(
            startColumn,
            QDateTime::fromSecsSinceEpoch(*listing.started).toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
    if (listing.length)
        SetNumber(
            *line, lengthColumn,
            time ? Duration(*listing.length) : QString::number(*listing.length * unitScale, 'f', 1) + unit,
            *listing.length);
    line->setText(recordingColumn, listing.recording ? QObject::tr("recording") : QString());
    return line;
}

}  // namespace

frmChooser::frmChooser(const vorela::DkBaseApi& api, QWidget* parent)
    : QDialog(parent), api_(api), ui_(std::make_unique<Ui::frmChooser>()) {
    ui_->setupUi(this);
    resize(size().boundedTo(screen()->availableSize() * largestShare));
    QTreeWidget& list = *ui_->lstDatasets;
    list.setColumnCount(columnCount);
    list.setHeaderLabels(
        {tr("Dataset"), tr("Index"), tr("Depth"), tr("Start of recording"), tr("Length"), tr("State")});
    list.header()->setSortIndicator(-1, Qt::AscendingOrder);
    for (const std::string& path : RecentDatabases())
        ui_->cboFile->addItem(QString::fromStdString(path));
    // The box has the focus, not the line inside it. Names are taken as typed, never completed to another.
    ui_->cboFile->installEventFilter(this);
    ui_->cboFile->setCompleter(nullptr);
    connect(ui_->cboFile->lineEdit(), &QLineEdit::textEdited, this, &frmChooser::ForgetList);
    connect(ui_->cboFile->lineEdit(), &QLineEdit::editingFinished, this, [this] {
        if (database_.empty() && !ui_->cboFile->currentText().isEmpty())
            OpenFile(ui_->cboFile->currentText());
    });
    connect(ui_->cboFile, &QComboBox::activated, this, [this] { OpenFile(ui_->cboFile->currentText()); });
    connect(ui_->cmdBrowse, &QPushButton::clicked, this, &frmChooser::Browse);
    connect(ui_->txtFind, &QLineEdit::textChanged, this, &frmChooser::ApplyFilter);
    connect(&list, &QTreeWidget::itemSelectionChanged, this, &frmChooser::EnableOk);
    connect(&list, &QTreeWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(ui_->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(ui_->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(new QShortcut(QKeySequence::Refresh, this), &QShortcut::activated, this, &frmChooser::List);
    if (ui_->cboFile->count() > 0)
        OpenFile(ui_->cboFile->itemText(0));
    else
        List();
    if (list.topLevelItemCount() > 0)
        list.setFocus();
}

frmChooser::~frmChooser() = default;

// Enter in the file box opens the file; it must not press OK for the file that was open before.
bool frmChooser::eventFilter(QObject* watched, QEvent* event) {
    if (watched == ui_->cboFile && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            OpenFile(ui_->cboFile->currentText());
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void frmChooser::Browse() {
    const QString folder = database_.empty() ? QString::fromStdString(vorela::StartFolder())
                                             : QFileInfo(QString::fromStdString(database_)).path();
    const QString path = QFileDialog::getOpenFileName(this, tr("Open Dravik Database"), folder,
                                                      tr("Dravik databases (*.dkb *.db);;All files (*)"));
    if (!path.isEmpty())
        OpenFile(path);
}

void frmChooser::OpenFile(const QString& path) {
    database_ = path.isEmpty() ? std::string() : vorela::FromStart(path.toStdString());
    ui_->cboFile->setEditText(QString::fromStdString(database_));
    List();
}

// While another name is typed nothing of the file that was open before can be chosen.
void frmChooser::ForgetList() {
    database_.clear();
    List();
}

void frmChooser::List() {
    QTreeWidget& list = *ui_->lstDatasets;
    list.clear();
    QString hint = tr("Open a database file: type its name and press Enter, or press Browse.");
    if (!database_.empty()) {
        std::string problem;
        const auto listings = ListDatasets(database_, problem);
        const bool metres = api_.GetDravikSetting(DK_SETTING_DEPTH_UNIT) == 1;
        hint = QString::fromStdString(problem);
        if (listings) {
            for (const DatasetListing& listing : *listings)
                list.addTopLevelItem(MakeLine(listing, metres).release());
            hint = listings->empty() ? tr("The database holds no datasets.") : CountText(listings->size());
        }
    }
    for (int column = 0; column < columnCount; ++column)
        list.resizeColumnToContents(column);
    ui_->lblProblem->setText(hint);
    ApplyFilter();
}

void frmChooser::ApplyFilter() {
    const QString wanted = ui_->txtFind->text();
    for (int i = 0; i < ui_->lstDatasets->topLevelItemCount(); ++i) {
        QTreeWidgetItem* line = ui_->lstDatasets->topLevelItem(i);
        const bool hidden = !line->text(nameColumn).contains(wanted, Qt::CaseInsensitive);
        line->setHidden(hidden);
        if (hidden)
            line->setSelected(false);  // what is not seen is not chosen
    }
    EnableOk();
}

void frmChooser::EnableOk() {
    ui_->cmdOK->setEnabled(!ui_->lstDatasets->selectedItems().isEmpty());
}

std::vector<std::string> frmChooser::ChosenDatasets() const {
    std::vector<std::string> names;
    for (int i = 0; i < ui_->lstDatasets->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* line = ui_->lstDatasets->topLevelItem(i);
        if (line->isSelected())
            names.push_back(line->text(nameColumn).toStdString());
    }
    return names;
}

}  // namespace dravik
