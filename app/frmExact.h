// Exact permeability and skin of every interval with their uncertainty, in tables and pictures. Not modal: it
// follows a recording while it is open.
#pragma once

#include <QDialog>
#include <cstddef>
#include <memory>
#include <string>

#include "analysis/ExactTables.h"
#include "analysis/modExact.h"

namespace Ui {
class frmExact;
}

namespace vorela {

class PictureWidget;
class ResultGridView;

class frmExact : public QDialog {
    Q_OBJECT
  public:
    explicit frmExact(QWidget* parent = nullptr);
    ~frmExact() override;

    /// Computes anew when the selection, its cycles or the parameters have changed; shows what the quicklook
    /// has become. Costs nothing while the dialog is hidden.
    void Follow();
    const ExactResults& Results() const { return results_; }  ///< what is shown

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    void ShowSettings();
    void ChoicesChanged();
    void Compute();
    void ShowResults();
    void ShowEmptyState(const QString& reason);
    void FillChoosers();
    void ShowInterval();
    void ShowLevel();
    void ShowPictures();
    void ShowMessages();
    bool ShowsALevel() const;  ///< the tab shown is of a level, not of an interval
    void TabChosen();
    /// Rows of the table on the tab that is shown, empty on a picture's tab.
    TextRows ShownRows() const;
    PictureWidget* ShownPicture() const;
    void Copy();
    void Save();
    std::string ProposedName() const;

    std::unique_ptr<Ui::frmExact> ui_;
    ExactResults results_;
    ExactInputState computed_;  ///< what the results are of
    bool hasResults_ = false;
};

}  // namespace vorela
