// The strip under the plot: times of both cursors, their difference in seconds and in periods of test, and
// each plotted curve's value at both cursors with the difference.
#pragma once

#include <QWidget>

namespace vorela {

class PlotWidget;
class ReadoutTable;

class PlotReadoutStrip : public QWidget {
    Q_OBJECT

  public:
    /// Follows `plot` as long as that lives.
    explicit PlotReadoutStrip(PlotWidget* plot, QWidget* parent = nullptr);

    /// What is shown, cells by tabs and rows by line feeds; the context menu copies it.
    QString Text() const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    void Refresh();

    PlotWidget* plot_;
    ReadoutTable* table_;
};

}  // namespace vorela
