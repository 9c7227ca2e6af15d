#include "app/GridEditors.h"

#include <QAbstractItemView>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QScrollBar>
#include <algorithm>
#include <utility>

#include "analysis/ResultGridView.h"

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
    cycle_->view()->installEventFilter(this);
    connect(cycle_, &QComboBox::activated, this, &GridEditors::CommitCycle);
    for (ResultGridView* grid : {level_, quicklook_}) {
        grid->installEventFilter(this);
        connect(grid, &QTableWidget::cellDoubleClicked, this, [this, grid] { Open(grid, {}); });
        connect(grid->verticalScrollBar(), &QScrollBar::valueChanged, this, &GridEditors::FollowCell);
        connect(grid->horizontalScrollBar(), &QScrollBar::valueChanged, this, &GridEditors::FollowCell);
        grid->viewport()->installEventFilter(this);
    }
}

bool GridEditors::eventFilter(QObject* watched, QEvent* event) {
    const bool editor = watched == text_ || watched == cycle_;
    switch (event->type()) {
        case QEvent::KeyPress:
            if (watched == cycle_->view() && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Tab) {
                CommitCycle(cycle_->view()->currentIndex().row());
                return true;
            }
            if (editor)
                return EditorKey(static_cast<QKeyEvent*>(event));
            if (watched == level_ || watched == quicklook_)
                return GridKey(static_cast<ResultGridView*>(watched), static_cast<QKeyEvent*>(event));
            break;
        case QEvent::FocusOut:
            // The chooser's own list takes the focus while it is open.
            if (editor && !cycle_->view()->isVisible() &&
                !FocusComesBack(static_cast<QFocusEvent*>(event)->reason()))
                CommitWhenLeft();
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
        Commit();
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
    if (grid == quicklook_) {
        std::optional<TextCell> cell = row >= 0 ? calls_.textCell(row) : std::nullopt;
        if (cell)
            OpenText(row, *std::move(cell), typed);
        return cell.has_value();
    }
    if (grid == level_ && row == static_cast<int>(levelCycleNumberRow)) {
        OpenCycle();
        return !cycle_->isHidden();
    }
    return false;
}

void GridEditors::OpenText(int row, TextCell cell, const QString& typed) {
    row_ = row;
    textCell_ = std::move(cell);
    refusal_.reset();
    text_->setText(typed.isEmpty() ? QString::fromStdString(textCell_.text) : typed);
    text_->setModified(!typed.isEmpty());
    Place(text_, quicklook_, row);
    if (typed.isEmpty())
        text_->selectAll();
}

void GridEditors::OpenCycle() {
    cycleCell_ = calls_.cycleCell();
    if (cycleCell_.choices.empty())
        return;
    row_ = static_cast<int>(levelCycleNumberRow);
    cycle_->clear();
    for (const std::string& choice : cycleCell_.choices)
        cycle_->addItem(QString::fromStdString(choice));
    cycle_->setCurrentIndex(cycle_->findText(level_->item(row_, valueColumn)->text()));
    Place(cycle_, level_, row_);
    cycle_->showPopup();
}

bool GridEditors::Commit() {
    if (!text_->isHidden() && text_->isModified()) {
        refusal_ = textCell_.commit(text_->text().toStdString());
        if (refusal_) {
            ShowRefused();
            return false;
        }
    }
    Close();
    return true;
}

// The widget that takes the focus is in the midst of it: a refusal is shown when it is done.
void GridEditors::CommitWhenLeft() {
    if (refusal_)
        return;
    if (!text_->isHidden() && text_->isModified())
        refusal_ = textCell_.commit(text_->text().toStdString());
    if (refusal_)
        QMetaObject::invokeMethod(this, &GridEditors::ShowRefused, Qt::QueuedConnection);
    else
        Close();
}

void GridEditors::ShowRefused() {
    if (!refusal_ || text_->isHidden())
        return;
    ShowRefusal(*refusal_);
    text_->setFocus();
    text_->selectAll();
    refusal_.reset();
}

void GridEditors::CommitCycle(int entry) {
    if (entry < 0 || cycle_->isHidden())
        return;
    const std::string choice = cycle_->itemText(entry).toStdString();
    cycle_->hidePopup();
    Close();
    cycleCell_.commit(choice);
}

void GridEditors::Close() {
    row_ = -1;
    refusal_.reset();
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
