// A button where a grid's numbers will be: levels are selected, no cycle has been calculated yet.
#pragma once

#include <QObject>

class QPushButton;

namespace vorela {

class ResultGridView;

class CycleOffer : public QObject {
    Q_OBJECT
  public:
    /// Over the value cell of `row`.
    CycleOffer(ResultGridView* grid, int row);
    void Offer(bool on);

  signals:
    void Accepted();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void Place();

    ResultGridView* grid_;
    QPushButton* button_;
    int row_;
    bool offered_ = false;
};

}  // namespace vorela
