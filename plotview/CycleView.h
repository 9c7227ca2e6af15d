// Further pages of a level: what was measured cycle by cycle, and the levels' cycles stacked on the phase of
// the valve.
#pragma once

#include <QWidget>
#include <cstddef>
#include <memory>

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

    QSize minimumSizeHint() const override { return {80, 60}; }

  signals:
    /// The user wants the results to be taken from this cycle, from 1.
    void CycleChosen(int cycle);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    struct State;
    void Choose(int cycle);
    /// The picture with its footer to the clipboard.
    void CopyPicture();

    std::unique_ptr<State> state_;
};

}  // namespace vorela
