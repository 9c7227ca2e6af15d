#include "app/RecentMenu.h"

#include "follow/RecentSelections.h"

namespace vorela {

// The entries stay for good and only change their texts: one of them may be what is being carried out.
RecentMenu::RecentMenu(QWidget* parent) : QMenu(tr("Recen&t Selections"), parent) {
    setObjectName(QStringLiteral("mnuRecent"));
    connect(this, &QMenu::aboutToShow, this, &RecentMenu::Fill);
    for (std::size_t i = 0; i < mostRecentSelections; ++i) {
        entries_.push_back(addAction(QString()));
        entries_.back()->setObjectName(QStringLiteral("mnuRecent%1").arg(i + 1));
        connect(entries_.back(), &QAction::triggered, this, [this, i] {
            const std::vector<RecentSelection> all = RecentSelections();
            if (i < all.size())
                emit Chosen(all[i]);
        });
    }
    Fill();
}

void RecentMenu::Fill() {
    const std::vector<RecentSelection> all = RecentSelections();
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const bool there = i < all.size();
        QString caption = there ? QString::fromStdString(RecentCaption(all[i])) : tr("(none yet)");
        caption.replace(QLatin1Char('&'), QLatin1String("&&"));
        entries_[i]->setText(QStringLiteral("&%1 %2").arg(i + 1).arg(caption));
        entries_[i]->setVisible(there || i == 0);
        entries_[i]->setToolTip(there ? QString::fromStdString(all[i].levels.front().database) : QString());
    }
}

}  // namespace vorela
