#include "app/TabStrip.h"

#include <QIcon>
#include <QPainter>
#include <QStringList>
#include <QTabBar>
#include <filesystem>
#include <set>

#include "analysis/modIntervalInfo.h"
#include "follow/ActionQueue.h"
#include "general/NumberText.h"

namespace vorela {
namespace {

constexpr int markSide = 16;

const std::vector<DatasetRecord>& Levels() {
    return CurrentSelection().datasets;
}

/// A red disc with a dark rim, seen on light and on dark tabs.
QIcon RecordingIcon() {
    QIcon icon;
    for (const int scale : {1, 2, 3}) {
        QPixmap picture(markSide * scale, markSide * scale);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(110, 0, 0), scale));
        painter.setBrush(QColor(225, 30, 30));
        const double margin = 3.0 * scale;
        painter.drawEllipse(QRectF(picture.rect()).adjusted(margin, margin, -margin, -margin));
        icon.addPixmap(picture);
    }
    return icon;
}

QString DatabaseNames() {
    QStringList names;
    std::set<std::string> seen;
    for (const DatasetRecord& record : Levels())
        if (seen.insert(record.database).second)
            names << QString::fromStdString(std::filesystem::path(record.database).filename().string());
    return names.join(QStringLiteral(", "));
}

}  // namespace

QString LevelText(const DatasetRecord& record) {
    return QStringLiteral("%1 (%2 ft)")
        .arg(QString::fromStdString(record.dataset), QString::fromStdString(FormatNumber(record.sortKey)));
}

QString LevelCountText() {
    return Levels().size() == 1 ? QTabBar::tr("1 level") : QTabBar::tr("%1 levels").arg(Levels().size());
}

void FillTabs(QTabBar& strip) {
    QStringList names;
    for (const char* name : TabNames())
        names << QString::fromUtf8(name);
    for (const DatasetRecord& record : Levels())
        names << QString::fromStdString(record.dataset).replace(QLatin1Char('&'), QLatin1String("&&"));
    const QSignalBlocker quiet(strip);
    while (strip.count() > names.size())
        strip.removeTab(strip.count() - 1);
    for (int i = 0; i < names.size(); ++i) {
        if (i >= strip.count())
            strip.addTab(names[i]);
        else if (strip.tabText(i) != names[i])
            strip.setTabText(i, names[i]);
        const int dataset = i - (firstDatasetTab - 1);
        strip.setTabToolTip(
            i, dataset >= 0 ? LevelText(Levels()[static_cast<std::size_t>(dataset)]) : QString());
    }
}

void MarkRecordings(QTabBar& strip) {
    static const QIcon mark = RecordingIcon();
    for (int tab = firstDatasetTab - 1; tab < strip.count(); ++tab) {
        const auto dataset = static_cast<std::size_t>(tab - (firstDatasetTab - 1));
        if (dataset >= Levels().size())
            break;
        const bool recorded = Levels()[dataset].IsRecorded();
        if (strip.tabIcon(tab).isNull() == recorded)
            strip.setTabIcon(tab, recorded ? mark : QIcon());
        const QString name = QString::fromStdString(Levels()[dataset].dataset);
        strip.setAccessibleTabName(tab, recorded ? QTabBar::tr("%1, being recorded").arg(name) : name);
        if (recorded && !strip.tabToolTip(tab).endsWith(QTabBar::tr("being recorded")))
            strip.setTabToolTip(tab, strip.tabToolTip(tab) + QTabBar::tr(", being recorded"));
    }
}

QString WindowTitle(int tab, std::size_t shown) {
    QStringList parts;
    if (!Levels().empty()) {
        parts << DatabaseNames();
        const bool ofLevel = IsTab(tab, GridKind::level) || tab >= firstDatasetTab;
        const bool ofInterval = IsTab(tab, GridKind::interval) || IsTab(tab, GridKind::quicklook);
        if (ofLevel && shown < Levels().size())
            parts << QString::fromStdString(Levels()[shown].dataset);
        else if (ofInterval && ShownChoice().interval <= IntervalCount())
            parts << QTabBar::tr("%1 ft").arg(
                QString::fromStdString(CurrentIntervals()[ShownChoice().interval].label));
        else
            parts << LevelCountText();
    }
    parts << QStringLiteral("Corvane Vorela");
    return parts.join(QStringLiteral(" - "));
}

}  // namespace vorela
