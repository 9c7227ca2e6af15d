// The strip under the plot: times of both cursors, their difference in seconds and in periods of test, and
// each plotted curve's value at both cursors with the difference.
#pragma once

#include <QWidget>

class QLabel;

namespace vorela {

class PlotWidget;

class PlotReadoutStrip : public QWidget {
    Q_OBJECT

  public:
    /// Follows `plot` as long as that lives.
    explicit PlotReadoutStrip(PlotWidget* plot, QWidget* parent = nullptr);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Refresh();

    PlotWidget* plot_;
    QLabel* text_;
};

}  // namespace vorela
