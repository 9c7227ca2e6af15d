// "Vorela Plot Format": number of plots, axes, gridlines and plotted curves.
#pragma once

#include <QDialog>
#include <memory>

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
    /// Apply with valid contents: the format is stored, the settings file is not written; the plot needs a redraw.
    void Applied();

  private:
    std::unique_ptr<Ui::frmPlotFormat> ui_;
};

}  // namespace vorela
