// The pages of the four result grids: the chooser of level or interval above them, the editors in their
// cells, and what is offered where there is nothing to show yet.
#pragma once

#include <QObject>
#include <QStringList>
#include <optional>
#include <vector>

#include "analysis/modMain.h"

class QComboBox;

namespace Ui {
class frmMain;
}

namespace vorela {

class ActionRunner;
class CycleOffer;
class GridEditors;
class ResultGridView;
struct CycleCell;
struct TextCell;

class ResultPages : public QObject {
    Q_OBJECT
  public:
    /// Over the widgets of the window's form. While an action runs, nothing is chosen.
    ResultPages(Ui::frmMain& ui, const ActionRunner& actions, QObject* parent);

    /// Takes what is being edited. False after its message when it is refused.
    bool Commit();
    /// The grids as they are filled.
    void ShowGrids();
    void ShowGrid(GridKind kind);
    void FillChoosers();
    /// The chooser that belongs to the selected tab.
    void LayOutFor(int tab);
    /// How to begin, and the offers to calculate: where there is nothing to show yet.
    void ShowBeginning(int tab);
    /// The next (+1) or former (-1) level or interval, on a tab that has a chooser.
    void StepChoice(int tab, int by);

  signals:
    /// Another level or interval is shown.
    void Chosen();
    /// The user stored another value of an interval, or another cycle of the level.
    void IntervalEdited();
    void CycleEdited();
    void CalculationWanted();
    /// The long meaning of the code that the user went to.
    void Explained(const QString& meaning);

  private:
    void AddEditors();
    void AddLegend();
    void AddOffers();
    void LevelChosen(int position);
    void IntervalChosen(int position);
    QComboBox* ChooserOf(int tab) const;
    std::optional<TextCell> IntervalCell(int row);
    CycleCell CycleNumberCell();
    ResultGridView* View(GridKind kind) const;

    Ui::frmMain& ui_;
    const ActionRunner& actions_;
    GridEditors* editors_ = nullptr;
    std::vector<CycleOffer*> offers_;  ///< of the four grids
};

}  // namespace vorela
