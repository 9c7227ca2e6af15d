// The editors placed over cells of the result grids: the text box `txtEdit` and the cycle chooser `cboCycle`.
#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QObject>
#include <functional>
#include <string>
#include <vector>

namespace vorela {

class ResultGridView;

/// Opens over a cell by double-click, F2, Enter, or (text box) by typing. Enter commits; Escape, or going
/// elsewhere, leaves the value as it was.
class GridEditors : public QObject {
    Q_OBJECT
  public:
    struct Calls {
        std::function<bool(int row)> isTextRow;  ///< rows of the quicklook grid with a text box
        std::function<bool(int row, const std::string& text)>
            commitText;  ///< false: refused, its message was shown
        std::function<std::vector<std::string>()> cycleChoices;
        std::function<void(std::size_t entry)> commitCycle;
    };
    GridEditors(ResultGridView* level, ResultGridView* quicklook, Calls calls);

    /// Closes an open editor without storing anything.
    void Close();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool GridKey(ResultGridView* grid, QKeyEvent* event);
    bool EditorKey(QKeyEvent* event);
    bool Open(ResultGridView* grid, const QString& typed);
    void OpenText(int row, const QString& typed);
    void OpenCycle();
    void CommitText();
    void CommitCycle(int entry);
    void Place(QWidget* editor, ResultGridView* grid, int row);
    void FollowCell();

    ResultGridView* level_;
    ResultGridView* quicklook_;
    Calls calls_;
    QLineEdit* text_;
    QComboBox* cycle_;
    int row_ = -1;
};

}  // namespace vorela
