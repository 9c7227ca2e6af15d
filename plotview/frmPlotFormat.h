// "Vorela Plot Format": number of plots, axes, gridlines and plotted curves.
#pragma once

#include <QDialog>
#include <memory>

#include "plot/modPlotFormat.h"

class QButtonGroup;

namespace Ui {
class frmPlotFormat;
}

namespace vorela {

class frmPlotFormat : public QDialog {
    Q_OBJECT

  public:
    /// Filled from the plot format.
    explicit frmPlotFormat(QWidget* parent = nullptr);
    ~frmPlotFormat() override;

  signals:
    /// Apply with valid contents: the format is stored, the settings file is not written; the plot needs a
    /// redraw.
    void Applied();

  private:
    /// The option buttons `name`0, `name`1, … as a group whose ids are their indices.
    QButtonGroup* Group(const QString& name);
    void Fill();
    PlotFormatForm Read() const;

    std::unique_ptr<Ui::frmPlotFormat> ui_;
    QButtonGroup* y1_;
    QButtonGroup* y2_;
    QButtonGroup* mod_;
    QButtonGroup* flow_;
};

}  // namespace vorela
