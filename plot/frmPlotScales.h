// "Vorela Plot Scales": time range and vertical ranges of the plot.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmPlotScales;
}

namespace vorela {

class frmPlotScales : public QDialog {
    Q_OBJECT

  public:
    /// Filled from the presentation options.
    explicit frmPlotScales(QWidget* parent = nullptr);
    ~frmPlotScales() override;

  signals:
    /// Apply with valid contents: the options are stored, the settings file is not written; the plot needs a redraw.
    void Applied();

  private:
    bool Validate();
    void EnableTimeControls();

    std::unique_ptr<Ui::frmPlotScales> ui_;
};

}  // namespace vorela
