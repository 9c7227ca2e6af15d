// The cycle information dialog: every cycle of one dataset, the window analysis as its last line.
#pragma once

#include <QDialog>
#include <cstddef>
#include <memory>

namespace Ui {
class frmCycleInfo;
}

namespace vorela {

class frmCycleInfo : public QDialog {
    Q_OBJECT
  public:
    /// Loads the cycles of selected dataset `dataset`. Step "Loading cycle information".
    explicit frmCycleInfo(std::size_t dataset, QWidget* parent = nullptr);
    ~frmCycleInfo() override;

  private:
    std::unique_ptr<Ui::frmCycleInfo> ui_;
};

}  // namespace vorela
