// Further pages of a level: what was measured cycle by cycle, and the levels' cycles stacked on the phase of
// the valve.
#pragma once

#include <QWidget>
#include <cstddef>
#include <memory>
#include <string>

#include "plotview/PictureFile.h"

namespace vorela {

class CycleView : public QWidget {
    Q_OBJECT
  public:
    enum class Kind { series, stacked };
    explicit CycleView(Kind kind, QWidget* parent = nullptr);
    ~CycleView() override;

    /// Shows a selected dataset (0-based) as it is now; nothing selected: an empty page. The stacked cycles
    /// show all levels.
    void ShowDataset(std::size_t dataset);

    /// What is shown, with a footer that says of what, as a picture file (see WritePicture) at the page's
    /// size or on paper. False after a report, and where nothing is shown.
    bool SavePicture(const std::string& path, int resolution, bool monochrome) const;
    bool PrintOn(QPrinter& printer) const;

    QSize minimumSizeHint() const override { return {80, 60}; }

  signals:
    /// The user wants the results to be taken from this cycle, from 1.
    void CycleChosen(int cycle);
    void SaveRequested();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    struct State;
    void Choose(int cycle);
    /// The picture with its footer to the clipboard.
    void CopyPicture();
    PictureFileOptions FileOptions(int resolution) const;
    PictureDrawing FileDrawing(bool monochrome) const;

    std::unique_ptr<State> state_;
};

}  // namespace vorela
