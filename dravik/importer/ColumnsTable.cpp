#include "dravik/importer/ColumnsTable.h"

#include <QComboBox>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTableWidget>
#include <algorithm>

#include "dravik/importer/ControlTexts.h"

namespace dravik {
namespace {

enum Column { sourceColumn, roleColumn, curveColumn, unitColumn, convertColumn, contentsColumn, columnCount };

}  // namespace

ColumnsTable::ColumnsTable(QTableWidget& table, QObject* parent) : QObject(parent), table_(table) {
    table_.setColumnCount(columnCount);
    table_.setHorizontalHeaderLabels(
        {tr("Column"), tr("Role"), tr("Curve"), tr("Unit"), tr("To psi"), tr("Contents")});
    table_.horizontalHeader()->setStretchLastSection(true);
    table_.installEventFilter(this);
    connect(&table_, &QTableWidget::itemChanged, this, [this] {
        if (!showing_)
            emit Changed();
    });
}

void ColumnsTable::Copy(FileControls& controls) const {
    if (shown_.empty())
        return;
    controls.columns.resize(shown_.size());
    for (int row = 0; row < table_.rowCount(); ++row) {
        const ColumnView& shown = shown_[static_cast<std::size_t>(row)];
        ColumnControls& own = controls.columns[static_cast<std::size_t>(row)];
        if (own.source != shown.source)
            own = {};
        own.source = shown.source;
        const auto* roles = qobject_cast<QComboBox*>(table_.cellWidget(row, roleColumn));
        if (roles == nullptr)
            continue;
        const Role role = givenRoles[static_cast<std::size_t>(std::max(0, roles->currentIndex()))];
        // Another role has a name of its own.
        if (role != shown.role) {
            own.role = role;
            own.name.clear();
        }
        const std::string name = table_.item(row, curveColumn)->text().toStdString();
        const std::string unit = table_.item(row, unitColumn)->text().toStdString();
        if (name != shown.name && role == shown.role)
            own.name = name;
        if (unit != shown.unit)
            own.unit = unit;
        own.convert = table_.item(row, convertColumn)->checkState() == Qt::Checked;
    }
}

void ColumnsTable::Show(const FilePlan* plan) {
    // What is being typed will bring a plan of its own.
    if (table_.findChild<QLineEdit*>() != nullptr)
        return;
    showing_ = true;
    const int row = table_.currentRow();
    const int column = table_.currentColumn();
    shown_ = plan == nullptr ? std::vector<ColumnView>() : plan->columns;
    table_.setRowCount(0);
    table_.setRowCount(static_cast<int>(shown_.size()));
    for (int i = 0; i < table_.rowCount(); ++i)
        ShowRow(i, shown_[static_cast<std::size_t>(i)]);
    // The last one takes what is left.
    for (int i = 0; i < contentsColumn; ++i)
        table_.resizeColumnToContents(i);
    if (row >= 0 && row < table_.rowCount())
        table_.setCurrentCell(row, column);
    showing_ = false;
}

void ColumnsTable::ShowRow(int row, const ColumnView& column) {
    const bool taken = !column.name.empty();
    table_.setItem(row, sourceColumn, Cell(column.source, column.role));
    table_.setItem(row, roleColumn, Cell(RoleText(column.role), column.role));
    table_.setItem(row, curveColumn, Cell(column.name, column.role, taken));
    table_.setItem(row, unitColumn, Cell(column.unit, column.role, taken));
    auto* convert = Cell({}, column.role);
    if (column.canConvert) {
        convert->setFlags(convert->flags() | Qt::ItemIsUserCheckable);
        convert->setCheckState(column.convert ? Qt::Checked : Qt::Unchecked);
        convert->setToolTip(tr("Converts the pressure to psi"));
    } else {
        convert->setFlags(convert->flags() & ~Qt::ItemIsUserCheckable);
    }
    table_.setItem(row, convertColumn, convert);
    table_.setItem(row, contentsColumn, Cell(column.contents, column.role));
    if (column.role == Role::time || !column.isNumber)
        return;
    auto* roles = new QComboBox(&table_);
    for (const Role role : givenRoles)
        roles->addItem(QString::fromUtf8(RoleText(role)));
    const auto* given = std::find(givenRoles.begin(), givenRoles.end(), column.role);
    roles->setCurrentIndex(static_cast<int>(given - givenRoles.begin()));
    roles->setObjectName(QStringLiteral("cboRole%1").arg(row));
    roles->setAccessibleName(tr("Role of %1").arg(Text(column.source)));
    roles->setFocusPolicy(Qt::ClickFocus);  // Enter in its cell opens it
    connect(roles, &QComboBox::activated, this, [this] {
        table_.setFocus();
        emit Changed();
    });
    table_.setCellWidget(row, roleColumn, roles);
}

// Enter in a cell is meant for the cell, never for the Import button.
bool ColumnsTable::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &table_ && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        const bool enter = key == Qt::Key_Return || key == Qt::Key_Enter;
        if ((enter || key == Qt::Key_Space || key == Qt::Key_F2) && ActOnCell())
            return true;
        if (enter)
            return true;
    }
    return QObject::eventFilter(watched, event);
}

bool ColumnsTable::ActOnCell() {
    QTableWidgetItem* item = table_.currentItem();
    if (item == nullptr)
        return false;
    if (auto* roles = qobject_cast<QComboBox*>(table_.cellWidget(item->row(), item->column()))) {
        roles->setFocus();
        roles->showPopup();
        return true;
    }
    if ((item->flags() & Qt::ItemIsEditable) == 0)
        return false;
    table_.editItem(item);
    return true;
}

}  // namespace dravik
