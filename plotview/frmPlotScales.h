// "Vorela Plot Scales": time range and vertical ranges of the plot.
#pragma once

#include <QDialog>
#include <array>
#include <memory>

#include "plot/modPlotScales.h"

class QCheckBox;
class QLabel;
class QLineEdit;

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
    /// Apply with valid contents: the options are stored, the settings file is not written; the plot needs a
    /// redraw.
    void Applied();

  private:
    /// The controls of one axis frame.
    struct AxisControls {
        QCheckBox* autoscale;
        QLineEdit* minimum;
        QLineEdit* maximum;
        QLabel* units;
    };

    void Fill();
    ScalesForm Read() const;
    bool Validate();
    void EnableTimeControls();

    std::unique_ptr<Ui::frmPlotScales> ui_;
    std::array<AxisControls, quantityCount> axes_{};  ///< by quantity code
};

}  // namespace vorela
