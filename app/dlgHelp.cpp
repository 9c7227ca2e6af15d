#include "app/dlgHelp.h"

#include <QFile>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTextBrowser>
#include <QTextDocument>
#include <QVBoxLayout>

namespace vorela {
namespace {

constexpr double largestShare = 0.9;  // of the screen, the frame has room beside it

}  // namespace

dlgHelp::dlgHelp(QWidget* parent) : QWidget(parent, Qt::Window) {
    setObjectName(QStringLiteral("dlgHelp"));
    setWindowTitle(tr("Vorela Help"));
    resize(QSize(820, 640).boundedTo(screen()->availableSize() * largestShare));
    text_ = new QTextBrowser(this);
    text_->setObjectName(QStringLiteral("txtHelp"));
    text_->setAccessibleName(tr("Help text"));
    text_->document()->setDefaultStyleSheet(QStringLiteral("pre { white-space: pre-wrap; }"));
    find_ = new QLineEdit(this);
    find_->setObjectName(QStringLiteral("txtFind"));
    find_->setClearButtonEnabled(true);
    auto* back = new QPushButton(tr("&Back"), this);
    auto* top = new QPushButton(tr("&Contents"), this);
    auto* next = new QPushButton(tr("Find &Next"), this);
    auto* caption = new QLabel(tr("&Find"), this);
    caption->setBuddy(find_);
    auto* row = new QHBoxLayout;
    for (QWidget* widget : std::initializer_list<QWidget*>{top, back, caption, find_, next})
        row->addWidget(widget);
    auto* all = new QVBoxLayout(this);
    all->addLayout(row);
    all->addWidget(text_);
    back->setEnabled(false);
    connect(text_, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
    connect(back, &QPushButton::clicked, text_, &QTextBrowser::backward);
    connect(top, &QPushButton::clicked, text_, &QTextBrowser::home);
    connect(next, &QPushButton::clicked, this, &dlgHelp::FindNext);
    connect(find_, &QLineEdit::returnPressed, this, &dlgHelp::FindNext);
    auto* focusFind = new QShortcut(QKeySequence::Find, this);
    connect(focusFind, &QShortcut::activated, find_, [this] { find_->setFocus(); });
}

bool dlgHelp::Open(const QString& path, QString& problem) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = tr("The help file cannot be opened:\n%1\n%2").arg(path, file.errorString());
        return false;
    }
    text_->setSource(QUrl::fromLocalFile(path), QTextDocument::HtmlResource);
    text_->setFocus();
    return true;
}

// From the place of the last hit on; at the end it begins again at the top.
void dlgHelp::FindNext() {
    if (find_->text().isEmpty() || text_->find(find_->text()))
        return;
    text_->moveCursor(QTextCursor::Start);
    text_->find(find_->text());
}

void dlgHelp::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        close();
    else
        QWidget::keyPressEvent(event);
}

}  // namespace vorela
