// The "Select Data" dialog: the selected datasets and the choice of pressure and flow curve among their
// common curves.
#pragma once

#include <QDialog>
#include <memory>

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

    /// Cancel, Escape and the title bar's button: the whole selection is discarded, not only what was changed
    /// in this visit. An engineer who cancels wants to begin anew.
    void reject() override;

  protected:
    void resizeEvent(QResizeEvent* event) override;

  private:
    void Add();
    void Remove();
    void Clear();
    void Ok();
    void ShowUnits();
    void ShowDatabase();
    /// The selected datasets' list and both choices are dropped, the list's marker too.
    void DiscardSelection();

    std::unique_ptr<Ui::frmSelectData> ui_;
};

}  // namespace vorela
