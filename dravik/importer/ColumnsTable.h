// The table in which each column of a recording has its role, name and unit.
#pragma once

#include <QObject>
#include <vector>

#include "dravik/importer/modImport.h"

class QTableWidget;

namespace dravik {

/// Fills a table of the dialog and reads what the user changed in it.
class ColumnsTable : public QObject {
    Q_OBJECT
  public:
    /// `table` outlives it.
    explicit ColumnsTable(QTableWidget& table, QObject* parent = nullptr);

    /// Null: no columns. A table in which the user is typing is left alone.
    void Show(const FilePlan* plan);
    /// What differs from what the table showed is the user's.
    void Copy(FileControls& controls) const;

  signals:
    void Changed();  ///< by the user

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void ShowRow(int row, const ColumnView& column);
    bool ActOnCell();

    QTableWidget& table_;
    std::vector<ColumnView> shown_;
    bool showing_ = false;  ///< cells are being filled: not the user's doing
};

}  // namespace dravik
