#include "dravik/importer/RowsTable.h"

#include <QTableWidget>
#include <algorithm>

#include "dravik/importer/ControlTexts.h"

namespace dravik {
namespace {

QString MarkText(const ColumnView& column) {
    if (column.role == Role::time)
        return QObject::tr("time");
    if (column.role == Role::leaveOut)
        return QObject::tr("left out");
    return QStringLiteral("→ %1 %2").arg(Text(column.name), Text(column.convert ? "psi" : column.unit));
}

}  // namespace

void ShowFirstRows(QTableWidget& table, const FilePlan* plan) {
    table.clear();
    table.setRowCount(0);
    table.setColumnCount(0);
    if (plan == nullptr)
        return;
    std::size_t columns = 0;
    for (const auto& row : plan->head.rows)
        columns = std::max(columns, row.size());
    table.setColumnCount(static_cast<int>(columns));
    table.setRowCount(static_cast<int>(plan->head.rows.size()));
    const bool isTable = plan->head.isTable;
    for (std::size_t i = 0; i < columns; ++i) {
        const ColumnView* view = isTable && i < plan->columns.size() ? &plan->columns[i] : nullptr;
        const Role role = view == nullptr ? Role::leaveOut : view->role;
        auto* head =
            new QTableWidgetItem(view == nullptr ? QObject::tr("Text of the file")
                                                 : Text(view->source) + QLatin1Char('\n') + MarkText(*view));
        head->setBackground(MarkOf(role));
        table.setHorizontalHeaderItem(static_cast<int>(i), head);
        for (std::size_t row = 0; row < plan->head.rows.size(); ++row) {
            const auto& cells = plan->head.rows[row];
            table.setItem(static_cast<int>(row), static_cast<int>(i),
                          Cell(i < cells.size() ? cells[i] : "", role));
        }
    }
    table.resizeColumnsToContents();
    table.resizeRowsToContents();
}

}  // namespace dravik
