#include "app/LivePlotBar.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include "app/WindowBars.h"

namespace vorela {

LivePlotBar::LivePlotBar(QWidget* parent)
    : QWidget(parent),
      follow_(new QPushButton(this)),
      hold_(new QCheckBox(tr("Hold cursor ti&mes"), this)),
      state_(new QLabel(this)) {
    setObjectName(QStringLiteral("barLive"));
    follow_->setObjectName(QStringLiteral("cmdFollow"));
    hold_->setObjectName(QStringLiteral("chkHoldCursors"));
    state_->setObjectName(QStringLiteral("lblFollow"));
    hold_->setChecked(ReadWindowChoices().holdCursors);
    hold_->setToolTip(
        tr("While all data are shown, the time cursors stay at their times as the recording grows; "
           "otherwise at their places in the picture"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(follow_);
    row->addWidget(hold_);
    row->addWidget(state_, 1);
    connect(follow_, &QPushButton::clicked, this, &LivePlotBar::TogglePause);
    connect(hold_, &QCheckBox::toggled, this, [this](bool on) {
        WindowChoices choices = ReadWindowChoices();
        choices.holdCursors = on;
        WriteWindowChoices(choices);
        emit HoldChanged();
    });
    SetPaused(false);
    hide();
}

bool LivePlotBar::HoldsCursors() const {
    return hold_->isChecked() && hold_->isEnabled();
}

void LivePlotBar::SetPaused(bool on) {
    paused_ = on;
    follow_->setText(on ? tr("Follo&w") : tr("Pa&use"));
    follow_->setToolTip(on ? tr("Lets the picture follow the recording again (Ctrl+L)")
                           : tr("Keeps the picture as it is while the recording goes on (Ctrl+L)"));
    ShowState();
}

void LivePlotBar::ShowState() {
    state_->setText(paused_            ? tr("Paused: the recording goes on behind this picture")
                    : still_.isEmpty() ? tr("Following the recording")
                                       : still_);
}

void LivePlotBar::SetStill(const QString& why) {
    still_ = why;
    ShowState();
}

void LivePlotBar::TogglePause() {
    if (isHidden())
        return;
    SetPaused(!paused_);
    if (!paused_)
        emit Resumed();
}

void LivePlotBar::ShowFor(bool recorded, bool growing) {
    if (!recorded && paused_)
        SetPaused(false);
    hold_->setEnabled(growing);
    hold_->setText(growing ? tr("Hold cursor ti&mes")
                           : tr("Hold cursor ti&mes (only with Scales, All data)"));
    setVisible(recorded);
}

}  // namespace vorela
