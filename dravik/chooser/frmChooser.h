// The acquisition system's dataset chooser.
#pragma once

#include <QDialog>
#include <memory>
#include <string>
#include <vector>

#include "platform/DravikLibraries.h"

namespace Ui {
class frmChooser;
}

namespace dravik {

class frmChooser : public QDialog {
    Q_OBJECT
  public:
    explicit frmChooser(const vorela::DkBaseApi& api, QWidget* parent = nullptr);
    ~frmChooser() override;

    /// Absolute path of the database whose datasets are listed; "" when none is.
    const std::string& Database() const { return database_; }
    /// Names of the selected datasets in the list's order.
    std::vector<std::string> ChosenDatasets() const;

    void OpenFile(const QString& path);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Browse();
    void ForgetList();
    void List();
    void ApplyFilter();
    void EnableOk();

    const vorela::DkBaseApi& api_;
    std::unique_ptr<Ui::frmChooser> ui_;
    std::string database_;
};

}  // namespace dravik
