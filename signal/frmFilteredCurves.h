// The dialog that creates the filtered pressure and flow curves.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmFilteredCurves;
}

namespace vorela {

class frmFilteredCurves : public QDialog {
    Q_OBJECT
  public:
    explicit frmFilteredCurves(QWidget* parent = nullptr);
    ~frmFilteredCurves() override;

    /// Nothing closes the dialog while the curves are made.
    void reject() override;

  private:
    void LoadInformation();
    /// The choice of cboFilter; 1 when nothing is chosen.
    int Passes() const;
    /// States what the filter does with the chosen number of passes, and what it leaves of the recordings.
    void ShowInformation();
    void Create();

    std::unique_ptr<Ui::frmFilteredCurves> ui_;
    bool creating_ = false;
};

}  // namespace vorela
