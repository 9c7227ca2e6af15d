// The About box.
#pragma once

#include <QDialog>
#include <memory>

namespace Ui {
class frmAbout;
}

namespace vorela {

class frmAbout : public QDialog {
    Q_OBJECT
  public:
    explicit frmAbout(QWidget* parent = nullptr);
    ~frmAbout() override;

  private:
    void ShowSystemInformation();
    std::unique_ptr<Ui::frmAbout> ui_;
};

}  // namespace vorela
