// Controls and settings of the import dialog: one shows the other.
#include <QTableWidget>
#include <algorithm>

#include "dravik/importer/ColumnsTable.h"
#include "dravik/importer/ControlTexts.h"
#include "dravik/importer/RowsTable.h"
#include "dravik/importer/ValveSettings.h"
#include "dravik/importer/frmImport.h"
#include "general/NumberText.h"
#include "platform/Application.h"
#include "ui_frmImport.h"

namespace dravik {

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
    const std::string times = ui_->txtTimes->text().toStdString();
    valve.times = times.empty() ? times : vorela::FromStart(times);
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
    columns_->Copy(controls);
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
    columns_->Show(CurrentPlan());
    ShowFirstRows(*ui_->tblRows, CurrentPlan());
    ShowNotes();
    ShowValve();
    ShowState();
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

}  // namespace dravik
