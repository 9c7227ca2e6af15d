// The editors placed over cells of the result grids: the text box `txtEdit` and the cycle chooser `cboCycle`.
#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QObject>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "general/RangeCheck.h"

namespace vorela {

class ResultGridView;

/// A cell that is being edited. It knows what it belongs to: the grid may show another interval or level by
/// the time it is left.
struct TextCell {
    std::string text;  ///< the stored value in full, not as the grid rounds it
    std::function<std::optional<Refusal>(const std::string& text)> commit;
};
struct CycleCell {
    std::vector<std::string> choices;
    std::function<void(const std::string& choice)> commit;
};

/// Opens over a cell by double-click, F2, Enter, or (text box) by typing. Only Escape discards: Enter, and
/// leaving the cell in any other way, commits what was typed. A text that was not changed changes nothing.
class GridEditors : public QObject {
    Q_OBJECT
  public:
    struct Calls {
        std::function<std::optional<TextCell>(int row)> textCell;  ///< nothing: no cell to edit
        std::function<CycleCell()> cycleCell;
    };
    GridEditors(ResultGridView* level, ResultGridView* quicklook, Calls calls);

    /// Commits and closes an open editor. False after its message when the text is refused; the editor then
    /// stays open with the focus.
    bool Commit();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool GridKey(ResultGridView* grid, QKeyEvent* event);
    bool EditorKey(QKeyEvent* event);
    bool Open(ResultGridView* grid, const QString& typed);
    void OpenText(int row, TextCell cell, const QString& typed);
    void OpenCycle();
    void CommitWhenLeft();
    void ShowRefused();
    void CommitCycle(int entry);
    void Close();
    void Place(QWidget* editor, ResultGridView* grid, int row);
    void FollowCell();

    ResultGridView* level_;
    ResultGridView* quicklook_;
    Calls calls_;
    QLineEdit* text_;
    QComboBox* cycle_;
    TextCell textCell_;
    CycleCell cycleCell_;
    std::optional<Refusal> refusal_;  ///< of what stands in the open editor; still to be shown
    int row_ = -1;
};

}  // namespace vorela
