#include "app/QtPorts.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressBar>
#include <QRegularExpression>
#include <QStatusBar>
#include <QStringList>

#include "general/AtomicFile.h"
#include "general/SettingsFile.h"

namespace vorela {
namespace {

constexpr int repaintIntervalMs = 30;
constexpr int progressDelayMs = 250;
constexpr const char* folderSection = "Window";
constexpr const char* folderKey = "SaveFolder";

QString Lines(const std::string& text) {
    QString lines = QString::fromStdString(text);
    return lines.replace(QLatin1Char('\r'), QLatin1Char('\n'));
}

QMessageBox::Icon BoxIcon(MessageIcon icon) {
    switch (icon) {
        case MessageIcon::critical:
            return QMessageBox::Critical;
        case MessageIcon::exclamation:
            return QMessageBox::Warning;
        case MessageIcon::information:
            break;
    }
    return QMessageBox::Information;
}

QMessageBox::StandardButton RunBox(QMessageBox::Icon icon, const std::string& title, const std::string& text,
                                   QMessageBox::StandardButtons buttons, QWidget* window) {
    const ArrowCursor arrow;
    QWidget* parent = QApplication::activeModalWidget();
    QMessageBox box(icon, QString::fromStdString(title), Lines(text), buttons,
                    parent != nullptr ? parent : window);
    box.setObjectName(QStringLiteral("msgBox"));
    box.setTextFormat(Qt::PlainText);  // names of curves and files are shown as they are
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

/// "Name (*.a)|*.a|Name (*.b)|*.b|" as the names alone.
QStringList FilterNames(const std::string& filter) {
    const QStringList parts = QString::fromStdString(filter).split(QLatin1Char('|'), Qt::SkipEmptyParts);
    QStringList names;
    for (qsizetype i = 0; i < parts.size(); i += 2)
        names << parts[i];
    return names;
}

/// In the folder where a file was saved last, while it is there; a folder whose name the settings file would
/// cut does not come back.
void ProposeFile(QFileDialog& dialog, const QString& proposed) {
    const QString kept =
        QString::fromStdString(ReadIniString(folderSection, folderKey, "", SettingsFilePath()));
    const QFileInfo file(proposed);
    if (!kept.isEmpty() && QFileInfo(kept).isDir())
        dialog.setDirectory(kept);
    else if (!proposed.isEmpty())
        dialog.setDirectory(file.path());
    if (!proposed.isEmpty())
        dialog.selectFile(file.fileName());
}

QString SuffixOf(const QString& filterName) {
    static const QRegularExpression pattern(QStringLiteral(R"(\*\.(\w+)\))"));
    return pattern.match(filterName).captured(1);
}

}  // namespace

ArrowCursor::ArrowCursor() : shown_(QApplication::overrideCursor() != nullptr) {
    if (shown_)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
}

ArrowCursor::~ArrowCursor() {
    if (shown_)
        QApplication::restoreOverrideCursor();
}

void QtPorts::Attach(QWidget* window, QProgressBar* bar, QStatusBar* statusBar) {
    window_ = window;
    bar_ = bar;
    statusBar_ = statusBar;
    sinceRepaint_.start();
}

void QtPorts::Show(MessageIcon icon, const std::string& title, const std::string& text) {
    HideProgress();  // nothing goes on while the user reads
    RunBox(BoxIcon(icon), title, text, QMessageBox::Ok, window_);
}

bool QtPorts::AskYesNo(const std::string& title, const std::string& text) {
    HideProgress();
    return RunBox(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, window_) ==
           QMessageBox::Yes;
}

void QtPorts::SetRange(int minimum, int maximum) {
    maximum_ = maximum;
    if (bar_)
        bar_->setRange(minimum, maximum);
}

int QtPorts::Maximum() const {
    return bar_ ? bar_->maximum() : maximum_;
}
int QtPorts::Value() const {
    return bar_ ? bar_->value() : value_;
}

void QtPorts::SetValue(int value) {
    value_ = value;
    if (bar_) {
        bar_->setValue(value);
        if (!working_.isValid())
            working_.start();
        // A bar that comes and goes with every pass over a recording would only disturb.
        else if (bar_->isHidden() && working_.elapsed() >= progressDelayMs)
            bar_->show();
    }
    Repaint();
}

void QtPorts::HideProgress() {
    working_.invalidate();
    if (bar_)
        bar_->hide();
}

void QtPorts::SetText(const std::string& text) {
    if (!statusBar_)
        return;
    if (text.empty())
        statusBar_->clearMessage();
    else
        statusBar_->showMessage(QString::fromStdString(text));
}

std::string QtPorts::Text() const {
    return statusBar_ ? statusBar_->currentMessage().toStdString() : std::string();
}

void QtPorts::Repaint() {
    if (!window_ || (sinceRepaint_.isValid() && sinceRepaint_.elapsed() < repaintIntervalMs))
        return;
    sinceRepaint_.start();
    repainted_ = true;
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents | QEventLoop::ExcludeSocketNotifiers);
}

bool QtPorts::TakeRepainted() {
    return std::exchange(repainted_, false);
}

std::optional<SaveFileChoice> QtPorts::AskSaveFile(const SaveFileRequest& request) {
    const ArrowCursor arrow;
    QFileDialog dialog(window_, QString::fromStdString(request.title));
    dialog.setObjectName(QStringLiteral("CDlg"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);  // asks before it overwrites
    dialog.setFileMode(QFileDialog::AnyFile);
    const QStringList filters = FilterNames(request.filter);
    dialog.setNameFilters(filters);
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog,
                     [&dialog](const QString& filter) { dialog.setDefaultSuffix(SuffixOf(filter)); });
    ProposeFile(dialog, QString::fromStdString(request.proposed));
    if (request.filterIndex >= 1 && request.filterIndex <= filters.size()) {
        dialog.selectNameFilter(filters[request.filterIndex - 1]);
        dialog.setDefaultSuffix(SuffixOf(filters[request.filterIndex - 1]));
    }
    while (dialog.exec() == QDialog::Accepted) {
        const QString path = dialog.selectedFiles().value(0);
        const std::string read = InputNamedBy(path.toStdString(), request.inputs);
        if (read.empty() && QFileInfo(QFileInfo(path).path()).isDir()) {
            WriteIniString(folderSection, folderKey, QFileInfo(path).absolutePath().toStdString(),
                           SettingsFilePath());
            return SaveFileChoice{path.toStdString(),
                                  static_cast<int>(filters.indexOf(dialog.selectedNameFilter())) + 1};
        }
        Show(MessageIcon::exclamation, request.title,
             read.empty() ? "The folder does not exist:\r" + path.toStdString()
                          : "This file is read by Vorela and cannot be written over:\r" + read);
    }
    return std::nullopt;
}

}  // namespace vorela
