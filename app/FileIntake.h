// Files that the user drops, pastes or opens: a database is offered to Select Data, all else is imported.
#pragma once

#include <QStringList>
#include <functional>
#include <string>

class QWidget;

namespace vorela {

class ActionRunner;
class StatusLine;
class frmSelectData;

class FileIntake {
  public:
    /// Select Data, its dialog prepared before it shows.
    using Select = std::function<void(const std::function<void(frmSelectData&)>& prepare)>;
    /// The dialogs stand over `window`.
    FileIntake(QWidget& window, ActionRunner& actions, StatusLine& status, Select select);

    /// The window comes to the front and takes the files, at once or after the action that runs.
    void Open(const QStringList& files);
    bool IsWaiting() const { return !waiting_.isEmpty(); }
    /// The files that had to wait, a database at a time.
    void OpenWaiting();
    /// The import dialog with these files; then Select Data with what came in. `database`: "" where none came
    /// with them.
    void Import(const QStringList& files, const std::string& database);

  private:
    struct Files;
    Files TakeNext();

    QWidget& window_;
    ActionRunner& actions_;
    StatusLine& status_;
    Select select_;
    QStringList waiting_;
};

}  // namespace vorela
