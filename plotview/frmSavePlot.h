// What a saved plot looks like: resolution, colours, cursor lines. The file's place is asked for afterwards.
#pragma once

#include <QDialog>
#include <memory>

#include "plotview/PlotFile.h"

namespace Ui {
class frmSavePlot;
}

namespace vorela {

class frmSavePlot : public QDialog {
    Q_OBJECT
  public:
    explicit frmSavePlot(QWidget* parent = nullptr);
    ~frmSavePlot() override;

    /// Resolution and colours as chosen.
    PlotFileOptions Options() const;
    bool WithCursors() const;
    /// For a picture that has no cursors.
    void HideCursors();

  private:
    std::unique_ptr<Ui::frmSavePlot> ui_;
};

}  // namespace vorela
