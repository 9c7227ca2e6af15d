// The input parameters dialog.
#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "signal/modParameters.h"

class QLineEdit;
namespace Ui {
class frmParameters;
}

namespace vorela {

class frmParameters : public QDialog {
    Q_OBJECT
  public:
    explicit frmParameters(QWidget* parent = nullptr);
    ~frmParameters() override;

    /// Validates, writes the parameters and closes; a refusal shows its message and leaves the dialog at the
    /// box.
    void accept() override;

  private:
    /// The box of a setting's key.
    QLineEdit* Box(const std::string& key) const;
    void Show(const ParametersForm& form);
    ParametersForm Form() const;
    void SpinnerTypeChanged(int type);

    std::unique_ptr<Ui::frmParameters> ui_;
};

}  // namespace vorela
