#include "app/FileIntake.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <utility>

#include "app/ActionRunner.h"
#include "app/StatusLine.h"
#include "app/WindowPlace.h"
#include "db/DatasetRecord.h"
#include "db/frmSelectData.h"
#include "dravik/chooser/Chooser.h"
#include "dravik/importer/frmImport.h"
#include "dravik/importer/modImport.h"
#include "general/NumberText.h"
#include "signal/modParameters.h"

namespace vorela {

struct FileIntake::Files {
    QStringList recordings;
    std::string database;
};

FileIntake::FileIntake(QWidget& window, ActionRunner& actions, StatusLine& status, Select select)
    : window_(window), actions_(actions), status_(status), select_(std::move(select)) {}

void FileIntake::Open(const QStringList& files) {
    if (files.isEmpty())
        return;
    window_.show();
    window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
    QWidget* const modal = QApplication::activeModalWidget();
    QWidget* const front = modal != nullptr ? modal : &window_;
    front->raise();
    front->activateWindow();
    waiting_ += files;
    if (actions_.IsRunning())
        status_.Say(QWidget::tr("%1: is opened as soon as what is under way has ended")
                        .arg(waiting_.join(QStringLiteral(", "))));
    else
        OpenWaiting();
}

void FileIntake::OpenWaiting() {
    if (actions_.IsRunning())
        return;
    const Files next = TakeNext();
    if (!next.recordings.isEmpty())
        Import(next.recordings, next.database);
    else if (!next.database.empty())
        actions_.Run([&] {
            dravik::OfferDatabase(next.database);
            select_([](frmSelectData& select) { QTimer::singleShot(0, &select, &frmSelectData::Add); });
        });
}

// A database at a time, in the order that they came; recordings go into the one that they came with.
FileIntake::Files FileIntake::TakeNext() {
    Files next;
    while (!waiting_.isEmpty()) {
        const bool isDatabase = dravik::IsDatabaseFile(waiting_.front().toStdString());
        if (isDatabase && !next.database.empty())
            break;
        const QString file = waiting_.takeFirst();
        if (isDatabase)
            next.database = file.toStdString();
        else
            next.recordings << file;
    }
    return next;
}

void FileIntake::Import(const QStringList& files, const std::string& database) {
    actions_.Run([&] {
        const auto& datasets = CurrentSelection().datasets;
        dravik::ImportDefaults defaults{database, ShortestText(CurrentParameters().period)};
        if (database.empty() && !datasets.empty())
            defaults.database = Trimmed(datasets.front().database);
        dravik::frmImport dialog(defaults, &window_);
        dialog.AddFiles(files);
        if (RunDialog(dialog, window_) != QDialog::Accepted)
            return;
        const dravik::Imported& imported = dialog.Result();
        select_([&](frmSelectData& select) { select.AddNamed(imported.database, imported.datasets); });
    });
}

}  // namespace vorela
