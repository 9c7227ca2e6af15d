#include "app/GridEditors.h"

#include <QAbstractItemView>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <algorithm>
#include <utility>

#include "analysis/ResultGridView.h"
#include "analysis/modMain.h"

namespace vorela {
namespace {

constexpr int valueColumn = 1;
constexpr int widestEditor = 240;

bool IsEnter(int key) {
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}

/// A box, a menu or another window that takes the focus for a while does not end the editing.
bool FocusComesBack(Qt::FocusReason reason) {
    return reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason ||
           reason == Qt::MenuBarFocusReason;
}

}  // namespace

GridEditors::GridEditors(ResultGridView* level, ResultGridView* quicklook, Calls calls)
    : QObject(level), level_(level), quicklook_(quicklook), calls_(std::move(calls)) {
    text_ = new QLineEdit(quicklook_->viewport());
    text_->setObjectName(QStringLiteral("txtEdit"));
    text_->setFrame(false);
    text_->hide();
    cycle_ = new QComboBox(level_->viewport());
    cycle_->setObjectName(QStringLiteral("cboCycle"));
    cycle_->setAccessibleName(tr("Cycle number"));
    cycle_->hide();
    text_->installEventFilter(this);
    cycle_->installEventFilter(this);
    connect(cycle_, &QComboBox::activated, this, &GridEditors::CommitCycle);
    for (ResultGridView* grid : {level_, quicklook_}) {
        grid->installEventFilter(this);
        connect(grid, &QTableWidget::cellDoubleClicked, this, [this, grid] { Open(grid, {}); });
        connect(grid->verticalScrollBar(), &QScrollBar::valueChanged, this, &GridEditors::FollowCell);
        connect(grid->horizontalScrollBar(), &QScrollBar::valueChanged, this, &GridEditors::FollowCell);
        grid->viewport()->installEventFilter(this);
    }
}

void GridEditors::Close() {
    row_ = -1;
    for (QWidget* editor : std::initializer_list<QWidget*>{text_, cycle_}) {
        if (editor->isHidden())
            continue;
        const bool focused = editor->hasFocus();
        QWidget* grid = editor->parentWidget()->parentWidget();
        editor->hide();
        if (focused)
            grid->setFocus();
    }
}

bool GridEditors::eventFilter(QObject* watched, QEvent* event) {
    const bool editor = watched == text_ || watched == cycle_;
    switch (event->type()) {
        case QEvent::KeyPress:
            if (editor)
                return EditorKey(static_cast<QKeyEvent*>(event));
            if (watched == level_ || watched == quicklook_)
                return GridKey(static_cast<ResultGridView*>(watched), static_cast<QKeyEvent*>(event));
            break;
        case QEvent::FocusOut:
            // The chooser's own list takes the focus while it is open.
            if (editor && !cycle_->view()->isVisible() &&
                !FocusComesBack(static_cast<QFocusEvent*>(event)->reason()))
                Close();
            break;
        case QEvent::Resize:
            if (watched == level_->viewport() || watched == quicklook_->viewport())
                FollowCell();
            break;
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

bool GridEditors::GridKey(ResultGridView* grid, QKeyEvent* event) {
    if (IsEnter(event->key()) || event->key() == Qt::Key_F2)
        return Open(grid, {});
    const QString typed = event->text();
    const bool printable = !typed.isEmpty() && typed.at(0).isPrint();
    const bool chord = (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) != 0;
    return grid == quicklook_ && printable && !chord && Open(grid, typed);
}

bool GridEditors::EditorKey(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        Close();
        return true;
    }
    if (!text_->isHidden() && IsEnter(event->key())) {
        CommitText();
        return true;
    }
    // Arrow keys in the closed chooser would choose at once; they open its list instead.
    const bool opens = IsEnter(event->key()) || event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (!cycle_->isHidden() && opens) {
        cycle_->showPopup();
        return true;
    }
    return false;
}

bool GridEditors::Open(ResultGridView* grid, const QString& typed) {
    const int row = grid->currentRow();
    if (grid == quicklook_ && row >= 0 && calls_.isTextRow(row)) {
        OpenText(row, typed);
        return true;
    }
    if (grid == level_ && row == static_cast<int>(levelCycleNumberRow)) {
        OpenCycle();
        return !cycle_->isHidden();
    }
    return false;
}

void GridEditors::OpenText(int row, const QString& typed) {
    row_ = row;
    text_->setText(typed.isEmpty() ? quicklook_->item(row, valueColumn)->text() : typed);
    Place(text_, quicklook_, row);
    if (typed.isEmpty())
        text_->selectAll();
}

void GridEditors::OpenCycle() {
    const std::vector<std::string> choices = calls_.cycleChoices();
    if (choices.empty())
        return;
    row_ = static_cast<int>(levelCycleNumberRow);
    cycle_->clear();
    for (const std::string& choice : choices)
        cycle_->addItem(QString::fromStdString(choice));
    cycle_->setCurrentIndex(cycle_->findText(level_->item(row_, valueColumn)->text()));
    Place(cycle_, level_, row_);
    cycle_->showPopup();
}

void GridEditors::CommitText() {
    if (calls_.commitText(row_, text_->text().toStdString())) {
        Close();
        return;
    }
    text_->setFocus();
    text_->selectAll();
}

void GridEditors::CommitCycle(int entry) {
    if (entry < 0)
        return;
    Close();
    calls_.commitCycle(static_cast<std::size_t>(entry));
}

void GridEditors::Place(QWidget* editor, ResultGridView* grid, int row) {
    const QRect cell = grid->visualItemRect(grid->item(row, valueColumn));
    // The chooser is a little taller than a line of the grid in most styles.
    const int height = std::max(cell.height(), editor->sizeHint().height());
    editor->setGeometry(cell.left(), cell.top() - (height - cell.height()) / 2,
                        std::clamp(grid->viewport()->width() - cell.left(), 1, widestEditor), height);
    if (editor->isHidden()) {
        editor->show();
        editor->setFocus();
    }
}

void GridEditors::FollowCell() {
    if (!text_->isHidden())
        Place(text_, quicklook_, row_);
    if (!cycle_->isHidden())
        Place(cycle_, level_, row_);
}

}  // namespace vorela
