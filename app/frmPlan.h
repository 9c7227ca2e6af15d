// Planning a test: boxes for what is assumed of layer, well, tools and test; the predicted errors follow each
// change, for the test as planned and over periods from 20 s to 4 h.
#pragma once

#include <QDialog>
#include <memory>
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
    void BuildBoxes();
    void OrderTabs(const std::vector<QWidget*>& results);
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
    TextRows report_;  ///< empty while a box is refused
};

}  // namespace vorela
