// The cycle information dialog: every cycle of one level, the window analysis as its last line, and the
// choice of the cycle that the outputs are taken from.
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
    void LoadLevel(std::size_t dataset);
    void ChooseEntry(int entry);

    std::unique_ptr<Ui::frmCycleInfo> ui_;
    std::size_t dataset_ = 0;
};

}  // namespace vorela
