#include "app/CycleOffer.h"

#include <QEvent>
#include <QPushButton>
#include <QScrollBar>
#include <algorithm>

#include "analysis/ResultGridView.h"

namespace vorela {

CycleOffer::CycleOffer(ResultGridView* grid, int row)
    : QObject(grid),
      grid_(grid),
      button_(new QPushButton(tr("Calculate cycle info"), grid->viewport())),
      row_(row) {
    button_->setObjectName(QStringLiteral("cmdCalculateCycles"));
    button_->setToolTip(
        tr("No cycles have been measured yet: measures them now (Action, Calculate cycle info)"));
    button_->hide();
    connect(button_, &QPushButton::clicked, this, &CycleOffer::Accepted);
    grid->viewport()->installEventFilter(this);
    for (const QScrollBar* bar : {grid->horizontalScrollBar(), grid->verticalScrollBar()})
        connect(bar, &QScrollBar::valueChanged, this, &CycleOffer::Place);
}

void CycleOffer::Offer(bool on) {
    offered_ = on;
    Place();
}

bool CycleOffer::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize)
        Place();
    return QObject::eventFilter(watched, event);
}

void CycleOffer::Place() {
    const int row = std::min(row_, grid_->rowCount() - 1);
    const QTableWidgetItem* cell = grid_->item(row, 1);
    const bool focused = button_->hasFocus();
    button_->setVisible(offered_ && cell != nullptr);
    if (cell != nullptr) {
        const QRect place = grid_->visualItemRect(cell);
        // The summary has no row before there are intervals: where the first one will be.
        button_->setGeometry(
            QRect(place.topLeft() + QPoint(0, (row_ - row) * grid_->rowHeight(row)), button_->sizeHint()));
    }
    if (focused && button_->isHidden())
        grid_->setFocus();
}

}  // namespace vorela
