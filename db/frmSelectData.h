// The "Select Data" dialog: the selected datasets and the choice of pressure and flow curve among their
// common curves.
#pragma once

#include <QDialog>
#include <memory>
#include <string>

namespace Ui {
class frmSelectData;
}

namespace vorela {

class frmSelectData : public QDialog {
    Q_OBJECT
  public:
    explicit frmSelectData(QWidget* parent = nullptr);
    ~frmSelectData() override;

    /// Step "Populating the list boxes and labels".
    void PopulateControls();
    /// Empties the list, both combo boxes and the labels. Step "Resetting controls".
    void ResetControls();

    /// Adds datasets that were named elsewhere and marks their lines.
    void AddNamed(const std::string& database, const std::vector<std::string>& names);
    /// What Add does: the chooser, and what is chosen in it.
    void Add();

    /// Escape and the title bar's button: asks first, where there is a selection to lose.
    void reject() override;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Remove();
    void Clear();
    void Ok();
    /// The whole selection is discarded, not only what was changed in this visit: an engineer who cancels
    /// wants to begin anew.
    void Cancel();
    void ShowUnits();
    void ShowDatabase();
    /// The selected datasets' list and both choices are dropped, the list's marker too.
    void DiscardSelection();

    std::unique_ptr<Ui::frmSelectData> ui_;
    std::string pressure_;  ///< chosen in this visit; empty: the stored choice stands
    std::string flow_;
};

}  // namespace vorela
