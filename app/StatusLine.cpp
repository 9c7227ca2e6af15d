#include "app/StatusLine.h"

#include <QLabel>
#include <QProgressBar>
#include <QStatusBar>
#include <algorithm>
#include <set>
#include <vector>

#include "analysis/CycleReasons.h"
#include "analysis/modIntervalInfo.h"
#include "app/TabStrip.h"
#include "db/CommonCurves.h"
#include "db/Curves.h"
#include "db/DatasetRecord.h"
#include "db/InputChoice.h"
#include "follow/CurveChecks.h"
#include "follow/LiveStatus.h"
#include "signal/CurveCoverage.h"

namespace vorela {
namespace {

constexpr int margin = 8;
constexpr int progressWidth = 180;

QStringList Lines(const std::vector<std::string>& lines) {
    QStringList texts;
    for (const std::string& line : lines)
        texts << QString::fromStdString(line);
    return texts;
}

}  // namespace

StatusLine::StatusLine(QStatusBar* bar, QLabel* stale)
    : bar_(bar),
      lblStale_(stale),
      lblLive_(new QLabel(bar)),
      lblSelection_(new QLabel(bar)),
      progBar_(new QProgressBar(bar)) {
    lblLive_->setObjectName(QStringLiteral("lblLive"));
    lblLive_->setToolTip(
        tr("Seconds of the record that were written but not worked on yet, cycles so far, time to the next "
           "valve boundary"));
    lblSelection_->setObjectName(QStringLiteral("lblSelection"));
    lblSelection_->setContentsMargins(margin, 0, margin, 0);
    progBar_->setObjectName(QStringLiteral("progBar"));
    progBar_->setTextVisible(false);
    progBar_->setFixedWidth(progressWidth);
    progBar_->setAccessibleName(tr("Progress"));
    for (QWidget* part : std::initializer_list<QWidget*>{lblLive_, lblSelection_, progBar_})
        bar->addPermanentWidget(part);
    lblLive_->hide();
    progBar_->hide();  // until there is progress to show
}

void StatusLine::Say(const QString& text) {
    said_ = text;
    bar_->showMessage(text);
}

void StatusLine::EndSaid() {
    if (!said_.isEmpty() && bar_->currentMessage() == said_)
        ShowHints();
}

// --- Hints ---

QStringList StatusLine::Hints() const {
    QStringList hints = stale_ + resultHints_ + Lines(UnitWarnings()) + Lines(CurveNotes());
    const auto& datasets = CurrentSelection().datasets;
    std::set<std::string> readOnly;
    for (const DatasetRecord& record : datasets)
        if (!IsWritable(record.database) && readOnly.insert(record.database).second)
            hints << tr("%1 is read only: it is analysed as it stands")
                         .arg(QString::fromStdString(record.database));
    if (const std::string conflict = ChoiceConflict(); !conflict.empty() && !datasets.empty())
        hints << QString::fromStdString(conflict);
    else if (std::ranges::any_of(datasets, &DatasetRecord::IsUnmeasured))
        hints << tr("No cycles yet: choose Action, Calculate cycle info...");
    return hints;
}

void StatusLine::ShowHints() {
    hints_ = Hints().join(QStringLiteral("; "));
    Say(hints_);
}

void StatusLine::RenewHints() {
    if (!hints_.isEmpty() && bar_->currentMessage() == hints_)
        ShowHints();
}

void StatusLine::ShowStaleCurves() {
    const QStringList stale = Lines(StaleCurveLines());
    lblStale_->setText(stale.join(QLatin1Char('\n')));
    lblStale_->setVisible(!stale.isEmpty());
    if (stale == stale_)
        return;
    stale_ = stale;
    ShowHints();
}

// What following has made is said once and not lost to the hints.
void StatusLine::ShowResultHints(bool rest) {
    const QStringList lines = Lines(rest ? ExplainedResultHints() : ResultHints());
    if (lines == resultHints_)
        return;
    resultHints_ = lines;
    const QString before = bar_->currentMessage();
    ShowHints();
    if (before.startsWith(QLatin1String("Following ")))
        Say(QStringList{before, hints_}.join(QStringLiteral("; ")));
}

void StatusLine::ShowStanding(const std::string& error) {
    const QString text = QString::fromStdString(error).replace(QLatin1Char('\r'), QLatin1Char(' '));
    if (!text.isEmpty())
        Say(text);
    else if (!standing_.isEmpty() && bar_->currentMessage() == standing_)
        ShowHints();
    standing_ = text;
}

// --- The labels ---

void StatusLine::ShowSelected() {
    const Selection& selection = CurrentSelection();
    const auto name = [](const std::string& text) { return QString::fromStdString(text); };
    lblSelection_->setText(selection.datasets.empty()
                               ? tr("No data selected")
                               : LevelCountText() + QStringLiteral(", ") + name(selection.choice.pressure) +
                                     QStringLiteral(" / ") + name(selection.choice.flow));
}

void StatusLine::ShowLive(std::size_t shown) {
    const auto& levels = CurrentSelection().datasets;
    const auto first = std::ranges::find_if(levels, &DatasetRecord::IsRecorded);
    const bool ofShown = shown < levels.size() && levels[shown].IsRecorded();
    const auto status =
        LiveStatusOf(ofShown ? shown : static_cast<std::size_t>(std::distance(levels.begin(), first)));
    lblLive_->setVisible(status.has_value());
    lblLive_->setText(status ? QString::fromStdString(LiveStatusText(*status)) : QString());
}

}  // namespace vorela
