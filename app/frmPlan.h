// Planning a test: boxes for what is assumed of layer, well, tools and test; the predicted errors follow each
// change, for the test as planned and over periods from 20 s to 4 h.
#pragma once

#include <QDialog>
#include <memory>
#include <optional>
#include <vector>

#include "analysis/PlanForm.h"

class QFormLayout;

namespace Ui {
class frmPlan;
}

namespace vorela {

class frmPlan : public QDialog {
    Q_OBJECT
  public:
    explicit frmPlan(QWidget* parent = nullptr);
    ~frmPlan() override;

    /// Checks, keeps the texts for the next time and closes; a refusal shows its message and leaves the
    /// dialog at the box.
    void accept() override;

  private:
    void resizeEvent(QResizeEvent* event) override;
    void BuildBoxes();
    /// Groups of boxes in two columns where the window is wide enough for both and the results; else below
    /// one another, so that picture and table stay in sight.
    void Arrange(bool wide);
    void OrderTabs();
    QWidget* MakeControl(const PlanBox& box);
    void FillIn(const PlanForm& form);
    PlanForm Form() const;
    void TakeParameters();
    /// Computes and shows what the boxes ask for; what is wrong with them stands where the messages do.
    void Calculate();
    void ShowPlanned(const PlanInputs& inputs);
    /// False after the message of the first box that is refused.
    bool Checked();
    void Copy();
    void Save();

    std::unique_ptr<Ui::frmPlan> ui_;
    std::vector<QWidget*> groups_;   ///< by PlanGroup
    std::vector<QWidget*> results_;  ///< where the Tab key stops behind the boxes
    std::optional<bool> isWide_;     ///< as arranged
    TextRows report_;                ///< empty while a box is refused
};

}  // namespace vorela
