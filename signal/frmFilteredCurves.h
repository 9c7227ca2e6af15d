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
    void Create();

    std::unique_ptr<Ui::frmFilteredCurves> ui_;
    bool creating_ = false;
};

}  // namespace vorela
